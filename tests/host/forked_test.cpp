// Forked children and what survives their crash; sensitivity names mapped onto the analyses'.
#include "host/ngspice/forked.h"
#include "host/ngspice/sensitivity_names.h"

#include <gtest/gtest.h>

#include <csignal>
#include <map>

namespace {

TEST(ForkedChild, RecordsReachTheParentAndThoseFlushedBeforeACrashWithTheSignal) {
    const host::ForkOutcome done = host::RunForked([](host::ByteWriter& out) { out.U32(2); });
    EXPECT_TRUE(done.Completed());
    EXPECT_EQ(host::ByteReader(done.data).U32(), 2u);

    const host::ForkOutcome outcome = host::RunForked([](host::ByteWriter& out) {
        out.Text("first");
        out.Doubles({1.5, 2.5});
        out.Flush();
        out.Text("never sent");
        std::raise(SIGSEGV);
    });
    ASSERT_TRUE(outcome.started);
    EXPECT_TRUE(outcome.Crashed());
    // A sanitizer reports the crash and exits instead of dying of the signal.
    EXPECT_TRUE(outcome.signal == SIGSEGV || outcome.exitStatus != 0) << outcome.Ending();
    host::ByteReader in(outcome.data);
    EXPECT_EQ(in.Text(), "first");
    EXPECT_EQ(in.Doubles(), (std::vector<double>{1.5, 2.5}));
    EXPECT_TRUE(in.AtEnd());
    // A truncated stream fails every later read instead of reading past its end.
    EXPECT_EQ(in.U32(), 0u);
    EXPECT_FALSE(in.Ok());
}

TEST(SensitivityNames, PrincipalParametersAreSpeltOutAndModelParametersSummed) {
    const std::map<std::string, host::SensitivityElement> circuit = {
        {"r_load", {"R", "resistance"}},
        {"r", {"R", "resistance"}},
        {"d1", {"dmod", ""}},
        {"d2", {"dmod", ""}},
        {"v1", {"", "dc"}},
    };
    const host::SensitivityLookup lookup = [&](std::string_view name) {
        const auto it = circuit.find(std::string(name));
        return it == circuit.end() ? nullptr : &it->second;
    };
    const std::vector<std::string> names = {"d1:is", "d1_area",   "d2:is", "r_load", "r_load_m",
                                            "v1",    "frequency", "x9:is", "r:tc1",  "d2_area"};
    const std::vector<host::SensitivityColumn> columns =
        host::CanonicalSensitivityColumns(names, lookup);
    std::vector<std::string> got;
    for (const auto& c : columns)
        got.push_back(c.name);
    EXPECT_EQ(got, (std::vector<std::string>{"dmod:is", "d1_area", "r_load_resistance", "r_load_m",
                                             "v1_dc", "frequency", "x9:is", "R:tc1", "d2_area"}));
    EXPECT_EQ(columns[0].sources, (std::vector<std::size_t>{0, 2}));
}

} // namespace
