// Runs framed scripts on the real libngspice with small circuits written by each test.
#include "host/ngspice/script_runner.h"
#include "host/ngspice/session.h"
#include "platform/cstring.h"
#include "platform/resources.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <numbers>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using host::RunResult;
using host::ScriptRunner;

constexpr double kBoltzmann = 1.380649e-23;

// The option statements every analysis writes with its default option set.
const std::string kDefaultOptions =
    "; set trtol = 7; set itl4 = 100; set convlimit; set rshunt = 1e+12; ";

class ScriptRunnerTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() /
               ("canal_host_" + std::to_string(::getpid()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        if (HasFailure()) {
            std::cerr << "---- ngspice log ----\n";
            for (const auto& line : last_.log)
                std::cerr << line << '\n';
            for (const auto& page : last_.pages) {
                std::cerr << "-- page '" << page.title << "' (" << page.plotName << ")"
                          << (page.failed ? " failed: " + page.error : std::string()) << '\n';
                for (const auto& line : page.log)
                    std::cerr << "   " << line << '\n';
            }
        }
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }

    // Writes the netlist to a file of the test's own folder and loads it from there.
    void Load(const std::string& netlist) {
        const auto path = dir_ / "circuit.cir";
        std::ofstream(path) << netlist;
        std::string error;
        ASSERT_TRUE(runner_.LoadCircuitFile(path.string(), error)) << error;
    }

    const RunResult& Run(const std::string& script) {
        last_ = runner_.Run(script);
        return last_;
    }

    static const report::Trace* FindTrace(const report::Page& page, const std::string& name) {
        for (const auto& t : page.traces)
            if (t.name == name)
                return &t;
        return nullptr;
    }

    // Linear interpolation of y at x over an ascending x vector.
    static double At(const std::vector<double>& x, const std::vector<double>& y, double at) {
        for (std::size_t i = 1; i < x.size(); ++i)
            if (x[i] >= at) {
                const double f = (at - x[i - 1]) / (x[i] - x[i - 1]);
                return y[i - 1] + f * (y[i] - y[i - 1]);
            }
        return y.back();
    }

    std::filesystem::path dir_;
    ScriptRunner runner_{host::NgSpiceSession::Get()};
    RunResult last_;
};

#define EXPECT_REL(actual, expected, rel)                                                          \
    EXPECT_NEAR((actual), (expected), std::fabs(expected) * (rel))

const char* kRcLowPass = "rc low-pass\n"
                         "v1 in 0 dc 0 ac 1\n"
                         "r1 in out 1k\n"
                         "c1 out 0 159.154943n\n"
                         ".end\n";

const char* kDivider = "divider\n"
                       "v1 in 0 dc 3\n"
                       "v2 top 0 dc 1\n"
                       "r1 in mid 1k\n"
                       "r2 mid 0 2k\n"
                       "r3 top 0 1k\n"
                       ".end\n";

