// `canal run` end to end on the real libngspice: the files it writes, the numbers in
// them, and what a failing netlist leaves behind.
#include "cli/run.h"
#include "tests/support/tool_run.h"

#include <filesystem>

namespace {

using RunCommandTest = canal_test::ToolRunTest;
using canal_test::Table;
constexpr auto npos = std::string::npos;

// fc = 1 / (2 pi 1k 159.155n) = 1000 Hz; tau = 159.155 us.
const char* const kRcCircuit = "rc low pass\nV1 in 0 DC 0 AC 1 PULSE(0 1 0 1n 1n 10 20)\n"
                               "R1 in out 1k\nC1 out 0 159.155n\n.end\n";

// The names of the files in `dir`, sorted, one a line.
std::string Listing(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    std::string all;
    for (const std::string& name : names)
        all += name + "\n";
    return all;
}

TEST_F(RunCommandTest, AcRunWritesEveryFileShowsTheCornerAndKeepsThemWhenANetlistBreaks) {
    const std::vector<std::string> ac = {
        Write("rc.cir", kRcCircuit), "AC", "--save", "v(out)", "--out", Path("ac")};
    ASSERT_EQ(Run(ac), cli::ExitOk);
    EXPECT_EQ(Listing(Path("ac")), "01-ac-analysis.csv\n01-ac-analysis.svg\nanalysis.txt\nlog.txt\n"
                                   "report.html\n");
    EXPECT_NE(out_.str().find("report.html"), npos);
    EXPECT_NE(Read("ac/analysis.txt").find("ac  -env-options dec 10 1 1e+10"), npos);

    const Table csv = Csv("ac/01-ac-analysis.csv");
    ASSERT_EQ(csv.header, (std::vector<std::string>{"frequency", "|v(out)|", "phase(v(out))"}));
    ASSERT_EQ(csv.rows.size(), 101u); // 10 points a decade from 1 Hz to 10 GHz
    // Where the magnitude crosses 1/sqrt(2), interpolated on log frequency.
    double corner = NAN, phaseAtCorner = NAN;
    const double target = 1.0 / std::sqrt(2.0);
    for (size_t i = 1; i < csv.rows.size(); ++i) {
        const auto &a = csv.rows[i - 1], &b = csv.rows[i];
        if (a[1] >= target && b[1] < target) {
            const double t = (a[1] - target) / (a[1] - b[1]);
            corner = std::pow(10.0, std::log10(a[0]) + t * (std::log10(b[0]) - std::log10(a[0])));
            phaseAtCorner = a[2] + t * (b[2] - a[2]);
        }
    }
    EXPECT_NEAR(corner, 1000.0, 10.0);
    EXPECT_NEAR(phaseAtCorner, -45.0, 1.0);

    // A netlist ngspice refuses fails with its message and leaves the earlier files be.
    EXPECT_EQ(Run({Write("broken.cir", "broken\nV1 in 0 DC 1\nQ1 c b e NOSUCHMODEL\n.end\n"), "AC",
                   "--save", "v(out)", "--out", Path("ac")}),
              cli::ExitFailure);
    EXPECT_NE(err_.str().find("nosuchmodel"), npos);
    EXPECT_TRUE(Exists("ac/01-ac-analysis.csv"));
    EXPECT_NE(Read("ac/log.txt").find("nosuchmodel"), npos);
    EXPECT_NE(Read("ac/report.html").find("nosuchmodel"), npos);
    // The failed load left the session usable.
    EXPECT_EQ(Run(ac), cli::ExitOk);
}

TEST_F(RunCommandTest, AnUnknownNicknameOrNothingToSaveIsReportedBeforeAnySimulation) {
    const std::string circuit = Write("rc.cir", kRcCircuit);
    EXPECT_EQ(Run({circuit, "NOPE", "--out", Path("never")}), cli::ExitUsage);
    EXPECT_NE(err_.str().find("NOPE"), npos);
    // The analysis says why it cannot run, and how to fix it.
    EXPECT_EQ(Run({circuit, "AC", "--out", Path("never")}), cli::ExitFailure);
    EXPECT_NE(err_.str().find("--save"), npos);
    EXPECT_FALSE(Exists("never"));
}

TEST(StatusLine, RewritesOneLineOnATerminalAndStaysQuietOtherwiseForShortWork) {
    std::ostringstream terminal, pipe;
    {
        cli::StatusLine line(terminal, true), quiet(pipe, false);
        line.Update("Simulating... tran");
        line.Update("ok");
        quiet.Update("Simulating...");
    }
    EXPECT_EQ(terminal.str(), "\rSimulating... tran\rok" + std::string(16, ' ') + "\r  \r");
    EXPECT_EQ(pipe.str(), "");
}

} // namespace
