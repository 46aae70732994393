// Runs framed scripts on the real libngspice with small circuits written by each test.
#include "host/ngspice/script_runner.h"
#include "host/ngspice/session.h"
#include "platform/cstring.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using host::RunOptions;
using host::RunResult;
using Notes = std::vector<std::string>;

#define EXPECT_REL(actual, expected, rel)                                                          \
    EXPECT_NEAR((actual), (expected), std::fabs(expected) * (rel))

// The option statements every analysis writes with its default option set.
const std::string kDefaultOptions =
    "; set trtol = 7; set itl4 = 100; set convlimit; set rshunt = 1e+12; ";

const char* kRcLowPass = "rc low-pass\nv1 in 0 dc 0 ac 1\nr1 in out 1k\nc1 out 0 159.154943n\n";
const char* kDivider = "divider\nv1 in 0 dc 3\nv2 top 0 dc 1\nr1 in mid 1k\nr2 mid 0 2k\n"
                       "r3 top 0 1k\n";
const char* kDiode = "diode\ni1 0 a dc 1m\nd1 a 0 dm\n.model dm d is=1e-14\n";

class ScriptRunnerTest : public ::testing::Test {
protected:
    // Writes the netlist to a file of the test's own folder and loads it from there.
    void Load(const std::string& netlist) {
        std::string error;
        ASSERT_TRUE(runner_.LoadCircuitFile(files_.Write("circuit.cir", netlist + ".end\n"), error))
            << error;
    }

    const RunResult& Run(const std::string& script, const RunOptions& options = {}) {
        last_ = runner_.Run(script, options);
        return last_;
    }
    // Runs a script that must succeed; later results replace the one returned.
    const RunResult& Ok(const std::string& script, const RunOptions& options = {}) {
        EXPECT_TRUE(Run(script, options).ok) << script << ": " << last_.error;
        return last_;
    }

    // The first value of a trace of the first page after an operating point with `set`.
    double OpValue(const std::string& set, const std::string& trace = "v(a)") {
        const RunResult& r =
            Ok("begin-scope page OP; save all; " + set + "; op  -env-options ; end-scope ");
        return r.pages.empty() ? NAN : At(r.pages[0], trace);
    }

    static const report::Trace* Find(const report::Page& page, const std::string& name) {
        for (const auto& t : page.traces)
            if (t.name == name)
                return &t;
        return nullptr;
    }

    // The i-th value of a trace; NaN, which fails every comparison, when the page lacks it.
    static double At(const report::Page& page, const std::string& name, std::size_t i = 0) {
        const report::Trace* t = Find(page, name);
        return t && i < t->re.size() ? t->re[i] : NAN;
    }

    // A page's frame on one line: title, plot type, axes, points, charts and traces ("*" for
    // plotted ones).
    static std::string Frame(const report::Page& p) {
        std::ostringstream s;
        s << p.title << " [" << p.plotType << "] x=" << p.xName << " " << p.xAxis.scale;
        if (p.xAxis.hasRange)
            s << " " << p.xAxis.min << ".." << p.xAxis.max;
        s << " y " << p.yAxis.scale << ", " << p.x.size() << " points, " << p.charts.size()
          << " charts:";
        for (const auto& t : p.traces)
            s << " " << t.name << (t.plotted ? "*" : "") << (t.IsComplex() ? "c" : "");
        return s.str();
    }

    // The first values of the named traces (space-separated) to four digits; "?" for a missing
    // trace.
    static std::string Values(const report::Page& page, const std::string& names) {
        std::istringstream in(names);
        std::string all;
        for (std::string name; in >> name;)
            all += (all.empty() ? "" : " ") +
                   (Find(page, name) ? CString::Formatted("%.4g", At(page, name)).str() : "?");
        return all;
    }

    // Each page of the last run as "TITLE ok" or "TITLE failed: ERROR", one a line.
    std::string Pages() const {
        std::string all;
        for (const auto& p : last_.pages)
            all += p.title + (p.failed ? " failed: " + p.error : " ok") + "\n";
        return all;
    }

    static std::string Joined(const std::vector<std::string>& lines) {
        std::string all;
        for (const auto& l : lines)
            all += l + "\n";
        return all;
    }

    canal_test::TempFolder files_;
    host::ScriptRunner runner_{host::NgSpiceSession::Get()};
    RunResult last_;
};

