// Whether an MPI launcher started this process as one of several ranks, from its environment.
#include "host/mpi/mpi_launch.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

using host::mpi::EnvLookup;
using host::mpi::LaunchedRankCount;
using host::mpi::LaunchedWithSeveralRanks;

namespace {

EnvLookup Env(std::map<std::string, std::string> vars) {
    return [vars = std::move(vars)](const char* name) -> const char* {
        auto it = vars.find(name);
        return it == vars.end() ? nullptr : it->second.c_str();
    };
}

} // namespace

TEST(MpiLaunch, SeesSeveralRanksFromEachLaunchersSizeVariable) {
    EXPECT_EQ(LaunchedRankCount(Env({{"OMPI_COMM_WORLD_SIZE", "4"}})), 4);
    EXPECT_TRUE(LaunchedWithSeveralRanks(Env({{"OMPI_COMM_WORLD_SIZE", "2"}})));
    EXPECT_TRUE(LaunchedWithSeveralRanks(Env({{"PMI_SIZE", "3"}, {"PMI_RANK", "0"}})));
    EXPECT_TRUE(LaunchedWithSeveralRanks(Env({{"MV2_COMM_WORLD_SIZE", "8"}})));
    // PMIx names only the rank: rank 1 proves a second one, rank 0 alone proves nothing.
    EXPECT_TRUE(LaunchedWithSeveralRanks(Env({{"PMIX_RANK", "1"}})));
    EXPECT_FALSE(LaunchedWithSeveralRanks(Env({{"PMIX_RANK", "0"}})));
    EXPECT_EQ(LaunchedRankCount(Env({{"PMIX_RANK", "0"}})), 1);
}

TEST(MpiLaunch, OneRankOrNoLauncherIsNotSeveral) {
    EXPECT_EQ(LaunchedRankCount(Env({})), 0);
    EXPECT_FALSE(LaunchedWithSeveralRanks(Env({})));
    EXPECT_FALSE(LaunchedWithSeveralRanks(Env({{"OMPI_COMM_WORLD_SIZE", "1"}})));
    // The size wins over a rank variable that a launcher leaves behind.
    EXPECT_FALSE(LaunchedWithSeveralRanks(Env({{"PMI_SIZE", "1"}, {"PMIX_RANK", "3"}})));
    EXPECT_EQ(LaunchedRankCount(Env({{"OMPI_COMM_WORLD_SIZE", "2"}, {"PMI_SIZE", "5"}})), 2);
}

TEST(MpiLaunch, IgnoresValuesThatAreNotCounts) {
    for (const char* bad : {"", "two", "2x", "-2", " 2", "99999999999999999999"})
        EXPECT_EQ(LaunchedRankCount(Env({{"OMPI_COMM_WORLD_SIZE", bad}})), 0) << bad;
    // A broken size falls through to the next launcher's variable.
    EXPECT_EQ(LaunchedRankCount(Env({{"OMPI_COMM_WORLD_SIZE", "x"}, {"PMI_SIZE", "2"}})), 2);
}

TEST(MpiLaunch, MessageSaysTheBuildHasNoMpiAndWhatToDo) {
    const std::string text = host::mpi::NoMpiMessage();
    EXPECT_NE(text.find("built without MPI"), std::string::npos);
    EXPECT_NE(text.find("--jobs"), std::string::npos);
    EXPECT_NE(text.find("CANAL_MPI=ON"), std::string::npos);
}
