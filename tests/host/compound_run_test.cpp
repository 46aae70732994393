// Compound analyses through `canal run` on real ngspice: sweeps, Monte Carlo, worst case, noise
// figure and trace width give the numbers circuit theory gives, write their result files, stop
// on Ctrl-C keeping the runs made, and refuse settings the circuit cannot take by name.
#include "tests/support/tool_run.h"

#include <csignal>
#include <cstdio>
#include <numeric>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using canal_test::Saved;
using canal_test::Table;
using canal_test::Tolerance;
using CompoundRunTest = canal_test::ToolRunTest;
constexpr auto npos = std::string::npos;

const char* const kDivider = "divider\nv1 in 0 dc 5 ac 1\nr1 in out 1k\nr2 out 0 1k\n.end\n";
const char* const kDiode = "diode\ni1 0 a dc 1m\nd1 a 0 dmod\n.model dmod d is=1e-14\n.end\n";

// An operating point of v(out) swept over the resistance of `instance`.
std::string Sweep(const std::string& instance, const std::string& values) {
    return "PSWEEP:list{" + Saved("v(out)") + "ANALYSIS:list{DeviceSweep:list{Variation:int{3} " +
           "List:array{" + values + "}} SweepType:int{0} AnalysisType:int{0} InstToSweep:list{" +
           "name:string{" + instance + "} isinst:int{1}} InstParamToSweep:list{name:string{r}}}}";
}

// Worst case or Monte Carlo settings over an operating point of v(out) with `tolerances`.
std::string WcMc(const std::string& nickname, const std::string& keys,
                 const std::string& tolerances, const std::string& output = "v(out)") {
    return nickname + ":list{ANALYSIS:list{AnalysisType:int{0} OutputVariable:string{" + output +
           "} " + keys + " TolSpecList:list{" + tolerances + "}}}\n";
}

TEST_F(CompoundRunTest, ADividerSweptByResistanceGivesTheDividerValuesOverTheSweptValue) {
    ASSERT_EQ(RunTo("out", Write("d.cir", kDivider), "PSWEEP", Sweep("r2", "500 1000 2000 4000")),
              cli::ExitOk);
    const Table csv = Csv("out/01-parameter-sweep.csv");
    ASSERT_EQ(csv.header, (std::vector<std::string>{"r2[r]", "v(out)"}));
    ASSERT_EQ(csv.rows.size(), 4u);
    for (const auto& row : csv.rows)
        EXPECT_REL(row[1], 5.0 * row[0] / (1000.0 + row[0]), 1e-6) << row[0];
    EXPECT_NE(out_.str().find("PSWEEP: 4 runs, 1 traces, 4 points; results.txt"), npos);
}

TEST_F(CompoundRunTest, ADiodesForwardVoltageFallsAboutTwoMillivoltsPerKelvin) {
    // A short transient at each temperature: traces over time, named by variable and label.
    ASSERT_EQ(RunTo("out", Write("d.cir", kDiode), "TSWEEP",
                    "TSWEEP:list{" + Saved("v(a)") +
                        "ANALYSIS:list{TemperatureSweep:list{Variation:int{3} List:array{273.15 "
                        "300.15 358.15}} SweepType:int{2} AnalysisType:int{2} Tran:list{"
                        "TSTEP:double{1e-07} TSTOP:double{1e-06} TSTART:double{0} "
                        "TMAX:double{1e-07} IC:string{dcop}}}}"),
              cli::ExitOk);
    const Table csv = Csv("out/01-temperature-sweep.csv");
    const auto at = [&](const char* kelvin) {
        return csv.rows.back()[csv.Column("v(a), Temperature=" + std::string(kelvin))];
    };
    const double cold = at("273.15"), room = at("300.15"), hot = at("358.15");
    EXPECT_NEAR(room, 0.655, 0.01);
    for (const double slope : {(room - cold) / 27.0, (hot - room) / 58.0})
        EXPECT_NEAR(slope, -1.9e-3, 0.4e-3);
    // The legend names the swept values.
    EXPECT_NE(Read("out/01-temperature-sweep.svg").find(">Temperature=358.15</text>"), npos);
}