TEST_F(ScriptRunnerTest, AcOfRcLowPassFollowsItsTransferFunctionOnAFramedPage) {
    Load(kRcLowPass);
    const RunResult& r =
        Ok("begin-scope page AC Analysis; checknodes 2; save v(out); iplot v(out) ; " +
           kDefaultOptions +
           "-param vscale log; -param hscale log; -param hrange 1 1e+10; ac  -env-options dec "
           "100 10 100000 ; if-error end-scope audit-log-show; end-scope ");
    EXPECT_TRUE(r.notes.empty());
    ASSERT_EQ(r.pages.size(), 1u);
    const report::Page& p = r.pages[0];
    EXPECT_EQ(Frame(p),
              "AC Analysis [AC Analysis] x=frequency log 1..1e+10 y log, 401 points, 0 charts: "
              "v(out)*c");
    for (std::size_t i = 0; i < p.x.size(); ++i) // corner at 1 kHz
        EXPECT_REL(std::abs(std::complex<double>(p.traces[0].re[i], p.traces[0].im[i])),
                   1 / std::sqrt(1 + std::pow(p.x[i] / 1000, 2)), 1e-4)
            << p.x[i];
}

TEST_F(ScriptRunnerTest, OperatingPointAndDcSweepGiveNodeValuesEachOnAPageOfItsOwn) {
    Load(kDivider);
    const RunResult& r = Ok("begin-scope page DC Operating Point; checknodes 1; save all; iplot "
                            "v(mid) ; op  -env-options ; end-scope ");
    ASSERT_EQ(r.pages.size(), 1u);
    // Saved but not in the iplot list: not plotted.
    EXPECT_EQ(Frame(r.pages[0]), "DC Operating Point [Operating Point] x= lin y lin, 0 points, 0 "
                                 "charts: i(v1) i(v2) v(mid)* v(top) v(in)");
    EXPECT_EQ(Values(r.pages[0], "v(mid) i(v1)"), "2 -0.001");

    // Source names as typed in the netlist: ngspice itself only knows them in lower case. A
    // second analysis of a scope gets a page of its own.
    const RunResult& dc =
        Ok("begin-scope page DC; save v(mid); op  -env-options ; dc  -env-options V1 0 3 0.5; "
           "end-scope ");
    ASSERT_EQ(dc.pages.size(), 2u);
    const report::Page& p = dc.pages[1];
    EXPECT_EQ(Frame(p), "DC [DC transfer characteristic] x=v-sweep lin y lin, 7 points, 0 charts: "
                        "v(mid)*");
    for (std::size_t i = 0; i < p.x.size(); ++i)
        EXPECT_NEAR(At(p, "v(mid)", i), p.x[i] * 2 / 3, 1e-9);
}

TEST_F(ScriptRunnerTest, RelativeIncludesOfANetlistFileAreFoundBesideIt) {
    std::filesystem::create_directories(files_.Path() / "lib");
    files_.Write("lib/parts.lib", ".model dm d is=1e-14\n");
    Load("include\ni1 0 a dc 1m\nd1 a 0 dm\n.include \"lib/parts.lib\"\n");
    EXPECT_REL(OpValue(""), 0.65, 0.1);
}

TEST_F(ScriptRunnerTest, TransientInitialConditionKeywordsChooseTheStartingState) {
    // A DC source charges the capacitor before t = 0 unless the run starts from zero.
    Load("rc step\nv1 in 0 dc 1\nr1 in out 1k\nc1 out 0 1u\n");
    const std::string tran = "begin-scope page T; save v(out); tran  -env-options 1e-05 0.003 0 "
                             "1e-05 ";
    const RunResult& a = Ok(tran + "auto_ic auto_tstep auto_tmax ; end-scope ");
    EXPECT_REL(At(a.pages.at(0), "v(out)"), 1.0, 1e-3);

    const RunResult& z = Ok(tran + "zero_ic ; end-scope ");
    EXPECT_EQ(z.notes.size(), 1u); // how zero initial conditions are done on ngspice
    const report::Page& p = z.pages.at(0);
    // ngspice's first point under uic is not exactly 0.
    for (std::size_t i = 0; i < p.x.size(); i += 10)
        EXPECT_NEAR(At(p, "v(out)", i), 1 - std::exp(-p.x[i] / 1e-3), 0.01) << p.x[i];
    EXPECT_REL(p.x.back(), 3e-3, 1e-9);
}