TEST_F(ScriptRunnerTest, AcOfRcLowPassFallsThreeDecibelsAtItsCornerFrequency) {
    Load(kRcLowPass);
    const RunResult& r =
        Run("begin-scope page AC Analysis; checknodes 2; save v(out); iplot v(out) ; -param "
            "vscale log; " +
            kDefaultOptions +
            "-param vscale log; -param hscale log; -param hrange 1 1e+10; ac  -env-options dec "
            "100 10 100000 ; if-error end-scope audit-log-show; ; show all; showmod all; ; "
            "end-scope ");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_TRUE(r.notes.empty());
    ASSERT_EQ(r.pages.size(), 1u);
    const report::Page& p = r.pages[0];
    EXPECT_EQ(p.title, "AC Analysis");
    EXPECT_EQ(p.plotType, "AC Analysis");
    EXPECT_EQ(p.xName, "frequency");
    EXPECT_EQ(p.xAxis.scale, "log");
    EXPECT_EQ(p.yAxis.scale, "log");
    EXPECT_TRUE(p.xAxis.hasRange);
    EXPECT_EQ(p.xAxis.max, 1e10);
    EXPECT_FALSE(p.failed);
    ASSERT_EQ(p.traces.size(), 1u);
    const report::Trace& out = p.traces[0];
    EXPECT_EQ(out.name, "v(out)");
    ASSERT_TRUE(out.IsComplex());
    ASSERT_EQ(out.re.size(), p.x.size());
    EXPECT_TRUE(out.plotted);

    std::vector<double> db;
    for (std::size_t i = 0; i < out.re.size(); ++i)
        db.push_back(20 * std::log10(std::abs(std::complex<double>(out.re[i], out.im[i]))));
    double corner = 0;
    for (std::size_t i = 1; i < db.size(); ++i)
        if (db[i] <= -3.0103) {
            const double f = (-3.0103 - db[i - 1]) / (db[i] - db[i - 1]);
            corner = p.x[i - 1] * std::pow(p.x[i] / p.x[i - 1], f);
            break;
        }
    EXPECT_REL(corner, 1000.0, 0.01);

    // "show all" and "showmod all" land in the page's log, sources included.
    auto logHas = [&](const std::string& s) {
        for (const auto& l : p.log)
            if (l.find(s) != std::string::npos)
                return true;
        return false;
    };
    EXPECT_TRUE(logHas("resistance"));
    EXPECT_TRUE(logHas("acmag"));
    EXPECT_TRUE(logHas("Capacitor models"));
}

TEST_F(ScriptRunnerTest, OperatingPointOfDividerGivesNodeVoltagesAndSourceCurrents) {
    Load(kDivider);
    const RunResult& r =
        Run("begin-scope page DC Operating Point; checknodes 1; save all; iplot "
            "v(mid) ; " +
            kDefaultOptions + "op  -env-options ; if-error end-scope audit-log-show; end-scope ");
    ASSERT_TRUE(r.ok) << r.error;
    ASSERT_EQ(r.pages.size(), 1u);
    const report::Page& p = r.pages[0];
    EXPECT_TRUE(p.xName.empty());
    EXPECT_TRUE(p.x.empty());
    const report::Trace* mid = FindTrace(p, "v(mid)");
    const report::Trace* i1 = FindTrace(p, "i(v1)");
    ASSERT_TRUE(mid && i1);
    EXPECT_REL(mid->re.at(0), 2.0, 1e-6);
    EXPECT_REL(i1->re.at(0), -1e-3, 1e-6);
    EXPECT_TRUE(mid->plotted);
    const report::Trace* in = FindTrace(p, "v(in)");
    ASSERT_TRUE(in);
    EXPECT_FALSE(in->plotted); // saved, not in the iplot list
}

TEST_F(ScriptRunnerTest, RelativeIncludesOfANetlistFileAreFoundBesideIt) {
    std::filesystem::create_directories(dir_ / "lib");
    std::ofstream(dir_ / "lib" / "parts.lib") << ".model dm d is=1e-14\n";
    Load("include\ni1 0 a dc 1m\nd1 a 0 dm\n.include \"lib/parts.lib\"\n.end\n");
    const RunResult& r = Run("begin-scope page OP; save v(a); op  -env-options ; end-scope ");
    ASSERT_TRUE(r.ok) << r.error;
    const report::Trace* a = FindTrace(r.pages.at(0), "v(a)");
    ASSERT_TRUE(a);
    EXPECT_NEAR(a->re.at(0), 0.65, 0.05);
}