TEST_F(CompoundRunTest, MonteCarloOfADividerSpreadsAsItsTolerancesSayAndRepeatsForItsSeed) {
    const int runs = 300;
    const std::string circuit = Write("d.cir", kDivider);
    const std::string settings = WcMc("MONTE", "NumRuns:int{" + std::to_string(runs) + "}",
                                      Tolerance("r1", 10) + Tolerance("r2", 10));
    const auto run = [&](const std::string& out, const char* seed) {
        EXPECT_EQ(RunTo(out, circuit, "MONTE", settings, {"--seed", seed}), cli::ExitOk);
        return Read(out + "/runs.csv");
    };
    const std::string first = run("a", "7");
    EXPECT_EQ(run("b", "7"), first);
    EXPECT_NE(run("c", "8"), first);
    EXPECT_NE(out_.str().find("MONTE: 302 runs, 302 valid, mean 2."), npos);

    // Each row's value is the divider of the values applied in it.
    const Table table = Csv("a/runs.csv");
    ASSERT_EQ(table.rows.size(), static_cast<size_t>(runs) + 2);
    const size_t r1 = table.Column("@r1[resistance]"), r2 = table.Column("@r2[resistance]"),
                 value = table.Column("value");
    std::vector<double> v;
    for (const auto& row : table.rows) {
        EXPECT_REL(row[value], 5.0 * row[r2] / (row[r1] + row[r2]), 1e-6);
        v.push_back(row[value]);
    }
    v.resize(runs + 1); // the nominal and the random runs, without the last row
    // 10% is three sigma: v(out) = 2.5 (1 + (d2 - d1) / 2), so sigma = 2.5 * 0.1 / 3 / sqrt(2).
    const double mean = std::accumulate(v.begin(), v.end(), 0.0) / double(v.size());
    double squares = 0.0;
    for (double x : v)
        squares += (x - mean) * (x - mean);
    const double sigma = std::sqrt(squares / double(v.size())), expected = 2.5 * 0.1 / 3 / M_SQRT2;
    EXPECT_NEAR(mean, 2.5, 4 * expected / std::sqrt(double(v.size())));
    EXPECT_NEAR(sigma, expected, 4 * expected / std::sqrt(2.0 * double(v.size())));

    EXPECT_NE(Read("a/results.txt").find("Run #300: "), npos);
    EXPECT_NE(Read("a/01-monte-carlo-analysis-histogram.svg").find("nominal 2.5 V"), npos);
}

TEST_F(CompoundRunTest, WorstCaseOfADividerLandsOnTheEndsOfTheBand) {
    // v(out) = 5 r2 / (r1 + r2) with both 10% off in the direction that moves it most.
    for (const auto& [filter, value, r1, r2] :
         {std::tuple{1, 2.75, 900.0, 1100.0}, std::tuple{0, 2.25, 1100.0, 900.0}}) {
        const std::string out = "out" + std::to_string(filter);
        ASSERT_EQ(RunTo(out, Write("d.cir", kDivider), "WORST",
                        WcMc("WORST", "Filter:int{" + std::to_string(filter) + "}",
                             Tolerance("r1", 10) + Tolerance("r2", 10))),
                  cli::ExitOk);
        const Table t = Csv(out + "/runs.csv");
        ASSERT_EQ(t.rows.size(), 2u);
        EXPECT_REL(t.rows[0][t.Column("value")], 2.5, 1e-6);
        EXPECT_REL(t.rows[1][t.Column("value")], value, 1e-6);
        EXPECT_REL(t.rows[1][t.Column("@r1[resistance]")], r1, 1e-12);
        EXPECT_REL(t.rows[1][t.Column("@r2[resistance]")], r2, 1e-12);
    }
}

TEST_F(CompoundRunTest, NoiseFigureOfADividerIsItsOutputOverItsInputReferredNoise) {
    // The input-referred noise is the output noise over the gain, 2/3: the figure is -3.52 dB.
    ASSERT_EQ(RunTo("out",
                    Write("d.cir", "nf\nv1 in 0 dc 0 ac 1\nr1 in out 1k\nr2 out 0 2k\n.end\n"),
                    "NOISE_FIGURE",
                    "NOISE_FIGURE:list{ANALYSIS:list{InputRefSource:string{v1} "
                    "OutputNode:string{out} Frequency:double{1000}}}"),
              cli::ExitOk);
    const std::string results = Read("out/results.txt");
    ASSERT_EQ(results.rfind("Noise Figure Results\n", 0), 0u) << results;
    EXPECT_NEAR(std::stod(results.substr(results.find('\n') + 1)), 20 * std::log10(2.0 / 3.0),
                1e-4);
}