TEST_F(ScriptRunnerTest, TransferFunctionAndPoleZeroKeepNgspicesNamesAndValues) {
    // r1 || r2 with c1: a pole at -1500 / s. Without "ac 1" pole-zero sees the source as a short.
    Load("divider\nv1 in 0 dc 3 ac 1\nr1 in mid 1k\nr2 mid 0 2k\nc1 mid 0 1u\n");
    const RunResult& r = Ok("begin-scope page TF; checknodes 0; save all; tf  -env-options "
                            "v(mid,$0) v1 ; if-error end-scope audit-log-show; end-scope ");
    EXPECT_EQ(r.pages.at(0).plotType, "Transfer Function");
    EXPECT_EQ(Values(r.pages[0], "Transfer_function v1#Input_impedance "
                                 "output_impedance_at_V(mid,0)"),
              "0.6667 3000 666.7");

    const RunResult& pz =
        Ok("begin-scope page PZ; save all; pz  -env-options in $0 mid $0 vol pz ; end-scope ");
    const report::Trace* pole = Find(pz.pages.at(0), "pole(1)");
    ASSERT_TRUE(pole && pole->IsComplex());
    EXPECT_REL(pole->re.at(0), -1500.0, 1e-6);
    EXPECT_NEAR(pole->im.at(0), 0.0, 1e-9);
}

TEST_F(ScriptRunnerTest, NoiseOfResistorsFollowsFourKTRAtTheDialectTemperature) {
    // Two 1k resistors: the output sees 500 ohm; the dialect gives temperatures in kelvin.
    Load("noise\nv1 in 0 dc 0 ac 1\nr1 in out 1k\nr2 out 0 1k\n");
    for (const double kelvin : {300.15, 400.0}) {
        const RunResult& r = Ok(CString::Formatted("begin-scope page Noise; set temp = %lg; "
                                                   "noise  -env-options v(out) v1 dec 1 1 10 ; "
                                                   "set -temp; end-scope ",
                                                   kelvin)
                                    .str());
        const report::Page& p = r.pages.at(0);
        EXPECT_EQ(p.xName, "frequency");
        EXPECT_REL(At(p, "onoise_spectrum"), std::sqrt(4 * 1.380649e-23 * kelvin * 500), 0.01)
            << kelvin;
        // The integrated totals are the second plot of the analysis: a table on the same page.
        ASSERT_EQ(p.charts.size(), 1u);
        EXPECT_EQ(p.charts[0].title, "Integrated Noise");
        EXPECT_EQ(p.charts[0].rows.size(), 2u);
    }
}

TEST_F(ScriptRunnerTest, SensitivityIsAbsoluteOrRelativeWhereNgspiceHasTheValues) {
    Load(kDivider);
    const RunResult& r = Ok("begin-scope page Sens; sens  -env-options v(mid,$0) ; end-scope ");
    EXPECT_TRUE(r.notes.empty());
    EXPECT_EQ(Values(r.pages.at(0), "v1 r2"), "0.6667 0.0003333"); // d/dr2 of 3 r2 / (r1 + r2)

    // d v(mid) / d p * p / v(mid): for a divider the two resistors cancel.
    const RunResult& rel =
        Ok("begin-scope page Sens; sens  -env-options v(mid,$0)  relative; end-scope ");
    EXPECT_TRUE(rel.notes.empty());
    const report::Page& rp = rel.pages.at(0);
    // r1_scale has no value of its own to scale by.
    EXPECT_EQ(Values(rp, "v1 r1 r2 r1_scale"), "1 -0.3333 0.3333 ?");
    EXPECT_EQ(rp.plotName.rfind("sens", 0), 0u);
    EXPECT_EQ(host::NgSpiceSession::Get().CurrentPlot(), rp.plotName);

    EXPECT_EQ(Run("begin-scope page Sens; sens  -env-options v(mid,$0) ac dec 1 1 10 relative; "
                  "end-scope ")
                  .notes,
              Notes{"Relative sensitivity is not available for this analysis; absolute "
                    "sensitivities are shown."});
    EXPECT_TRUE(last_.ok) << last_.error;
}

