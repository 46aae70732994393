// The canal tool: hands the command line to cli::Main.
#include "cli/commands.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    return cli::Main(args, std::cout, std::cerr);
}