TEST_F(CompoundRunTest, TraceWidthOfOneAmpereIsTheWidthOfTheFormula) {
    ASSERT_EQ(RunTo("out", Write("i.cir", "one ampere\ni1 0 a dc 1\nr1 a 0 10\n.end\n"),
                    "TRACEWIDTH",
                    "TRACEWIDTH:list{ANALYSIS:list{Tran:list{TSTEP:double{1e-05} "
                    "TSTOP:double{1e-04} TSTART:double{0} TMAX:double{1e-05} IC:string{dcop}}}}"),
              cli::ExitOk);
    // 10 degrees rise, 1 oz copper (1.4 mils thick).
    const double width = std::pow(1.0 / (0.024 * std::pow(10.0, 0.44)), 1 / 0.725) / 1.4;
    const Table table = Csv("out/tracewidth.csv");
    ASSERT_EQ(table.header,
              (std::vector<std::string>{"component", "pin", "current (A)", "width (mils)"}));
    ASSERT_EQ(table.rows.size(), 4u); // two pins each of i1 and r1
    for (const auto& row : table.rows) {
        EXPECT_REL(row[2], 1.0, 1e-6);
        EXPECT_REL(row[3], width, 1e-6);
    }
    EXPECT_NE(Read("out/results.txt").find("Component:r1 ,Pin #2,Trace Width = 30.28"), npos);
    EXPECT_NE(Read("out/tw_data").find("xr1.pinvoltagev--1#branch 1 r1 1"), npos);
    EXPECT_TRUE(Exists("out/tw_data_tran"));
}

TEST_F(CompoundRunTest, SettingsTheCircuitCannotTakeAreRefusedByNameBeforeAnySimulation) {
    const std::string mc = "NumRuns:int{3}";
    struct Case {
        const char* nickname;
        std::string settings;
        const char *option, *value; ///< an option of the command line, "" for none
        int status;
        const char* message;
    };
    const Case cases[] = {
        {"PSWEEP", Sweep("r9", "1 2"), "", "", cli::ExitFailure, "no instance 'r9' in the circuit"},
        {"MONTE", WcMc("MONTE", mc, Tolerance("r1", 5) + Tolerance("r2", 5, 1, "foo")), "", "",
         cli::ExitFailure, "r2 has no parameter 'foo'"},
        {"MONTE", WcMc("MONTE", mc, Tolerance("r1", 5), "v(nowhere)"), "", "", cli::ExitFailure,
         "Output variables not in the circuit: v(nowhere)"},
        {"PSWEEP", Sweep("r2", "1 2"), "--save", "v(out) v(zz)", cli::ExitFailure,
         "Output variables not in the circuit: v(zz)"},
        {"MONTE", WcMc("MONTE", mc, Tolerance("r1", 100)), "", "", cli::ExitUsage,
         "run: the settings of Monte Carlo are not acceptable: tolerance 1 (r1 resistance): Error: "
         "Tolerance must be less than or equal to 100%."},
        {"MONTE", WcMc("MONTE", mc, Tolerance("r1", 5)), "--save", "v(out) v(in)", cli::ExitUsage,
         "MONTE measures one output variable; --save names 2"},
        {"TRACEWIDTH", "TRACEWIDTH:list{}", "--save", "v(out)", cli::ExitUsage,
         "TRACEWIDTH chooses its own vectors"},
        {"NOISE_FIGURE", "NOISE_FIGURE:list{ANALYSIS:list{OutputNode:string{out}}}", "", "",
         cli::ExitFailure, "needs an output node (OutputNode) and an input source"},
        {"NOISE_FIGURE",
         "NOISE_FIGURE:list{ANALYSIS:list{OutputNode:string{out} InputRefSource:string{vx}}}", "",
         "", cli::ExitFailure, "no source 'vx' in the circuit"},
    };
    const std::string circuit = Write("d.cir", kDivider);
    for (const Case& c : cases) {
        std::vector<std::string> extra;
        if (*c.option)
            extra = {c.option, c.value};
        EXPECT_EQ(RunTo("never", circuit, c.nickname, c.settings, extra), c.status) << c.message;
        EXPECT_NE(err_.str().find(c.message), npos) << err_.str();
        EXPECT_FALSE(Exists("never/report.html")) << c.message;
    }
}