TEST_F(ScriptRunnerTest, TemperatureInKelvinHoldsForOneScriptThenTheCircuitsOwnReturns) {
    Load(kDiode);
    const double room = OpValue("set temp = 300.15");
    EXPECT_LT(OpValue("set temp = 400.15"), room - 0.05); // about -2 mV per kelvin and more
    EXPECT_REL(OpValue(""), room, 1e-9);

    // A failed restore is noted and keeps the results.
    const RunResult& r = Ok("begin-scope page OP; save all; set temp = 400.15; op  -env-options "
                            "; remcirc; end-scope ");
    EXPECT_GT(At(r.pages.at(0), "v(a)"), 0.3);
    EXPECT_EQ(r.notes, Notes{"The circuit's temperature could not be restored: Error: no circuit "
                             "loaded"});

    Load(std::string(kDiode) + ".temp 60\n");
    const double own = OpValue("");
    EXPECT_LT(own, room - 0.02);
    EXPECT_REL(OpValue("set temp = 300.15"), room, 1e-9);
    EXPECT_REL(OpValue(""), own, 1e-9);
}

TEST_F(ScriptRunnerTest, OptionStatementsInEveryFormReachNgspiceForOneScriptOnly) {
    Load(kDiode);
    const double plain = OpValue("");
    EXPECT_REL(OpValue("set gmin = 1e-12; set method = \"trapezoidal\"; set noopiter; set tnom = "
                       "300.15" +
                       kDefaultOptions),
               plain, 1e-6);
    EXPECT_TRUE(last_.notes.empty());
    // The reltol that "option" lists at the end of a script run with `options`.
    const auto reltol = [&](const std::string& set, const RunOptions& options = {}) {
        const RunResult& r =
            Ok("begin-scope page OP; " + set + "op  -env-options ; option; end-scope ", options);
        for (const auto& l : r.log)
            if (l.rfind("reltol", 0) == 0)
                return l.substr(l.find('=') + 1);
        return std::string();
    };
    EXPECT_EQ(reltol("set reltol = 0.01; ") + reltol("set reltol = 0.01; ") + reltol(""),
              " 0.01 0.01 0.001");

    // A run that keeps the circuit state keeps an altered value and the options before it.
    host::NgSpiceSession& session = host::NgSpiceSession::Get();
    ASSERT_TRUE(session.Command("option reltol=0.02").ok);
    session.RecordOption("reltol", "option reltol=0.02");
    ASSERT_TRUE(session.Command("alter i1 dc = 2m").ok);
    RunOptions keep;
    keep.keepCircuitState = true;
    EXPECT_EQ(reltol("save v(a); ", keep), " 0.02");
    EXPECT_GT(At(last_.pages.at(0), "v(a)"), plain + 0.01); // twice the current
    EXPECT_EQ(reltol(""), " 0.001"); // without the flag the deck's state returns
    EXPECT_REL(OpValue(""), plain, 1e-9);
}

TEST_F(ScriptRunnerTest, ShowAllListsEveryDeviceAndShowmodEveryModel) {
    // Independent sources, whose full listing ngspice cannot print, and subcircuit devices too.
    Load("show\ni1 0 a dc 1m\nd1 a 0 dm\nx1 a sub\n.subckt sub p\nv1 p q dc 0\nr1 q 0 1k\n"
         ".ends\n.model dm d\n");
    const RunResult& r =
        Ok("begin-scope page OP; op  -env-options ; show all; showmod all; end-scope ");
    const std::string log = Joined(r.pages.at(0).log);
    for (const char* s : {"Isource", "Vsource", "v.x1.v1", "r.x1.r1", "resistance", "acmag",
                          "Junction Diode", "Diode models"})
        EXPECT_NE(log.find(s), std::string::npos) << s;
}

