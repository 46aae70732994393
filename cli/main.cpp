// The canal tool: hands the command line to cli::Main.
#include "cli/commands.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    return cli::CatchAll(
        [&] {
            return cli::Main(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
        },
        std::cerr);
}
