// The canal tool: hands the command line to cli::Main, through the MPI ranks when mpirun
// started several.
#include "cli/commands.h"
#include "cli/ranks.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    return cli::CatchAll(
        [&] {
            return cli::MainOfRank(std::vector<std::string>(argv + 1, argv + argc), std::cout,
                                   std::cerr);
        },
        std::cerr);
}