TEST_F(ScriptRunnerTest, FourierStatementBecomesChartAndSpectrumPage) {
    Load("sine\nv1 in 0 dc 0 sin(0 2 1k)\nr1 in 0 1k\n");
    const RunResult& r = Ok(
        "begin-scope page Fourier Analysis; save all; -param hrange 0 0.002; tran  -env-options "
        "1e-05 0.002 0 1e-05 auto_ic ; set nfreqs = 10; set polydegree = 1; set fourgridsize = "
        "256; save all; iplot V(in) ; -param vscale lin; -param hrange 0 0 ;fourier /+phase /bar "
        "/plot 1000 V(in) ; set nfreqs = 9; end-scope ");
    ASSERT_EQ(r.pages.size(), 2u);
    // "hrange 0 0" after the run means fit to the data; harmonics 0..9 and the distortion.
    const report::Chart& c = r.pages[0].charts.at(0);
    EXPECT_EQ(r.pages[0].xAxis.hasRange, false);
    EXPECT_EQ(c.rows.size(), 11u);
    EXPECT_REL(std::stod(c.rows.at(1)[2]), 2.0, 0.01);
    EXPECT_EQ(c.rows[1][3], "1");
    // Magnitude and, with /+phase, phase.
    const report::Page& f = r.pages[1];
    EXPECT_EQ(Frame(f), "Fourier Analysis [Fourier Analysis] x=frequency lin y lin, 10 points, 0 "
                        "charts: mag(v(in))* "
                        "phase(v(in))*");
    EXPECT_EQ(f.x.at(2), 2000.0);
    EXPECT_REL(f.traces.at(0).re.at(1), 2.0, 0.01);
}

TEST_F(ScriptRunnerTest, FailureKeepsEarlierPagesAndIfErrorEndsTheRun) {
    Load(kDivider);
    const RunResult& r =
        Run("begin-scope page First; save v(mid); op  -env-options ; if-error end-scope "
            "audit-log-show; end-scope ; "
            "begin-scope page Second; save v(mid) v(nowhere); op  -env-options ; end-scope ; "
            "begin-scope page Third; save v(mid); dc  -env-options vmissing 0 1 0.1; if-error "
            "end-scope audit-log-show; end-scope ; "
            "begin-scope page Never; op  -env-options ; end-scope ");
    // ngspice drops an unknown saved name without a word; the host does not. The run's error
    // is the first failure; the pages keep what was saved.
    EXPECT_EQ(Pages(), "First ok\nSecond failed: Output variable not found in the results: "
                       "v(nowhere)\nThird failed: Fatal error: DC Transfer Function: Voltage "
                       "source, current source, or resistor named \"vmissing\" is not in the "
                       "circuit\ndoAnalyses: no such device\ndc simulation(s) aborted\n");
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error, "Output variable not found in the results: v(nowhere)");
    EXPECT_EQ(Values(r.pages.at(0), "v(mid)") + Values(r.pages.at(1), "v(mid)"), "22");

    // ngspice runs "ac dec 10 100" over no points at all, without a message.
    EXPECT_EQ(Run("begin-scope page AC; ac  -env-options dec 10 100 ; end-scope ").error,
              "The analysis produced no data points.");
    // A save list ends with its scope: a scope without one sees every vector again.
    EXPECT_FALSE(Run("begin-scope page A; save v(nowhere); op  -env-options ; end-scope ").ok);
    EXPECT_TRUE(Run("begin-scope page B; op  -env-options ; end-scope ").ok) << last_.error;
    EXPECT_EQ(last_.pages.at(0).traces.size(), 5u); // in, mid, top, i(v1), i(v2)
}

TEST_F(ScriptRunnerTest, BrokenCircuitsAndUserStatementsFailOnNgspiceErrorsNotOnItsWarnings) {
    std::string error;
    EXPECT_FALSE(
        runner_.LoadCircuitLines({"broken", "d1 a 0 nomodel", "v1 a 0 dc 1", ".end"}, error));
    EXPECT_EQ(error, "Error on line 2 or its substitute:\nd1 a 0 nomodel\n"
                     "could not find a valid modelname");
    const RunResult& r = Run("begin-scope page OP; checknodes 1; op  -env-options ; end-scope ");
    EXPECT_EQ(r.error, "Consistency check failed: no circuit is loaded.");
    EXPECT_EQ(r.pages.at(0).log.size(), 1u); // the scope stopped at the check

    Load(kDivider);
    EXPECT_EQ(Run("frobnicate 3").error, "frobnicate: no such command available in ngspice");
    EXPECT_EQ(Run("let x = foo").error.rfind("Error: RHS", 0), 0u) << last_.error;
    const RunResult& warned = Ok("op; print v(nowhere); print v(mid)");
    EXPECT_NE(Joined(warned.log).find("v(mid) = 2"), std::string::npos);
}

