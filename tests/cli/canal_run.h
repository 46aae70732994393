// Calling the tool in-process, as the shell would call the executable, and files for it.
#pragma once

#include "cli/commands.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace canal_test {

struct Result {
    int status;
    std::string out;
    std::string err;
};

/// `canal ARGS...` through cli::Main, with both streams captured.
inline Result Canal(const std::vector<std::string>& args) {
    std::ostringstream out, err;
    const int status = cli::Main(args, out, err);
    return {status, out.str(), err.str()};
}

/// A fresh folder named after the running test, removed with the object.
class TempFolder {
public:
    TempFolder() { std::filesystem::create_directories(dir_); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() { std::filesystem::remove_all(dir_); }

    /// Writes `text` into the file `name` of the folder; returns its path.
    std::string Write(const std::string& name, const std::string& text) const {
        const std::string path = (dir_ / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

private:
    std::filesystem::path dir_ =
        std::filesystem::temp_directory_path() /
        ("canal_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) +
         "_" + std::to_string(::getpid()));
};

} // namespace canal_test