TEST_F(ScriptRunnerTest, TransientInitialConditionKeywordsChooseTheStartingState) {
    // A DC source charges the capacitor before t = 0 unless the run starts from zero.
    Load("rc step\nv1 in 0 dc 1\nr1 in out 1k\nc1 out 0 1u\n.end\n");
    const std::string body = "tran  -env-options 1e-05 0.003 0 1e-05 ";

    const RunResult& a = Run("begin-scope page T; save v(out); " + body +
                             "auto_ic auto_tstep auto_tmax ; end-scope ");
    ASSERT_TRUE(a.ok) << a.error;
    ASSERT_EQ(a.pages.size(), 1u);
    const report::Page pa = a.pages[0];
    EXPECT_EQ(pa.xName, "time");
    const report::Trace* va = FindTrace(pa, "v(out)");
    ASSERT_TRUE(va);
    EXPECT_REL(va->re.front(), 1.0, 1e-3);

    const RunResult& z = Run("begin-scope page T; save v(out); " + body + "zero_ic ; end-scope ");
    ASSERT_TRUE(z.ok) << z.error;
    ASSERT_EQ(z.notes.size(), 1u); // how zero initial conditions are done on ngspice
    const report::Page& pz = z.pages.at(0);
    const report::Trace* vz = FindTrace(pz, "v(out)");
    ASSERT_TRUE(vz);
    EXPECT_NEAR(vz->re.front(), 0.0, 1e-3); // ngspice's first point under uic is not exactly 0
    EXPECT_REL(At(pz.x, vz->re, 1e-3), 1 - std::exp(-1.0), 0.01);
    EXPECT_REL(At(pz.x, vz->re, 3e-3), 1 - std::exp(-3.0), 0.01);
    EXPECT_NEAR(pz.x.back(), 3e-3, 1e-12);
}

TEST_F(ScriptRunnerTest, DcSweepOfOneAndTwoSourcesGivesTheSweepAsXAxis) {
    Load(kDivider);
    const RunResult& one =
        Run("begin-scope page DC; save v(mid); dc  -env-options v1 0 3 0.5; end-scope ");
    ASSERT_TRUE(one.ok) << one.error;
    const report::Page& p1 = one.pages.at(0);
    EXPECT_EQ(p1.xName, "v-sweep");
    ASSERT_EQ(p1.x.size(), 7u);
    const report::Trace* mid = FindTrace(p1, "v(mid)");
    ASSERT_TRUE(mid);
    for (std::size_t i = 0; i < p1.x.size(); ++i)
        EXPECT_NEAR(mid->re[i], p1.x[i] * 2 / 3, 1e-9);

    const RunResult& two = Run(
        "begin-scope page DC; save v(mid) v(top); dc  -env-options V1 0 3 1 V2 0 2 1; end-scope ");
    ASSERT_TRUE(two.ok) << two.error;
    const report::Page& p2 = two.pages.at(0);
    // Source names as typed in the netlist: ngspice itself only knows them in lower case.
    ASSERT_EQ(p2.x.size(), 12u); // 4 inner points for each of 3 outer values
    const report::Trace* top = FindTrace(p2, "v(top)");
    ASSERT_TRUE(top);
    EXPECT_NEAR(top->re.front(), 0.0, 1e-9);
    EXPECT_NEAR(top->re.back(), 2.0, 1e-9);
}

TEST_F(ScriptRunnerTest, TransferFunctionOfDividerGivesGainAndImpedances) {
    Load(kDivider);
    const RunResult& r = Run("begin-scope page TF; checknodes 0; save all; tf  -env-options "
                             "v(mid,$0) v1 ; if-error end-scope audit-log-show; end-scope ");
    ASSERT_TRUE(r.ok) << r.error;
    const report::Page& p = r.pages.at(0);
    EXPECT_EQ(p.plotType, "Transfer Function");
    const report::Trace* gain = FindTrace(p, "Transfer_function");
    const report::Trace* zin = FindTrace(p, "v1#Input_impedance");
    const report::Trace* zout = FindTrace(p, "output_impedance_at_V(mid,0)");
    ASSERT_TRUE(gain && zin && zout);
    EXPECT_REL(gain->re.at(0), 2.0 / 3.0, 1e-6);
    EXPECT_REL(zin->re.at(0), 3000.0, 1e-6);
    EXPECT_REL(zout->re.at(0), 2000.0 / 3.0, 1e-6);
}

