// The libngspice session itself: captured output, error detection, plots and exit requests.
#include "host/ngspice/script_runner.h"
#include "host/ngspice/session.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using host::CommandResult;
using host::NgSpiceSession;

const std::vector<std::string> kRc = {"rc", "v1 in 0 dc 1 ac 1", "r1 in out 1k", "c1 out 0 1u",
                                      ".end"};

TEST(NgSpiceSession, CapturesOutputAndAnnouncesThePlotsACommandCreates) {
    NgSpiceSession& s = NgSpiceSession::Get();
    ASSERT_TRUE(s.LoadCircuit(kRc).ok);
    EXPECT_TRUE(s.HasCircuit());
    EXPECT_EQ(&s, &NgSpiceSession::Get());

    const CommandResult ac = s.Command("ac dec 1 1 100");
    ASSERT_TRUE(ac.ok) << ac.error;
    ASSERT_EQ(ac.plots.size(), 1u);
    EXPECT_EQ(s.CurrentPlot(), ac.plots[0]);
    EXPECT_EQ(s.PlotType(ac.plots[0]), "AC Analysis");
    std::string scale;
    const std::vector<std::string> names = s.PlotVectors(ac.plots[0], &scale);
    EXPECT_EQ(scale, "frequency");
    EXPECT_EQ(names.size(), 4u); // v1#branch, out, in, frequency

    host::VectorData v;
    ASSERT_TRUE(s.ReadVector(ac.plots[0] + ".out", v));
    EXPECT_TRUE(v.isComplex);
    ASSERT_EQ(v.re.size(), 3u);
    EXPECT_EQ(v.im.size(), 3u);
    EXPECT_NEAR(v.re[0], 1.0, 1e-3); // 1 Hz is far below the corner
    EXPECT_FALSE(s.ReadVector(ac.plots[0] + ".nowhere", v));

    const CommandResult print = s.Command("print v(out)[0]");
    ASSERT_TRUE(print.ok);
    ASSERT_FALSE(print.out.empty());
    EXPECT_EQ(print.out[0].rfind("v(out)[0]", 0), 0u) << print.out[0]; // no "stdout " prefix

    const CommandResult bad = s.Command("tran 1u");
    EXPECT_FALSE(bad.ok);
    EXPECT_FALSE(bad.error.empty());
    EXPECT_TRUE(bad.plots.empty());

    const std::vector<std::string> devices = s.DeviceNames();
    EXPECT_EQ(devices, (std::vector<std::string>{"v1", "r1", "c1"}));
}

TEST(NgSpiceSession, QuitIsRefusedBecauseTheLibraryCannotComeBackFromIt) {
    NgSpiceSession& s = NgSpiceSession::Get();
    ASSERT_TRUE(s.LoadCircuit(kRc).ok);
    for (const char* command : {"quit", "exit 1", "QUIT"}) {
        const CommandResult r = s.Command(command);
        EXPECT_FALSE(r.ok);
        EXPECT_FALSE(r.exitRequested);
        EXPECT_EQ(r.error, std::string("A script cannot end the simulator session: ") + command);
    }
    EXPECT_TRUE(s.HasCircuit());
    const CommandResult op = s.Command("op");
    EXPECT_TRUE(op.ok) << op.error;
    host::VectorData v;
    ASSERT_TRUE(s.ReadVector(op.plots.at(0) + ".out", v));
    EXPECT_DOUBLE_EQ(v.re.at(0), 1.0);
}

TEST(NgSpiceSession, RunStatementExecutesTheDeckAnalysesOnAPageOfItsOwn) {
    host::ScriptRunner runner(NgSpiceSession::Get());
    std::string error;
    ASSERT_TRUE(runner.LoadCircuitLines(
        {"deck", "v1 in 0 dc 2", "r1 in out 1k", "r2 out 0 1k", ".op", ".end"}, error))
        << error;
    const host::RunResult r = runner.Run("run;");
    ASSERT_TRUE(r.ok) << r.error;
    ASSERT_EQ(r.pages.size(), 1u);
    EXPECT_EQ(r.pages[0].plotType, "Operating Point");
    bool found = false;
    for (const auto& t : r.pages[0].traces)
        if (t.name == "v(out)") {
            found = true;
            EXPECT_DOUBLE_EQ(t.re.at(0), 1.0);
        }
    EXPECT_TRUE(found);
}

} // namespace