TEST_F(CompoundRunTest, AFailedRunKeepsTheRunsBeforeItAndIsLoggedWithItsRun) {
    const std::string circuit = Write("d.cir", kDiode);
    // Below absolute zero the diode has no operating point: the sweep ends there.
    EXPECT_EQ(RunTo("sweep", circuit, "TSWEEP",
                    "TSWEEP:list{" + Saved("v(a)") +
                        "ANALYSIS:list{TemperatureSweep:list{Variation:int{3} List:array{300.15 "
                        "350 -100 400}} SweepType:int{2} AnalysisType:int{0}}}"),
              cli::ExitFailure);
    EXPECT_EQ(Csv("sweep/01-temperature-sweep.csv").rows.size(), 2u);
    EXPECT_NE(
        Read("sweep/results.txt").find("TEMP=-100: Temperature=-100\n  A simulator command failed"),
        npos);
    EXPECT_NE(err_.str().find("Temperature Sweep failed: "), npos);

    // A Monte Carlo analysis goes on after a failed run: a negative emission coefficient fails.
    ASSERT_EQ(RunTo("mc", circuit, "MONTE",
                    WcMc("MONTE", "NumRuns:int{40}", Tolerance("dmod", 4, 1, "n", 0, 0), "v(a)"),
                    {"--seed", "3"}),
              cli::ExitOk);
    const Table runs = Csv("mc/runs.csv");
    const std::string results = Read("mc/results.txt");
    size_t failed = 0;
    for (size_t r = 1; r + 1 < runs.rows.size(); ++r) {
        const bool fails = runs.rows[r][runs.Column("@@dmod[n]")] <= 0.0;
        failed += fails;
        EXPECT_EQ(runs.rows[r][runs.Column("valid")], fails ? 0.0 : 1.0) << r;
        const std::string line = "Run #" + std::to_string(r) +
                                 ": no valid measurement (the simulator reported a failure)";
        EXPECT_EQ(results.find(line) != npos, fails) << line;
    }
    EXPECT_GT(failed, 0u);
}

TEST_F(CompoundRunTest, ARunListRunsItsEntriesInOrderAfterCheckingThemAll) {
    const std::string op = "OP:list{" + Saved("v(out)") + "}";
    const std::string circuit = Write("d.cir", kDivider);
    ASSERT_EQ(RunTo("out", circuit, "ANALYSES",
                    "ANALYSES:list{ANALYSIS_LIST:list{" + op + Sweep("r2", "3000") + op + "}}"),
              cli::ExitOk);
    // One section each, the second of a kind under its own prefix.
    EXPECT_REL(Csv("out/op-01-operating-point.csv").rows.at(0).at(1), 2.5, 1e-6);
    EXPECT_REL(Csv("out/psweep-01-parameter-sweep.csv").rows.at(0).at(1), 3.75, 1e-6);
    EXPECT_TRUE(Exists("out/op-2-01-operating-point.csv"));
    const std::string html = Read("out/report.html");
    EXPECT_LT(html.find("<h2>DC operating point"), html.find("<h2>Parameter Sweep"));

    // One entry that does not fit stops the whole list before anything runs.
    const std::string bad = "MONTE:list{ANALYSIS:list{OutputVariable:string{v(out)} "
                            "TolSpecList:list{" +
                            Tolerance("r9", 5) + "}}}";
    EXPECT_EQ(RunTo("refused", circuit, "ANALYSES",
                    "ANALYSES:list{ANALYSIS_LIST:list{" + op + bad + "}}"),
              cli::ExitFailure);
    EXPECT_NE(err_.str().find("no instance 'r9' in the circuit"), npos);
    EXPECT_FALSE(Exists("refused/report.html"));
}

// Runs the tool as a process, as a shell would, and presses Ctrl-C once it is under way.
TEST_F(CompoundRunTest, CtrlCStopsAfterTheCurrentRunAndWritesTheRunsMade) {
    const std::string tool = CANAL_TOOL_PATH;
    if (tool.empty())
        GTEST_SKIP() << "the canal tool is not built";
    Write("d.cir", kDivider);
    Write("mc.prop", WcMc("MONTE", "NumRuns:int{100000}", Tolerance("r1", 5)));
    // The shell names its process, which the tool then takes over.
    FILE* shell = ::popen(("cd '" + folder_.Path().string() + "' && echo $$ && exec '" + tool +
                           "' run d.cir MONTE --settings mc.prop --out out 2>err >/dev/null")
                              .c_str(),
                          "r");
    ASSERT_NE(shell, nullptr);
    pid_t child = 0;
    ASSERT_EQ(std::fscanf(shell, "%d", &child), 1);
    // Interrupt once the status line names the third random run, so that runs are done.
    for (int i = 0; i < 6000 && Read("err").find("Run #3") == npos; ++i)
        ::usleep(10000);
    ::kill(child, SIGINT);
    const int status = ::pclose(shell);
    const std::string err = Read("err");
    ASSERT_NE(err.find("Run #3"), npos) << err;
    ASSERT_TRUE(WIFEXITED(status)) << err;
    EXPECT_EQ(WEXITSTATUS(status), cli::ExitInterrupted) << err;
    EXPECT_NE(err.find("stopped on request"), npos) << err;

    const Table runs = Csv("out/runs.csv");
    ASSERT_GT(runs.rows.size(), 1u);
    EXPECT_NE(
        Read("out/results.txt")
            .find("Stopped on request before Run #" + std::to_string(runs.rows.size()) + "\n"),
        npos);
    EXPECT_NE(Read("out/report.html").find("Run #"), npos);
}

} // namespace