TEST_F(ScriptRunnerTest, NoiseOfResistorsFollowsFourKTRAtTheDialectTemperature) {
    // Two 1k resistors: the output sees 500 ohm; the dialect gives temperatures in kelvin.
    Load("noise\nv1 in 0 dc 0 ac 1\nr1 in out 1k\nr2 out 0 1k\n.end\n");
    for (const double kelvin : {300.15, 400.0}) {
        const RunResult& r = Run(CString::Formatted("begin-scope page Noise; set temp = %lg; "
                                                    "noise  -env-options v(out) v1 dec 1 1 10 ; "
                                                    "set -temp; end-scope ",
                                                    kelvin)
                                     .str());
        ASSERT_TRUE(r.ok) << r.error;
        const report::Page& p = r.pages.at(0);
        EXPECT_EQ(p.xName, "frequency");
        const report::Trace* onoise = FindTrace(p, "onoise_spectrum");
        ASSERT_TRUE(onoise);
        EXPECT_REL(onoise->re.at(0), std::sqrt(4 * kBoltzmann * kelvin * 500), 0.01) << kelvin;
        // The integrated totals are the second plot of the analysis: a table on the same page.
        ASSERT_EQ(p.charts.size(), 1u);
        EXPECT_EQ(p.charts[0].title, "Integrated Noise");
        EXPECT_EQ(p.charts[0].rows.size(), 2u);
    }
}

TEST_F(ScriptRunnerTest, PoleZeroOfRcFindsThePoleAtMinusOneOverRC) {
    Load("rc\nv1 in 0 dc 0 ac 1\nr1 in out 1k\nc1 out 0 1u\n.end\n");
    const RunResult& r =
        Run("begin-scope page PZ; pz  -env-options in $0 out $0 vol pz ; end-scope ");
    ASSERT_TRUE(r.ok) << r.error;
    const report::Page& p = r.pages.at(0);
    const report::Trace* pole = FindTrace(p, "pole(1)");
    ASSERT_TRUE(pole);
    ASSERT_TRUE(pole->IsComplex());
    EXPECT_REL(pole->re.at(0), -1000.0, 1e-6);
    EXPECT_NEAR(pole->im.at(0), 0.0, 1e-9);
}

TEST_F(ScriptRunnerTest, DcSensitivityGivesDerivativesAndSaysRelativeIsNotAvailable) {
    Load(kDivider);
    const RunResult& r = Run("begin-scope page Sens; sens  -env-options v(mid,$0) ; end-scope ");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_TRUE(r.notes.empty());
    const report::Page& p = r.pages.at(0);
    const report::Trace* dv1 = FindTrace(p, "v1");
    const report::Trace* dr2 = FindTrace(p, "r2");
    ASSERT_TRUE(dv1 && dr2);
    EXPECT_REL(dv1->re.at(0), 2.0 / 3.0, 1e-4);
    // v(mid) = 3 r2 / (r1 + r2): d/dr2 = 3 r1 / (r1 + r2)^2.
    EXPECT_REL(dr2->re.at(0), 3.0 * 1e3 / 9e6, 1e-3);

    // Relative: d v(mid) / d p * p / v(mid); for a divider the two resistors cancel.
    const RunResult& rel =
        Run("begin-scope page Sens; sens  -env-options v(mid,$0)  relative; end-scope ");
    ASSERT_TRUE(rel.ok) << rel.error;
    EXPECT_TRUE(rel.notes.empty());
    const report::Page& rp = rel.pages.at(0);
    const report::Trace* rv1 = FindTrace(rp, "v1");
    const report::Trace* rr1 = FindTrace(rp, "r1");
    const report::Trace* rr2 = FindTrace(rp, "r2");
    ASSERT_TRUE(rv1 && rr1 && rr2);
    EXPECT_REL(rv1->re.at(0), 1.0, 1e-3);
    EXPECT_REL(rr1->re.at(0), -1.0 / 3.0, 1e-3);
    EXPECT_REL(rr2->re.at(0), 1.0 / 3.0, 1e-3);
    EXPECT_EQ(FindTrace(rp, "r1_scale"), nullptr); // no value of its own to scale by
    EXPECT_EQ(rp.plotName.rfind("sens", 0), 0u);

    const RunResult& relAc = Run("begin-scope page Sens; sens  -env-options v(mid,$0) ac dec 1 "
                                 "1 10 relative; end-scope ");
    ASSERT_TRUE(relAc.ok) << relAc.error;
    ASSERT_EQ(relAc.notes.size(), 1u);
    EXPECT_EQ(relAc.notes[0], GetResourceText(IDS_HOST_RELATIVE_SENS));
}

