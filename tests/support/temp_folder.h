// A folder of its own for the running test, with the files it writes and reads there.
#pragma once

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace canal_test {

/// A fresh folder under the system's temporary folder, named after the running test and the
/// process, removed with its files when the object goes. One per test: a second one made in
/// the same test names the same folder.
class TempFolder {
public:
    TempFolder() { std::filesystem::create_directories(dir_); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }

    const std::filesystem::path& Path() const { return dir_; }
    /// Where the file `name` of the folder is, whether or not it exists.
    std::string Path(const std::string& name) const { return (dir_ / name).string(); }

    /// Writes `text` byte for byte into the file `name` of the folder; returns its path.
    std::string Write(const std::string& name, const std::string& text) const {
        std::ofstream(dir_ / name, std::ios::binary) << text;
        return Path(name);
    }

    /// The whole of the file `name` of the folder; "" when it cannot be read.
    std::string Read(const std::string& name) const {
        std::ifstream in(dir_ / name, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

private:
    std::filesystem::path dir_ =
        std::filesystem::temp_directory_path() /
        ("canal_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) +
         "_" + std::to_string(::getpid()));
};

} // namespace canal_test
