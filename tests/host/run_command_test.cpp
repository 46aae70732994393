// `canal run` end to end on the real libngspice: the files it writes, the numbers in
// them, and what a failing netlist leaves behind.
#include "cli/commands.h"
#include "cli/run.h"
#include "tests/support/tool_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace {

// fc = 1 / (2 pi 1k 159.155n) = 1000 Hz; tau = 159.155 us.
const char* const kRcCircuit = "rc low pass\n"
                               "V1 in 0 DC 0 AC 1 PULSE(0 1 0 1n 1n 10 20)\n"
                               "R1 in out 1k\n"
                               "C1 out 0 159.155n\n"
                               ".end\n";

const char* const kTranSettings =
    "TRAN:list{ANALYSIS:list{TSTEP:double{1e-05} TSTOP:double{0.001} TSTART:double{0}\n"
    "  TMAX:double{1e-05} IC:string{dcop}}}\n";

using RunCommandTest = canal_test::ToolRunTest;
using canal_test::FilesWithExtension;
using canal_test::ReadAll;
using canal_test::ReadCsv;
using canal_test::Table;
namespace fs = std::filesystem;

} // namespace

TEST_F(RunCommandTest, AcRunWritesEveryFileAndTheCsvShowsTheCornerFrequency) {
    const fs::path circuit = Write("rc.cir", kRcCircuit);
    const fs::path out = dir_ / "ac";
    ASSERT_EQ(Run({circuit.string(), "AC", "--save", "v(out)", "--out", out.string()}),
              cli::ExitOk);
    for (const char* name : {"analysis.txt", "log.txt", "report.html"})
        EXPECT_TRUE(fs::exists(out / name)) << name;
    ASSERT_EQ(FilesWithExtension(out, ".csv").size(), 1u);
    EXPECT_EQ(FilesWithExtension(out, ".svg").size(), 1u);
    EXPECT_NE(out_.str().find("report.html"), std::string::npos);
    EXPECT_NE(ReadAll(out / "analysis.txt").find("ac  -env-options dec 10 1 1e+10"),
              std::string::npos);

    Table csv = ReadCsv(FilesWithExtension(out, ".csv").front());
    ASSERT_EQ(csv.header, (std::vector<std::string>{"frequency", "|v(out)|", "phase(v(out))"}));
    ASSERT_EQ(csv.rows.size(), 101u); // 10 points a decade from 1 Hz to 10 GHz
    // Where the magnitude crosses 1/sqrt(2), interpolated on log frequency.
    double corner = NAN, phaseAtCorner = NAN;
    const double target = 1.0 / std::sqrt(2.0);
    for (size_t i = 1; i < csv.rows.size(); ++i) {
        const auto& a = csv.rows[i - 1];
        const auto& b = csv.rows[i];
        if (a[1] >= target && b[1] < target) {
            double t = (a[1] - target) / (a[1] - b[1]);
            corner = std::pow(10.0, std::log10(a[0]) + t * (std::log10(b[0]) - std::log10(a[0])));
            phaseAtCorner = a[2] + t * (b[2] - a[2]);
        }
    }
    EXPECT_NEAR(corner, 1000.0, 10.0);
    EXPECT_NEAR(phaseAtCorner, -45.0, 1.0);
}

TEST_F(RunCommandTest, TranRunFollowsTheCapacitorCharge) {
    const fs::path circuit = Write("rc.cir", kRcCircuit);
    const fs::path settings = Write("tran.prop", kTranSettings);
    const fs::path out = dir_ / "tran";
    ASSERT_EQ(Run({circuit.string(), "TRAN", "--settings", settings.string(), "--save",
                   "v(in) v(out)", "--out", out.string()}),
              cli::ExitOk);
    ASSERT_EQ(FilesWithExtension(out, ".csv").size(), 1u);
    Table csv = ReadCsv(FilesWithExtension(out, ".csv").front());
    ASSERT_EQ(csv.header.size(), 3u);
    EXPECT_EQ(csv.header[0], "time");
    const size_t col = csv.header[1] == "v(out)" ? 1 : 2;
    ASSERT_EQ(csv.header[col], "v(out)");
    ASSERT_GT(csv.rows.size(), 50u);
    for (const auto& row : csv.rows) {
        const double expected = 1.0 - std::exp(-row[0] / 159.155e-6);
        ASSERT_NEAR(row[col], expected, 0.01) << "at t = " << row[0];
    }
    EXPECT_NEAR(csv.rows.back()[0], 1e-3, 1e-9);
}

TEST_F(RunCommandTest, BrokenNetlistFailsWithNgspiceMessageAndKeepsEarlierFiles) {
    const fs::path out = dir_ / "out";
    ASSERT_EQ(Run({Write("rc.cir", kRcCircuit).string(), "AC", "--save", "v(out)", "--out",
                   out.string()}),
              cli::ExitOk);
    const fs::path csv = FilesWithExtension(out, ".csv").front();

    const fs::path broken =
        Write("broken.cir", "broken\nV1 in 0 DC 1\nQ1 c b e NOSUCHMODEL\n.end\n");
    EXPECT_EQ(Run({broken.string(), "AC", "--save", "v(out)", "--out", out.string()}),
              cli::ExitFailure);
    EXPECT_NE(err_.str().find("nosuchmodel"), std::string::npos);
    EXPECT_TRUE(fs::exists(csv));
    EXPECT_NE(ReadAll(out / "log.txt").find("nosuchmodel"), std::string::npos);
    EXPECT_NE(ReadAll(out / "report.html").find("nosuchmodel"), std::string::npos);

    // The same circuit still runs afterwards: the failed load left the session usable.
    EXPECT_EQ(Run({Write("rc.cir", kRcCircuit).string(), "AC", "--save", "v(out)", "--out",
                   out.string()}),
              cli::ExitOk);
}

TEST_F(RunCommandTest, ArgumentProblemsAreReportedBeforeAnySimulation) {
    const fs::path circuit = Write("rc.cir", kRcCircuit);
    const fs::path out = dir_ / "never";

    EXPECT_EQ(Run({(dir_ / "missing.cir").string(), "AC", "--out", out.string()}), cli::ExitUsage);
    EXPECT_NE(err_.str().find("missing.cir"), std::string::npos);

    EXPECT_EQ(Run({circuit.string(), "NOPE", "--out", out.string()}), cli::ExitUsage);
    EXPECT_NE(err_.str().find("NOPE"), std::string::npos);

    // Nothing to save: the analysis says why it cannot run, and how to fix it.
    EXPECT_EQ(Run({circuit.string(), "AC", "--out", out.string()}), cli::ExitFailure);
    EXPECT_NE(err_.str().find("--save"), std::string::npos);

    EXPECT_EQ(Run({circuit.string()}), cli::ExitUsage);
    EXPECT_EQ(Run({"--help"}), cli::ExitOk);
    EXPECT_NE(out_.str().find("--save VECTORS"), std::string::npos);
    EXPECT_FALSE(fs::exists(out));
}

TEST(StatusLine, RewritesOneLineOnATerminalAndStaysQuietOtherwiseForShortWork) {
    std::ostringstream terminal;
    {
        cli::StatusLine line(terminal, true);
        line.Update("Simulating... tran");
        line.Update("ok");
    }
    EXPECT_EQ(terminal.str(), "\rSimulating... tran\rok" + std::string(16, ' ') + "\r  \r");

    std::ostringstream pipe;
    {
        cli::StatusLine line(pipe, false);
        line.Update("Simulating...");
    }
    EXPECT_EQ(pipe.str(), "");
}
