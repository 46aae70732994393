// The libngspice session itself: captured output, the error rule, plots, listeners and quitting.
#include "host/ngspice/session.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

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

TEST(NgSpiceSession, WarningsDoNotFailACommandButErrorsAndAbortsDoWithTheirReason) {
    NgSpiceSession& s = NgSpiceSession::Get();
    ASSERT_TRUE(s.LoadCircuit(kRc).ok);
    // A raw file with a flag ngspice does not know: it warns "unknown flag" and loads the plot.
    const auto raw = std::filesystem::temp_directory_path() /
                     ("canal_warning_" + std::to_string(::getpid()) + ".raw");
    std::ofstream(raw) << "Title: warning\nDate: today\nPlotname: Operating Point\n"
                          "Flags: real frobnicated\nNo. Variables: 1\nNo. Points: 1\n"
                          "Variables:\n\t0\tv(a)\tvoltage\nValues:\n 0\t1.5\n";
    const CommandResult load = s.Command("load " + raw.string());
    std::filesystem::remove(raw);
    EXPECT_TRUE(load.ok) << load.error;
    ASSERT_EQ(load.err.size(), 1u);
    EXPECT_EQ(load.err[0], "Warning: unknown flag frobnicated");
    host::VectorData v;
    ASSERT_TRUE(s.ReadVector("a", v));
    EXPECT_EQ(v.re, std::vector<double>{1.5});
    const CommandResult print = s.Command("print v(nowhere)"); // "... is not available ..."
    EXPECT_TRUE(print.ok) << print.error;
    EXPECT_FALSE(print.err.empty());

    const CommandResult error = s.Command("setplot nowhere");
    EXPECT_FALSE(error.ok);
    EXPECT_EQ(error.error, "Error: no such plot named nowhere");
    // ngspice gives the reason on the line before "aborted", not as an error line.
    const CommandResult aborted = s.Command("pz in 0 in 0 vol pz");
    EXPECT_FALSE(aborted.ok);
    EXPECT_EQ(aborted.error, "doAnalyses: Transfer function is unity\npz simulation(s) aborted");
}

// Counts what it hears; throws from OnData at row `throwAt` (0: never).
struct Recorder : host::PlotListener {
    explicit Recorder(int throwAtRow = 0) : throwAt(throwAtRow) {}
    int throwAt, begins = 0, rows = 0, ends = 0;
    void OnBeginPlot(const host::PlotInfo&) override { ++begins; }
    void OnData(const host::DataRow&) override {
        if (++rows == throwAt)
            throw std::runtime_error("disk full");
    }
    void OnEndPlot() override { ++ends; }
    bool OnStopPoll() override { return false; }
};

TEST(NgSpiceSession, ListenerScopesNestAndAThrowingListenerFailsOnlyItsCommand) {
    NgSpiceSession& s = NgSpiceSession::Get();
    ASSERT_TRUE(s.LoadCircuit(kRc).ok);
    Recorder outer;
    {
        const NgSpiceSession::ListenerScope listening(s, &outer);
        {
            const NgSpiceSession::ListenerScope quiet(s, nullptr);
            ASSERT_TRUE(s.Command("ac dec 1 1 100").ok);
        }
        EXPECT_EQ(outer.rows, 0);
        ASSERT_TRUE(s.Command("ac dec 1 1 100").ok);
        EXPECT_EQ(outer.begins + outer.rows + outer.ends, 1 + 3 + 1);

        Recorder thrower(2);
        {
            const NgSpiceSession::ListenerScope failing(s, &thrower);
            const CommandResult r = s.Command("ac dec 10 1 100");
            EXPECT_FALSE(r.ok);
            EXPECT_EQ(r.error, "Handling the simulator's output failed: disk full");
            EXPECT_EQ(r.plots.size(), 1u); // ngspice itself finished the analysis
        }
        EXPECT_EQ(thrower.rows, 2); // nothing more after the throw, not even the end
        EXPECT_EQ(thrower.ends, 0);
        const CommandResult again = s.Command("ac dec 1 1 100");
        EXPECT_TRUE(again.ok) << again.error;
        EXPECT_EQ(outer.rows, 6);
    }
    ASSERT_TRUE(s.Command("op").ok);
    EXPECT_EQ(outer.rows, 6);
}

} // namespace