TEST_F(ScriptRunnerTest, OrvoGoesToItsHandlerAndFailsWithoutOne) {
    Load(kDivider);
    const std::string script = "begin-scope page MC; orvo MONTE a:list{b:int{1}; c:int{2}} ; "
                               "if-error end-scope audit-log-show; begin-scope page After; "
                               "end-scope ";
    EXPECT_EQ(Run(script).error, "Compound analyses are not available yet: MONTE");
    EXPECT_EQ(last_.pages.size(), 1u);

    std::vector<std::string> received;
    RunOptions engine;
    engine.orvo = [&](const std::string& keyAndRecord, std::string& error) {
        received.push_back(keyAndRecord);
        error = "no runs left";
        return received.size() > 1;
    };
    EXPECT_EQ(Run(script, engine).error, "no runs left");
    EXPECT_TRUE(Run(script, engine).ok);
    EXPECT_EQ(last_.pages.size(), 2u);
    EXPECT_EQ(received, Notes(2, "MONTE a:list{b:int{1}; c:int{2}}"));
    engine.orvo = [](const std::string&, std::string&) -> bool {
        throw std::runtime_error("engine lost");
    };
    EXPECT_EQ(Run(script, engine).error, "engine lost");
}

// Writes what it hears as text: "B" and the plot type, "." a row (with its width when it is the
// widest yet), "E" the end; throws from the row numbered `throwAt`.
struct Listener : host::PlotListener {
    std::string heard;
    int rows = 0, throwAt = 0;
    std::size_t widest = 0;
    void OnBeginPlot(const host::PlotInfo& p) override { heard += "B " + p.type + " "; }
    void OnData(const host::DataRow& row) override {
        heard += row.count > widest ? std::to_string(widest = row.count) : ".";
        if (++rows == throwAt)
            throw std::runtime_error("listener gave up");
    }
    void OnEndPlot() override { heard += " E"; }
    bool OnStopPoll() override { return false; }
};

TEST_F(ScriptRunnerTest, ListenerSeesEveryRowAndItsFailureFailsOnlyTheAnalysis) {
    Load(kRcLowPass);
    Listener listener;
    RunOptions options;
    options.listener = &listener;
    const std::string raw = files_.Path("out.raw");
    Ok("begin-scope page AC; save v(out); ac  -env-options dec 10 1 1000 ; "
       "write-and-destroy-iplot " +
           raw + "; end-scope ",
       options);
    // 31 rows of frequency and the saved v(out).
    EXPECT_EQ(listener.heard, "B AC Analysis 2" + std::string(30, '.') + " E");
    EXPECT_EQ(last_.pages.at(0).x.size(), 31u);
    EXPECT_TRUE(std::filesystem::exists(raw));

    Listener failing;
    failing.throwAt = 5;
    options.listener = &failing;
    Run("begin-scope page A; op  -env-options ; end-scope ; begin-scope page B; ac  -env-options "
        "dec 10 1 1000 ; end-scope ",
        options);
    EXPECT_EQ(Pages(),
              "A ok\nB failed: Handling the simulator's output failed: listener gave up\n");
}

TEST_F(ScriptRunnerTest, StopRequestEndsTheRunBetweenStatementsAndStatusNamesTheAnalysis) {
    Load(kDivider);
    std::vector<std::string> status;
    int polls = 0;
    RunOptions options;
    options.status = [&](const std::string& s) { status.push_back(s); };
    options.stopRequested = [&] { return ++polls > 3; };
    Run("begin-scope page A; save v(mid); op  -env-options ; end-scope ; "
        "begin-scope page B; save v(mid); op  -env-options ; end-scope ",
        options);
    EXPECT_TRUE(last_.ok);
    EXPECT_EQ(Pages(), "A ok\n");
    EXPECT_EQ(Values(last_.pages[0], "v(mid)"), "2");
    EXPECT_EQ(last_.notes, Notes{"The run was stopped."});
    EXPECT_EQ(status.at(0), "Simulating... op");
}

TEST_F(ScriptRunnerTest, RunStatementExecutesTheDeckAnalysesOnAPageOfItsOwn) {
    Load("deck\nv1 in 0 dc 2\nr1 in out 1k\nr2 out 0 1k\n.op\n");
    const RunResult& r = Ok("run;");
    ASSERT_EQ(r.pages.size(), 1u);
    EXPECT_EQ(r.pages[0].plotType, "Operating Point");
    EXPECT_REL(At(r.pages[0], "v(out)"), 1.0, 1e-9);
}

} // namespace
