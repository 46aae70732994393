// The libngspice session itself: captured output, the error rule, plots, listeners and quitting.
#include "host/ngspice/session.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using host::CommandResult;
using host::NgSpiceSession;

const std::vector<std::string> kRc = {"rc", "v1 in 0 dc 1 ac 1", "r1 in out 1k", "c1 out 0 1u",
                                      ".end"};

NgSpiceSession& Loaded() {
    NgSpiceSession& s = NgSpiceSession::Get();
    EXPECT_TRUE(s.LoadCircuit(kRc).ok);
    return s;
}

TEST(NgSpiceSession, CapturesOutputAndAnnouncesThePlotsACommandCreates) {
    NgSpiceSession& s = Loaded();
    EXPECT_EQ(s.DeviceNames(), (std::vector<std::string>{"v1", "r1", "c1"}));

    const CommandResult ac = s.Command("ac dec 1 1 100");
    ASSERT_TRUE(ac.ok) << ac.error;
    ASSERT_EQ(ac.plots.size(), 1u);
    EXPECT_EQ(s.CurrentPlot(), ac.plots[0]);
    EXPECT_EQ(s.PlotType(ac.plots[0]), "AC Analysis");
    std::string scale;
    EXPECT_EQ(s.PlotVectors(ac.plots[0], &scale).size(), 4u); // v1#branch, out, in, frequency
    EXPECT_EQ(scale, "frequency");
    host::VectorData v;
    ASSERT_TRUE(s.ReadVector(ac.plots[0] + ".out", v));
    EXPECT_TRUE(v.isComplex);
    EXPECT_EQ(v.re.size() + v.im.size(), 6u);
    EXPECT_NEAR(v.re[0], 1.0, 1e-3); // 1 Hz is far below the corner
    EXPECT_FALSE(s.ReadVector(ac.plots[0] + ".nowhere", v));

    const CommandResult print = s.Command("print v(out)[0]");
    ASSERT_TRUE(print.ok && !print.out.empty());
    EXPECT_EQ(print.out[0].rfind("v(out)[0]", 0), 0u) << print.out[0]; // no "stdout " prefix
}

TEST(NgSpiceSession, QuitIsRefusedBecauseTheLibraryCannotComeBackFromIt) {
    NgSpiceSession& s = Loaded();
    for (const char* command : {"quit", "exit 1", "QUIT"}) {
        const CommandResult r = s.Command(command);
        EXPECT_FALSE(r.ok || r.exitRequested);
        EXPECT_EQ(r.error, std::string("A script cannot end the simulator session: ") + command);
    }
    const CommandResult op = s.Command("op");
    EXPECT_TRUE(op.ok) << op.error;
    host::VectorData v;
    ASSERT_TRUE(s.ReadVector(op.plots.at(0) + ".out", v));
    EXPECT_DOUBLE_EQ(v.re.at(0), 1.0);
}

TEST(NgSpiceSession, WarningsDoNotFailACommandButErrorsAndAbortsDoWithTheirReason) {
    NgSpiceSession& s = Loaded();
    // A raw file with a flag ngspice does not know: it warns "unknown flag" and loads the plot.
    const canal_test::TempFolder folder;
    const CommandResult load = s.Command(
        "load " + folder.Write("w.raw", "Title: warning\nDate: today\nPlotname: Operating Point\n"
                                        "Flags: real frobnicated\nNo. Variables: 1\nNo. Points: "
                                        "1\nVariables:\n\t0\tv(a)\tvoltage\nValues:\n 0\t1.5\n"));
    EXPECT_TRUE(load.ok) << load.error;
    EXPECT_EQ(load.err, std::vector<std::string>{"Warning: unknown flag frobnicated"});
    host::VectorData v;
    ASSERT_TRUE(s.ReadVector("a", v));
    EXPECT_EQ(v.re, std::vector<double>{1.5});
    const CommandResult print = s.Command("print v(nowhere)"); // "... is not available ..."
    EXPECT_TRUE(print.ok) << print.error;
    EXPECT_FALSE(print.err.empty());

    const std::pair<const char*, const char*> failures[] = {
        {"setplot nowhere", "Error: no such plot named nowhere"},
        // ngspice gives the reason on the line before "aborted", not as an error line.
        {"pz in 0 in 0 vol pz", "doAnalyses: Transfer function is unity\npz simulation(s) aborted"},
    };
    for (const auto& [command, error] : failures) {
        const CommandResult r = s.Command(command);
        EXPECT_FALSE(r.ok) << command;
        EXPECT_EQ(r.error, error);
        EXPECT_TRUE(r.plots.empty()) << command;
    }
}

// Counts the rows it hears, and in `frames` a plot's begin as 1 and its end as 10; throws from
// OnData at row `throwAt` (0: never).
struct Recorder : host::PlotListener {
    explicit Recorder(int throwAtRow = 0) : throwAt(throwAtRow) {}
    int throwAt, rows = 0, frames = 0;
    void OnBeginPlot(const host::PlotInfo&) override { ++frames; }
    void OnData(const host::DataRow&) override {
        if (++rows == throwAt)
            throw std::runtime_error("disk full");
    }
    void OnEndPlot() override { frames += 10; }
    bool OnStopPoll() override { return false; }
};

TEST(NgSpiceSession, ListenerScopesNestAndAThrowingListenerFailsOnlyItsCommand) {
    NgSpiceSession& s = Loaded();
    Recorder outer;
    {
        const NgSpiceSession::ListenerScope listening(s, &outer);
        {
            const NgSpiceSession::ListenerScope quiet(s, nullptr);
            ASSERT_TRUE(s.Command("ac dec 1 1 100").ok);
        }
        EXPECT_EQ(outer.rows, 0);
        ASSERT_TRUE(s.Command("ac dec 1 1 100").ok);
        EXPECT_EQ(outer.rows * 100 + outer.frames, 3 * 100 + 11); // a begin, 3 rows and an end

        Recorder thrower(2);
        {
            const NgSpiceSession::ListenerScope failing(s, &thrower);
            const CommandResult r = s.Command("ac dec 10 1 100");
            EXPECT_EQ(r.error, "Handling the simulator's output failed: disk full");
            EXPECT_EQ(r.plots.size(), 1u); // ngspice itself finished the analysis
        }
        // Nothing more after the throw, not even the end.
        EXPECT_EQ(thrower.rows * 100 + thrower.frames, 2 * 100 + 1);
        const CommandResult again = s.Command("ac dec 1 1 100");
        EXPECT_TRUE(again.ok) << again.error;
        EXPECT_EQ(outer.rows, 6);
    }
    ASSERT_TRUE(s.Command("op").ok);
    EXPECT_EQ(outer.rows, 6);
}

} // namespace
