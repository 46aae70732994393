// Calling the tool in-process, as the shell would call the executable, and folders for its files.
#pragma once

#include "cli/commands.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

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

} // namespace canal_test
