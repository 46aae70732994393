// Whether an MPI launcher started this process as one of several ranks, from its environment.
#include "host/mpi/mpi_launch.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

TEST(MpiLaunch, CountsRanksFromEachLaunchersVariablesAndIgnoresValuesThatAreNotCounts) {
    const std::pair<std::map<std::string, std::string>, int> cases[] = {
        {{}, 0},
        {{{"OMPI_COMM_WORLD_SIZE", "4"}}, 4},
        {{{"OMPI_COMM_WORLD_SIZE", "1"}}, 1},
        {{{"PMI_SIZE", "3"}, {"PMI_RANK", "0"}}, 3},
        {{{"MV2_COMM_WORLD_SIZE", "8"}}, 8},
        // PMIx names only the rank: rank 1 proves a second one, rank 0 alone proves nothing.
        {{{"PMIX_RANK", "1"}}, 2},
        {{{"PMIX_RANK", "0"}}, 1},
        // The size wins over a rank variable that a launcher leaves behind.
        {{{"PMI_SIZE", "1"}, {"PMIX_RANK", "3"}}, 1},
        {{{"OMPI_COMM_WORLD_SIZE", "2"}, {"PMI_SIZE", "5"}}, 2},
        // A broken size falls through to the next launcher's variable.
        {{{"OMPI_COMM_WORLD_SIZE", "x"}, {"PMI_SIZE", "2"}}, 2},
        {{{"OMPI_COMM_WORLD_SIZE", ""}}, 0},
        {{{"OMPI_COMM_WORLD_SIZE", "2x"}}, 0},
        {{{"OMPI_COMM_WORLD_SIZE", "-2"}}, 0},
        {{{"OMPI_COMM_WORLD_SIZE", " 2"}}, 0},
        {{{"OMPI_COMM_WORLD_SIZE", "99999999999999999999"}}, 0},
    };
    for (const auto& [vars, count] : cases) {
        const host::mpi::EnvLookup env = [&vars = vars](const char* name) -> const char* {
            const auto it = vars.find(name);
            return it == vars.end() ? nullptr : it->second.c_str();
        };
        std::string row;
        for (const auto& [name, value] : vars)
            row += name + "=" + value + " ";
        EXPECT_EQ(host::mpi::LaunchedRankCount(env), count) << row;
        EXPECT_EQ(host::mpi::LaunchedWithSeveralRanks(env), count > 1) << row;
    }
}

TEST(MpiLaunch, MessageSaysTheBuildHasNoMpiAndWhatToDo) {
    const std::string text = host::mpi::NoMpiMessage();
    for (const char* part : {"built without MPI", "--jobs", "CANAL_MPI=ON"})
        EXPECT_NE(text.find(part), std::string::npos) << part;
}

} // namespace
