// Compound analyses through `canal run` on real ngspice: sweeps, Monte Carlo, worst case, noise
// figure and trace width give the numbers circuit theory gives, write their result files, stop
// on Ctrl-C keeping the runs made, and refuse settings the circuit cannot take by name.
#include "tests/support/tool_run.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <numeric>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>

namespace {

using canal_test::ReadAll;
using canal_test::ReadCsv;
using canal_test::Table;
namespace fs = std::filesystem;
using CompoundRunTest = canal_test::ToolRunTest;

const char* const kDivider = "divider\nv1 in 0 dc 5 ac 1\nr1 in out 1k\nr2 out 0 1k\n.end\n";
const char* const kDiode = "diode\ni1 0 a dc 1m\nd1 a 0 dmod\n.model dmod d is=1e-14\n.end\n";

// One saved and plotted output variable, as a sweep's settings hold it.
std::string Saved(const std::string& variable) {
    return "NODES:list{Nodes:list{NODE:list{Name:string{" + variable +
           "} Kind:int{3} Flags:int{768}}}} ";
}

// An instance resistance toleranced by `value` (percent unless `type` is 0: absolute), drawn
// Gaussian (distribution 1) or uniform (0).
std::string Tolerance(const std::string& instance, double value, int distribution = 1,
                      const std::string& parameter = "resistance", int type = 1, int cls = 1) {
    const std::string member = cls ? "name:string{" + instance + "} isinst:int{1}"
                                   : "model:string{" + instance + "} isinst:int{0}";
    return "TolSpec:list{Distr:int{" + std::to_string(distribution) + "} TolClass:int{" +
           std::to_string(cls) + "} TolType:int{" + std::to_string(type) + "} TolValue:double{" +
           std::to_string(value) + "} MemberToSweep:list{" + member +
           "} MemberParamToSweep:list{name:string{" + parameter + "}}} ";
}

// Worst case or Monte Carlo settings over an operating point of v(out) with `tolerances`.
std::string WcMc(const std::string& nickname, const std::string& keys,
                 const std::string& tolerances, const std::string& output = "v(out)") {
    return nickname + ":list{ANALYSIS:list{AnalysisType:int{0} OutputVariable:string{" + output +
           "} " + keys + " TolSpecList:list{" + tolerances + "}}}\n";
}

std::vector<double> Column(const Table& t, size_t c, size_t rows) {
    std::vector<double> v;
    for (size_t r = 0; r < rows && r < t.rows.size(); ++r)
        v.push_back(t.rows[r][c]);
    return v;
}

TEST_F(CompoundRunTest, ADividerSweptByResistanceGivesTheDividerValuesOverTheSweptValue) {
    const fs::path settings = Write("sweep.prop", "PSWEEP:list{" + Saved("v(out)") +
                                                      "ANALYSIS:list{DeviceSweep:list{"
                                                      "Variation:int{3} List:array{500 1000 "
                                                      "2000 4000}} SweepType:int{0} "
                                                      "AnalysisType:int{0} InstToSweep:list{"
                                                      "name:string{r2} isinst:int{1}} "
                                                      "InstParamToSweep:list{name:string{r}}}}");
    const fs::path out = dir_ / "out";
    ASSERT_EQ(Run({Write("d.cir", kDivider).string(), "PSWEEP", "--settings", settings.string(),
                   "--out", out.string()}),
              cli::ExitOk);
    const Table csv = ReadCsv(out / "01-parameter-sweep.csv");
    ASSERT_EQ(csv.header, (std::vector<std::string>{"r2[r]", "v(out)"}));
    ASSERT_EQ(csv.rows.size(), 4u);
    for (const auto& row : csv.rows)
        EXPECT_REL(row[1], 5.0 * row[0] / (1000.0 + row[0]), 1e-6) << row[0];
    EXPECT_NE(ReadAll(out / "results.txt").find("SWEEP#4: r2[r]=4000"), std::string::npos);
    EXPECT_NE(out_.str().find("PSWEEP: 4 runs, 1 traces, 4 points; results.txt"),
              std::string::npos);
}

TEST_F(CompoundRunTest, ADiodesForwardVoltageFallsAboutTwoMillivoltsPerKelvin) {
    // A short transient at each temperature: traces over time, named by variable and label.
    const fs::path settings =
        Write("tsweep.prop", "TSWEEP:list{" + Saved("v(a)") +
                                 "ANALYSIS:list{TemperatureSweep:list{Variation:int{3} "
                                 "List:array{273.15 300.15 358.15}} SweepType:int{2} "
                                 "AnalysisType:int{2} Tran:list{TSTEP:double{1e-07} "
                                 "TSTOP:double{1e-06} TSTART:double{0} TMAX:double{1e-07} "
                                 "IC:string{dcop}}}}");
    const fs::path out = dir_ / "out";
    ASSERT_EQ(Run({Write("d.cir", kDiode).string(), "TSWEEP", "--settings", settings.string(),
                   "--out", out.string()}),
              cli::ExitOk);
    const Table csv = ReadCsv(out / "01-temperature-sweep.csv");
    const double cold = csv.rows.back()[csv.Column("v(a), Temperature=273.15")];
    const double room = csv.rows.back()[csv.Column("v(a), Temperature=300.15")];
    const double hot = csv.rows.back()[csv.Column("v(a), Temperature=358.15")];
    EXPECT_NEAR(room, 0.655, 0.01);
    for (const double slope : {(room - cold) / 27.0, (hot - room) / 58.0})
        EXPECT_NEAR(slope, -1.9e-3, 0.4e-3);
    // The legend names the swept values under the variable they share.
    const std::string svg = ReadAll(out / "01-temperature-sweep.svg");
    EXPECT_NE(svg.find("font-weight=\"bold\">v(a)</text>"), std::string::npos);
    EXPECT_NE(svg.find(">Temperature=358.15</text>"), std::string::npos);
}

TEST_F(CompoundRunTest, MonteCarloOfADividerSpreadsAsItsTolerancesSayAndRepeatsForItsSeed) {
    const int runs = 300;
    const fs::path circuit = Write("d.cir", kDivider);
    const fs::path settings =
        Write("mc.prop", WcMc("MONTE", "NumRuns:int{" + std::to_string(runs) + "}",
                              Tolerance("r1", 10) + Tolerance("r2", 10)));
    const auto run = [&](const std::string& folder, const char* seed) {
        EXPECT_EQ(Run({circuit.string(), "MONTE", "--settings", settings.string(), "--seed", seed,
                       "--out", (dir_ / folder).string()}),
                  cli::ExitOk);
        return ReadAll(dir_ / folder / "runs.csv");
    };
    const std::string first = run("a", "7");
    EXPECT_EQ(run("b", "7"), first);
    EXPECT_NE(run("c", "8"), first);
    EXPECT_NE(out_.str().find("MONTE: 302 runs, 302 valid, mean 2."), std::string::npos);

    // Each row's value is the divider of the values applied in it.
    const Table table = ReadCsv(dir_ / "a" / "runs.csv");
    ASSERT_EQ(table.rows.size(), static_cast<size_t>(runs) + 2);
    const size_t r1 = table.Column("@r1[resistance]"), r2 = table.Column("@r2[resistance]");
    for (const auto& row : table.rows)
        ASSERT_REL(row[table.Column("value")], 5.0 * row[r2] / (row[r1] + row[r2]), 1e-6);
    // 10% is three sigma: v(out) = 2.5 (1 + (d2 - d1) / 2), so sigma = 2.5 * 0.1 / 3 / sqrt(2).
    const std::vector<double> v = Column(table, table.Column("value"), runs + 1);
    const double mean = std::accumulate(v.begin(), v.end(), 0.0) / double(v.size());
    double squares = 0.0;
    for (double x : v)
        squares += (x - mean) * (x - mean);
    const double sigma = std::sqrt(squares / double(v.size())), expected = 2.5 * 0.1 / 3 / M_SQRT2;
    EXPECT_NEAR(mean, 2.5, 4 * expected / std::sqrt(double(v.size())));
    EXPECT_NEAR(sigma, expected, 4 * expected / std::sqrt(2.0 * double(v.size())));

    const std::string results = ReadAll(dir_ / "a" / "results.txt");
    EXPECT_NE(results.find("Random seed: 7\n"), std::string::npos);
    EXPECT_NE(results.find("Run #300: "), std::string::npos);
    EXPECT_NE(ReadAll(dir_ / "a" / "01-monte-carlo-analysis-histogram.svg").find("nominal 2.5 V"),
              std::string::npos);
}

TEST_F(CompoundRunTest, WorstCaseOfADividerLandsOnTheEndsOfTheBand) {
    struct Case {
        int filter;
        double value, r1, r2;
    };
    // v(out) = 5 r2 / (r1 + r2) with both 10% off in the direction that moves it most.
    for (const Case& c : {Case{1, 2.75, 900, 1100}, Case{0, 2.25, 1100, 900}}) {
        const fs::path settings =
            Write("wc.prop", WcMc("WORST", "Filter:int{" + std::to_string(c.filter) + "}",
                                  Tolerance("r1", 10) + Tolerance("r2", 10)));
        const fs::path out = dir_ / ("out" + std::to_string(c.filter));
        ASSERT_EQ(Run({Write("d.cir", kDivider).string(), "WORST", "--settings", settings.string(),
                       "--out", out.string()}),
                  cli::ExitOk);
        const Table table = ReadCsv(out / "runs.csv");
        ASSERT_EQ(table.rows.size(), 2u);
        EXPECT_REL(table.rows[0][table.Column("value")], 2.5, 1e-6);
        const std::vector<double>& worst = table.rows[1];
        EXPECT_REL(worst[table.Column("value")], c.value, 1e-6);
        EXPECT_REL(worst[table.Column("@r1[resistance]")], c.r1, 1e-12);
        EXPECT_REL(worst[table.Column("@r2[resistance]")], c.r2, 1e-12);
        EXPECT_NE(ReadAll(out / "results.txt").find("Tolerance changes needed"), std::string::npos);
    }
}

TEST_F(CompoundRunTest, NoiseFigureOfADividerIsItsOutputOverItsInputReferredNoise) {
    // The input-referred noise is the output noise over the gain, 2/3: the figure is -3.52 dB.
    const fs::path circuit =
        Write("d.cir", "nf\nv1 in 0 dc 0 ac 1\nr1 in out 1k\nr2 out 0 2k\n.end\n");
    const fs::path settings = Write("nf.prop", "NOISE_FIGURE:list{ANALYSIS:list{"
                                               "InputRefSource:string{v1} OutputNode:string{out} "
                                               "Frequency:double{1000}}}");
    const fs::path out = dir_ / "out";
    ASSERT_EQ(Run({circuit.string(), "NOISE_FIGURE", "--settings", settings.string(), "--out",
                   out.string()}),
              cli::ExitOk);
    const std::string results = ReadAll(out / "results.txt");
    ASSERT_EQ(results.rfind("Noise Figure Results\n", 0), 0u) << results;
    const double figure = std::stod(results.substr(results.find('\n') + 1));
    EXPECT_NEAR(figure, 20 * std::log10(2.0 / 3.0), 1e-4);
}

TEST_F(CompoundRunTest, TraceWidthOfOneAmpereIsTheWidthOfTheFormula) {
    const fs::path circuit = Write("i.cir", "one ampere\ni1 0 a dc 1\nr1 a 0 10\n.end\n");
    const fs::path settings = Write("tw.prop", "TRACEWIDTH:list{ANALYSIS:list{Tran:list{"
                                               "TSTEP:double{1e-05} TSTOP:double{1e-04} "
                                               "TSTART:double{0} TMAX:double{1e-05} "
                                               "IC:string{dcop}}}}");
    const fs::path out = dir_ / "out";
    ASSERT_EQ(Run({circuit.string(), "TRACEWIDTH", "--settings", settings.string(), "--out",
                   out.string()}),
              cli::ExitOk);
    // 10 degrees rise, 1 oz copper (1.4 mils thick).
    const double width = std::pow(1.0 / (0.024 * std::pow(10.0, 0.44)), 1 / 0.725) / 1.4;
    const Table table = ReadCsv(out / "tracewidth.csv");
    ASSERT_EQ(table.header,
              (std::vector<std::string>{"component", "pin", "current (A)", "width (mils)"}));
    ASSERT_EQ(table.rows.size(), 4u); // two pins each of i1 and r1
    for (const auto& row : table.rows) {
        EXPECT_REL(row[2], 1.0, 1e-6);
        EXPECT_REL(row[3], width, 1e-6);
    }
    EXPECT_NE(ReadAll(out / "results.txt").find("Component:r1 ,Pin #2,Trace Width = 30.28"),
              std::string::npos);
    EXPECT_NE(ReadAll(out / "tw_data").find("xr1.pinvoltagev--1#branch 1 r1 1"), std::string::npos);
    EXPECT_TRUE(fs::exists(out / "tw_data_tran"));
}

TEST_F(CompoundRunTest, SettingsTheCircuitCannotTakeAreRefusedByNameBeforeAnySimulation) {
    const std::string mc = "NumRuns:int{3}";
    const auto sweepOf = [](const char* instance) {
        return "PSWEEP:list{" + Saved("v(out)") +
               "ANALYSIS:list{DeviceSweep:list{Variation:int{3} List:array{1 2}} SweepType:int{0} "
               "AnalysisType:int{0} InstToSweep:list{name:string{" +
               std::string(instance) + "} isinst:int{1}} InstParamToSweep:list{name:string{r}}}}";
    };
    struct Case {
        const char* nickname;
        std::string settings;
        std::vector<std::string> options;
        int status;
        const char* message;
    };
    const Case cases[] = {
        {"PSWEEP", sweepOf("r9"), {}, cli::ExitFailure, "no instance 'r9' in the circuit"},
        {"MONTE",
         WcMc("MONTE", mc, Tolerance("r1", 5) + Tolerance("r2", 5, 1, "foo")),
         {},
         cli::ExitFailure,
         "r2 has no parameter 'foo'"},
        {"MONTE",
         WcMc("MONTE", mc, Tolerance("r1", 5), "v(nowhere)"),
         {},
         cli::ExitFailure,
         "Output variables not in the circuit: v(nowhere)"},
        {"PSWEEP",
         sweepOf("r2"),
         {"--save", "v(out) v(zz)"},
         cli::ExitFailure,
         "Output variables not in the circuit: v(zz)"},
        {"MONTE",
         WcMc("MONTE", mc, Tolerance("r1", 100)),
         {},
         cli::ExitUsage,
         "run: the settings of Monte Carlo are not acceptable: tolerance 1 (r1 resistance): Error: "
         "Tolerance must be less than or equal to 100%."},
        {"WORST",
         WcMc("WORST", "", Tolerance("r1", -1)),
         {},
         cli::ExitUsage,
         "Error: Tolerance is less than or equal to zero."},
        {"MONTE",
         WcMc("MONTE", mc, Tolerance("r1", 5)),
         {"--save", "v(out) v(in)"},
         cli::ExitUsage,
         "MONTE measures one output variable; --save names 2"},
        {"MONTE",
         WcMc("MONTE", mc, Tolerance("r1", 5)),
         {"--seed", "-1"},
         cli::ExitUsage,
         "--seed needs an integer"},
        {"TRACEWIDTH",
         "TRACEWIDTH:list{}",
         {"--save", "v(out)"},
         cli::ExitUsage,
         "TRACEWIDTH chooses its own vectors"},
        {"NOISE_FIGURE",
         "NOISE_FIGURE:list{ANALYSIS:list{OutputNode:string{out}}}",
         {},
         cli::ExitFailure,
         "needs an output node (OutputNode) and an input source"},
        {"NOISE_FIGURE",
         "NOISE_FIGURE:list{ANALYSIS:list{OutputNode:string{out} InputRefSource:string{vx}}}",
         {},
         cli::ExitFailure,
         "no source 'vx' in the circuit"},
    };
    const fs::path circuit = Write("d.cir", kDivider);
    for (const Case& c : cases) {
        const fs::path out = dir_ / "never";
        std::vector<std::string> args = {circuit.string(), c.nickname,
                                         "--settings",     Write("s.prop", c.settings).string(),
                                         "--out",          out.string()};
        args.insert(args.end(), c.options.begin(), c.options.end());
        EXPECT_EQ(Run(args), c.status) << c.message;
        EXPECT_NE(err_.str().find(c.message), std::string::npos) << err_.str();
        EXPECT_FALSE(fs::exists(out / "report.html")) << c.message;
    }
}

TEST_F(CompoundRunTest, AFailedRunKeepsTheRunsBeforeItAndIsLoggedWithItsRun) {
    const fs::path circuit = Write("d.cir", kDiode);
    // Below absolute zero the diode has no operating point: the sweep ends there.
    const fs::path sweep =
        Write("t.prop", "TSWEEP:list{" + Saved("v(a)") +
                            "ANALYSIS:list{TemperatureSweep:list{Variation:int{3} "
                            "List:array{300.15 350 -100 400}} SweepType:int{2} "
                            "AnalysisType:int{0}}}");
    const fs::path out = dir_ / "sweep";
    EXPECT_EQ(
        Run({circuit.string(), "TSWEEP", "--settings", sweep.string(), "--out", out.string()}),
        cli::ExitFailure);
    EXPECT_EQ(ReadCsv(out / "01-temperature-sweep.csv").rows.size(), 2u);
    const std::string log = ReadAll(out / "results.txt");
    EXPECT_NE(log.find("TEMP=-100: Temperature=-100\n  A simulator command failed"),
              std::string::npos)
        << log;
    EXPECT_NE(err_.str().find("Temperature Sweep failed: "), std::string::npos);

    // A Monte Carlo analysis goes on after a failed run: a negative emission coefficient fails.
    const fs::path mc = Write(
        "m.prop", WcMc("MONTE", "NumRuns:int{40}", Tolerance("dmod", 4, 1, "n", 0, 0), "v(a)"));
    const fs::path mcOut = dir_ / "mc";
    ASSERT_EQ(Run({circuit.string(), "MONTE", "--settings", mc.string(), "--seed", "3", "--out",
                   mcOut.string()}),
              cli::ExitOk);
    const Table runs = ReadCsv(mcOut / "runs.csv");
    const std::string results = ReadAll(mcOut / "results.txt");
    size_t failed = 0;
    for (size_t r = 1; r + 1 < runs.rows.size(); ++r) {
        const auto& row = runs.rows[r];
        const bool fails = row[runs.Column("@@dmod[n]")] <= 0.0;
        failed += fails;
        EXPECT_EQ(row[runs.Column("valid")], fails ? 0.0 : 1.0) << r;
        const std::string line = "Run #" + std::to_string(r) +
                                 ": no valid measurement (the "
                                 "simulator reported a failure)";
        EXPECT_EQ(results.find(line) != std::string::npos, fails) << line;
    }
    EXPECT_GT(failed, 0u);
}

TEST_F(CompoundRunTest, ARunListRunsItsEntriesInOrderAfterCheckingThemAll) {
    const std::string op = "OP:list{" + Saved("v(out)") + "}";
    const std::string sweep = "PSWEEP:list{" + Saved("v(out)") +
                              "ANALYSIS:list{DeviceSweep:list{Variation:int{3} List:array{3000}} "
                              "SweepType:int{0} AnalysisType:int{0} InstToSweep:list{"
                              "name:string{r2} isinst:int{1}} InstParamToSweep:list{"
                              "name:string{r}}}}";
    const fs::path circuit = Write("d.cir", kDivider);
    const fs::path set =
        Write("set.prop", "ANALYSES:list{ANALYSIS_LIST:list{" + op + sweep + op + "}}");
    const fs::path out = dir_ / "out";
    ASSERT_EQ(
        Run({circuit.string(), "ANALYSES", "--settings", set.string(), "--out", out.string()}),
        cli::ExitOk);
    // One section each, the second of a kind under its own prefix.
    EXPECT_REL(ReadCsv(out / "op-01-operating-point.csv").rows.at(0).at(1), 2.5, 1e-6);
    EXPECT_REL(ReadCsv(out / "psweep-01-parameter-sweep.csv").rows.at(0).at(1), 3.75, 1e-6);
    EXPECT_TRUE(fs::exists(out / "op-2-01-operating-point.csv"));
    const std::string html = ReadAll(out / "report.html");
    EXPECT_LT(html.find("<h2>DC operating point"), html.find("<h2>Parameter Sweep"));

    // One entry that does not fit stops the whole list before anything runs.
    const std::string bad = "MONTE:list{ANALYSIS:list{OutputVariable:string{v(out)} "
                            "TolSpecList:list{" +
                            Tolerance("r9", 5) + "}}}";
    const fs::path refused = dir_ / "refused";
    EXPECT_EQ(
        Run({circuit.string(), "ANALYSES", "--settings",
             Write("bad.prop", "ANALYSES:list{ANALYSIS_LIST:list{" + op + bad + "}}").string(),
             "--out", refused.string()}),
        cli::ExitFailure);
    EXPECT_NE(err_.str().find("no instance 'r9' in the circuit"), std::string::npos);
    EXPECT_FALSE(fs::exists(refused / "report.html"));
}

// Runs the tool as a process, as a shell would, and presses Ctrl-C once it is under way.
TEST_F(CompoundRunTest, CtrlCStopsAfterTheCurrentRunAndWritesTheRunsMade) {
    const std::string tool = CANAL_TOOL_PATH;
    if (tool.empty())
        GTEST_SKIP() << "the canal tool is not built";
    const fs::path settings =
        Write("mc.prop", WcMc("MONTE", "NumRuns:int{100000}", Tolerance("r1", 5)));
    const fs::path out = dir_ / "out";
    const std::vector<std::string> args = {tool,    "run",        Write("d.cir", kDivider).string(),
                                           "MONTE", "--settings", settings.string(),
                                           "--out", out.string()};
    int errPipe[2];
    ASSERT_EQ(::pipe(errPipe), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::dup2(errPipe[1], STDERR_FILENO);
        ::close(errPipe[0]);
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, STDOUT_FILENO);
        std::vector<char*> argv;
        for (const std::string& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(errPipe[1]);
    // Interrupt once the status line names the third random run, so that runs are done.
    std::string err;
    char buffer[4096];
    bool underWay = false;
    for (pollfd ready{errPipe[0], POLLIN, 0}; !underWay && ::poll(&ready, 1, 60000) == 1;) {
        const ssize_t n = ::read(errPipe[0], buffer, sizeof buffer);
        if (n <= 0)
            break;
        err.append(buffer, static_cast<size_t>(n));
        underWay = err.find("Run #3") != std::string::npos;
    }
    ::kill(child, SIGINT);
    for (ssize_t n; (n = ::read(errPipe[0], buffer, sizeof buffer)) > 0;)
        err.append(buffer, static_cast<size_t>(n));
    ::close(errPipe[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(underWay);
    ASSERT_TRUE(WIFEXITED(status)) << err;
    EXPECT_EQ(WEXITSTATUS(status), cli::ExitInterrupted) << err;
    EXPECT_NE(err.find("stopped on request"), std::string::npos) << err;

    const Table runs = ReadCsv(out / "runs.csv");
    ASSERT_GT(runs.rows.size(), 1u);
    const std::string results = ReadAll(out / "results.txt");
    const std::string stopped =
        "Stopped on request before Run #" + std::to_string(runs.rows.size()) + "\n";
    EXPECT_NE(results.find(stopped), std::string::npos) << stopped;
    EXPECT_NE(ReadAll(out / "report.html").find("Run #"), std::string::npos);
}

} // namespace