TEST_F(ScriptRunnerTest, TemperatureAndOptionStatementsReachTheSimulator) {
    Load("diode\ni1 0 a dc 1m\nd1 a 0 dm\n.model dm d is=1e-14\n.end\n");
    auto forward = [&](const std::string& set) {
        const RunResult& r =
            Run("begin-scope page OP; save v(a); " + set + "op  -env-options ; end-scope ");
        EXPECT_TRUE(r.ok) << r.error;
        const report::Trace* a = r.pages.empty() ? nullptr : FindTrace(r.pages[0], "v(a)");
        return a ? a->re.at(0) : 0.0;
    };
    const double room = forward("set temp = 300.15; ");
    const double hot = forward("set temp = 400.15; ");
    const double restored = forward("");
    EXPECT_LT(hot, room - 0.05); // a silicon junction loses about 2 mV per kelvin and more
    EXPECT_NEAR(restored, room, 1e-9);
    // Option statements in all their forms are accepted and do not disturb the result.
    EXPECT_NEAR(forward("set gmin = 1e-12; set method = \"trapezoidal\"; set noopiter; "
                        "set tnom = 300.15; " +
                        kDefaultOptions.substr(2)),
                room, 1e-6);
    // An option one script set does not leak into the next script that does not set it.
    auto reltolAfter = [&](const std::string& set) {
        const RunResult& r = Run("begin-scope page OP; " + set +
                                 "op  -env-options ; option; "
                                 "end-scope ");
        EXPECT_TRUE(r.ok) << r.error;
        for (const auto& l : r.log)
            if (l.rfind("reltol", 0) == 0)
                return l.substr(l.find('=') + 1);
        return std::string();
    };
    EXPECT_EQ(reltolAfter("set reltol = 0.01; "), " 0.01");
    EXPECT_EQ(reltolAfter("set reltol = 0.01; "), " 0.01");
    EXPECT_EQ(reltolAfter(""), " 0.001");
    // A run that keeps the circuit state keeps an altered value and the options before it.
    ASSERT_TRUE(host::NgSpiceSession::Get().Command("option reltol=0.02").ok);
    host::NgSpiceSession::Get().RecordOption("reltol", "option reltol=0.02");
    ASSERT_TRUE(host::NgSpiceSession::Get().Command("alter i1 dc = 2m").ok);
    host::RunOptions keep;
    keep.keepCircuitState = true;
    last_ =
        runner_.Run("begin-scope page OP; save v(a); op  -env-options ; option; end-scope ", keep);
    ASSERT_TRUE(last_.ok) << last_.error;
    const report::Trace* altered = FindTrace(last_.pages.at(0), "v(a)");
    ASSERT_TRUE(altered);
    EXPECT_GT(altered->re.at(0), room + 0.01); // twice the current, some 18 mV more
    EXPECT_EQ(reltolAfter(""), " 0.001");      // without the flag the deck's state returns
    EXPECT_NEAR(forward(""), room, 1e-9);

    // A circuit with its own temperature gets that one back after the script's.
    Load("diode\ni1 0 a dc 1m\nd1 a 0 dm\n.model dm d is=1e-14\n.temp 60\n.end\n");
    const double own = forward("");
    EXPECT_LT(own, room - 0.02);
    EXPECT_NEAR(forward("set temp = 300.15; "), room, 1e-9);
    EXPECT_NEAR(forward(""), own, 1e-9);

    // "show all" lists every device, also the independent sources that ngspice's own listing
    // of all their parameters cannot print, and devices inside subcircuits.
    Load("show\ni1 0 a dc 1m\nd1 a 0 dm\nx1 a sub\n.subckt sub p\nv1 p q dc 0\nr1 q 0 1k\n"
         ".ends\n.model dm d\n.end\n");
    const RunResult& shown = Run("begin-scope page OP; op  -env-options ; show all; end-scope ");
    ASSERT_TRUE(shown.ok) << shown.error;
    std::string log;
    for (const auto& l : shown.pages.at(0).log)
        log += l + "\n";
    for (const char* s : {"Isource", "Vsource", "v.x1.v1", "r.x1.r1", "Junction Diode"})
        EXPECT_NE(log.find(s), std::string::npos) << s;
}

TEST_F(ScriptRunnerTest, FourierStatementBecomesChartAndSpectrumPage) {
    Load("sine\nv1 in 0 dc 0 sin(0 2 1k)\nr1 in 0 1k\n.end\n");
    const RunResult& r = Run(
        "begin-scope page Fourier Analysis; save all; -param hrange 0 0.002; tran  -env-options "
        "1e-05 0.002 0 1e-05 auto_ic ; set nfreqs = 10; set polydegree = 1; set fourgridsize = "
        "256; save all; iplot V(in) ; -param vscale lin; -param hrange 0 0 ;fourier /+phase /bar "
        "/plot 1000 V(in) ; set nfreqs = 9; set polydegree = 1; set fourgridsize = 200; "
        "end-scope ");
    ASSERT_TRUE(r.ok) << r.error;
    ASSERT_EQ(r.pages.size(), 2u);
    const report::Page& tran = r.pages[0];
    EXPECT_EQ(tran.xName, "time");
    EXPECT_FALSE(tran.xAxis.hasRange); // "hrange 0 0" after the run means fit to the data
    ASSERT_EQ(tran.charts.size(), 1u);
    const report::Chart& c = tran.charts[0];
    EXPECT_EQ(c.title, "Fourier analysis of v(in)");
    ASSERT_EQ(c.columns.size(), 6u);
    EXPECT_EQ(c.columns[3], "Normalized magnitude");
    ASSERT_EQ(c.rows.size(), 11u); // harmonics 0..9 and the distortion
    EXPECT_EQ(c.rows[1][0], "1");
    EXPECT_NEAR(std::stod(c.rows[1][2]), 2.0, 0.02);
    EXPECT_EQ(c.rows[1][3], "1");

    const report::Page& f = r.pages[1];
    EXPECT_EQ(f.xName, "frequency");
    ASSERT_EQ(f.x.size(), 10u);
    EXPECT_EQ(f.x[2], 2000.0);
    ASSERT_EQ(f.traces.size(), 2u); // magnitude and, with /+phase, phase
    EXPECT_NEAR(f.traces[0].re[1], 2.0, 0.02);
}

TEST_F(ScriptRunnerTest, ErrorsCarryNgspiceMessagesAndKeepEarlierPages) {
    std::string error;
    EXPECT_FALSE(
        runner_.LoadCircuitLines({"broken", "d1 a 0 nomodel", "v1 a 0 dc 1", ".end"}, error));
    EXPECT_NE(error.find("nomodel"), std::string::npos) << error;
    const RunResult& none = Run("begin-scope page OP; checknodes 1; op  -env-options ; "
                                "end-scope ");
    EXPECT_FALSE(none.ok);
    EXPECT_EQ(none.error, GetResourceText(IDS_HOST_CHECK_FAILED));

    Load(kDivider);
    const RunResult& r =
        Run("begin-scope page First; save v(mid); op  -env-options ; if-error end-scope "
            "audit-log-show; end-scope ; "
            "begin-scope page Second; save v(mid) v(nowhere); op  -env-options ; end-scope ; "
            "begin-scope page Third; save v(mid); dc  -env-options vmissing 0 1 0.1; if-error "
            "end-scope audit-log-show; end-scope ; "
            "begin-scope page Never; op  -env-options ; end-scope ");
    EXPECT_FALSE(r.ok);
    ASSERT_EQ(r.pages.size(), 3u); // the failed dc closed its scope and ended the run
    EXPECT_FALSE(r.pages[0].failed);
    EXPECT_NE(FindTrace(r.pages[0], "v(mid)"), nullptr);
    EXPECT_TRUE(r.pages[1].failed);
    EXPECT_EQ(r.pages[1].error, "Output variable not found in the results: v(nowhere)");
    EXPECT_EQ(r.error, r.pages[1].error); // the first failure
    EXPECT_NE(FindTrace(r.pages[1], "v(mid)"), nullptr);
    EXPECT_TRUE(r.pages[2].failed);
    EXPECT_NE(r.pages[2].error.find("vmissing"), std::string::npos) << r.pages[2].error;

    const RunResult& empty = Run("begin-scope page AC; ac  -env-options dec 10 100 ; end-scope ");
    EXPECT_FALSE(empty.ok);
    EXPECT_EQ(empty.error, "The analysis produced no data points.");

    const RunResult& orvo = Run("begin-scope page MC; orvo MONTE a:int{1}; end-scope ");
    EXPECT_FALSE(orvo.ok);
    EXPECT_EQ(orvo.error, "Compound analyses are not available yet: MONTE");
    const RunResult& quit = Run("quit");
    EXPECT_FALSE(quit.ok);
    EXPECT_EQ(quit.error, "A script cannot end the simulator session: quit");
    const RunResult& unknown = Run("frobnicate 3");
    EXPECT_FALSE(unknown.ok);
    EXPECT_NE(unknown.error.find("frobnicate"), std::string::npos);
}

TEST_F(ScriptRunnerTest, RawFileIsWrittenAndListenerSeesEveryRow) {
    Load(kRcLowPass);
    struct Counter : host::PlotListener {
        int begins = 0, rows = 0, ends = 0;
        std::string plot;
        void OnBeginPlot(const host::PlotInfo& p) override {
            ++begins;
            plot = p.type;
        }
        void OnData(const host::DataRow& row) override { rows += row.count == 2 ? 1 : 0; }
        void OnEndPlot() override { ++ends; }
        bool OnStopPoll() override { return false; }
    } counter;
    host::RunOptions options;
    options.listener = &counter;
    const std::string raw = (dir_ / "out.raw").string();
    last_ = runner_.Run("begin-scope page AC; save v(out); ac  -env-options dec 10 1 1000 ; "
                        "write-and-destroy-iplot " +
                            raw + "; end-scope ",
                        options);
    ASSERT_TRUE(last_.ok) << last_.error;
    EXPECT_EQ(counter.begins, 1);
    EXPECT_EQ(counter.ends, 1);
    EXPECT_EQ(counter.rows, 31);
    EXPECT_EQ(counter.plot, "AC Analysis");
    EXPECT_EQ(last_.pages.at(0).x.size(), 31u);
    EXPECT_TRUE(std::filesystem::exists(raw));
}

TEST_F(ScriptRunnerTest, StopRequestEndsTheRunBetweenStatementsAndStatusNamesTheAnalysis) {
    Load(kDivider);
    std::vector<std::string> status;
    int polls = 0;
    host::RunOptions options;
    options.status = [&](const std::string& s) { status.push_back(s); };
    options.stopRequested = [&] { return ++polls > 3; };
    last_ = runner_.Run("begin-scope page A; save v(mid); op  -env-options ; end-scope ; "
                        "begin-scope page B; save v(mid); op  -env-options ; end-scope ",
                        options);
    EXPECT_TRUE(last_.ok);
    ASSERT_EQ(last_.pages.size(), 1u);
    EXPECT_NE(FindTrace(last_.pages[0], "v(mid)"), nullptr);
    ASSERT_EQ(last_.notes.size(), 1u);
    EXPECT_EQ(last_.notes[0], "The run was stopped.");
    ASSERT_FALSE(status.empty());
    EXPECT_EQ(status[0], "Simulating... op");
}

} // namespace
