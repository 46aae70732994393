// The ngspice engine: inner runs as plot events, parameter changes, refusals, sensitivities in
// a child, compound requests and stopping, on real ngspice with circuits written here.
#include "tests/host/engine_support.h"

#include "platform/property.h"

#include <atomic>
#include <cmath>
#include <complex>
#include <functional>

namespace {

using canal_test::EngineTest;
using canal_test::RecordingSink;

const std::vector<std::string> kDivider = {"divider", "v1 in 0 dc 5 ac 1", "r1 in out 1k",
                                           "r2 out 0 2k"};
const std::vector<std::string> kRcLowPass = {"rc", "v1 in 0 dc 0 ac 1 pulse(0 1 0 1u 1u 1 2)",
                                             "r1 in out 1k", "c1 out 0 1u"};
const std::vector<std::string> kDiode = {"diode", "i1 0 a dc 1m", "d1 a 0 dmod",
                                         ".model dmod d is=1e-14"};
const std::vector<std::string> kBjt = {"bjt",         "vcc 1 0 dc 5",
                                       "r1 1 2 1k",   "rb 1 3 500k",
                                       "q1 2 3 0 qn", ".model qn npn bf=100 vaf=50"};

// kT/q at 27 degrees Celsius.
const double kThermalVoltage = 1.380649e-23 * 300.15 / 1.602176634e-19;

// Column `c` of row `r` of a plot as a complex number.
std::complex<double> At(const RecordingSink::Plot& p, std::size_t r, int c) {
    return {p.re[r][static_cast<std::size_t>(c)], p.im[r][static_cast<std::size_t>(c)]};
}

TEST_F(EngineTest, InnerRunsArrivePlotEventsInOrderWithStopPollsBetweenRows) {
    Load(kDivider);
    Silent("op;");
    EXPECT_EQ(sink_.ids, (std::vector<long>{4004, 4005, 4006, 4007}));
    ASSERT_EQ(sink_.plots.size(), 1u);
    EXPECT_EQ(sink_.plots[0].info.type, AT_OP);
    EXPECT_EQ(sink_.plots[0].info.scaleIndex, -1);
    EXPECT_REL(sink_.Last("v(out)"), 10.0 / 3.0, 1e-9);
    EXPECT_REL(sink_.Last("i(v1)"), -5.0 / 3000.0, 1e-9);
    // The plot is destroyed once delivered, so memory stays flat over many runs.
    host::VectorData gone;
    EXPECT_FALSE(
        host::NgSpiceSession::Get().ReadVector(sink_.plots[0].info.name.str() + ".out", gone));

    // Only the spectral densities of a noise run are a noise plot: the integrated noise as one
    // would make a noise figure start over.
    Silent("noise v(out) v1 dec 10 1000 10000");
    ASSERT_EQ(sink_.plots.size(), 3u);
    EXPECT_EQ(sink_.plots[1].info.type, AT_NOISE);
    EXPECT_GE(sink_.plots[1].info.FindVector("onoise_spectrum"), 0);
    EXPECT_NE(sink_.plots[2].info.type, AT_NOISE);
    EXPECT_GE(sink_.plots[2].info.FindVector("onoise_total"), 0);
    EXPECT_EQ(sink_.plots[2].info.scaleIndex, -1);

    Load(kRcLowPass);
    sink_.ids.clear();
    Silent("tran 10u 5m");
    const RecordingSink::Plot& tran = sink_.plots.back();
    EXPECT_EQ(tran.info.type, AT_TRAN);
    EXPECT_EQ(tran.info.vectorNames.at(static_cast<std::size_t>(tran.info.scaleIndex)), "time");
    const std::vector<double> time = sink_.Values(sink_.plots.size() - 1, "time");
    ASSERT_GT(time.size(), 400u);
    EXPECT_TRUE(std::is_sorted(time.begin(), time.end()));
    EXPECT_REL(time.back(), 5e-3, 1e-9);
    EXPECT_EQ(sink_.ids.front(), 4004);
    EXPECT_EQ(sink_.ids.at(sink_.ids.size() - 2), 4006);
    EXPECT_EQ(sink_.ids.back(), 4007);
    EXPECT_GE(static_cast<std::size_t>(std::count(sink_.ids.begin(), sink_.ids.end(), 4007L)),
              time.size() / 64);

    // An abort answer drops the rest of the plot but still ends it.
    sink_.abortAfterRows = 3;
    Silent("tran 10u 1m");
    EXPECT_EQ(sink_.plots.back().re.size(), 4u);
    EXPECT_TRUE(sink_.plots.back().ended);
}

TEST_F(EngineTest, AcSensitivitiesAreComplexRowsOverFrequency) {
    Load(kRcLowPass);
    Silent("sens v(out) ac dec 1 10 1000");
    const RecordingSink::Plot& sens = sink_.plots.at(0);
    ASSERT_GE(sens.info.scaleIndex, 0);
    EXPECT_EQ(sens.info.vectorNames[static_cast<std::size_t>(sens.info.scaleIndex)], "frequency");
    const int r1 = sens.info.FindVector("r1_resistance");
    ASSERT_GE(r1, 0);
    EXPECT_TRUE(sens.info.vectorIsComplex[static_cast<std::size_t>(r1)]);
    ASSERT_EQ(sens.re.size(), 3u);
    for (std::size_t row = 0; row < sens.re.size(); ++row) {
        // H = 1 / (1 + jwRC): dH/dR = -jwC / (1 + jwRC)^2.
        const double w = 2 * M_PI * At(sens, row, sens.info.scaleIndex).real();
        const std::complex<double> jwc(0.0, w * 1e-6),
            d = -jwc / ((1.0 + jwc * 1e3) * (1.0 + jwc * 1e3));
        EXPECT_LT(std::abs(At(sens, row, r1) - d), 1e-2 * std::abs(d)) << w;
    }
}

TEST_F(EngineTest, AlterAltermodAndTemperatureChangeTheResultsAndTheMembers) {
    Load(kDivider);
    // Empty device and model names match any; names and aliases in any case.
    EXPECT_EQ(SetInstance("", "", "r2", "resistance", 1000), 1);
    Silent("op;");
    EXPECT_REL(sink_.Last("v(out)"), 2.5, 1e-9);
    EXPECT_EQ(SetInstance("Resistor", "R", "R1", "r", 3000), 1);
    Silent("op;");
    EXPECT_REL(sink_.Last("v(out)"), 1.25, 1e-9);
    CSPICEdevMember r1;
    r1.fromPropertyList(CPropertyList(CString("name:string{r1} isinst:int{1}")), {});
    EXPECT_EQ(r1.FindParameter("resistance").value().GetValue().GetDouble(), 3000.0);

    Load(kDiode);
    Silent("op;");
    const double before = sink_.Last("v(a)");
    EXPECT_EQ(SetModel("Diode", "dmod", "is", 1e-13), 1);
    Silent("op;");
    EXPECT_REL(before - sink_.Last("v(a)"), kThermalVoltage * std::log(10.0), 2e-3);
    const double nominal = sink_.Last("v(a)");
    // A temperature set in one inner run holds for the next until restored.
    Silent("set temp = 400.15");
    Silent("op;");
    EXPECT_LT(sink_.Last("v(a)"), nominal - 0.1);
    Silent("set -temp");
    Silent("op;");
    EXPECT_REL(sink_.Last("v(a)"), nominal, 1e-9);
}

TEST_F(EngineTest, AChangeTheCircuitCannotTakeFailsTheNextCommandWithTheReason) {
    Load(kDivider);
    const std::pair<std::function<int()>, const char*> cases[] = {
        {[&] { return SetInstance("", "", "r9", "resistance", 1); },
         "no instance 'r9' in the circuit"},
        {[&] { return SetInstance("", "", "r1", "foo", 1); }, "r1 has no parameter 'foo'"},
        {[&] { return SetInstance("Capacitor", "", "r1", "resistance", 1); },
         "no instance 'r1' in the circuit"},
        {[&] { return SetInstance("", "", "r1", "i", 1); },
         "r1: parameter 'i' can be read but not set"},
        {[&] { return SetModel("", "nomodel", "is", 1); }, "no model 'nomodel' in the circuit"},
        {[&] { return SetModel("", "R", "foo", 1); }, "R has no parameter 'foo'"},
    };
    for (const auto& [change, message] : cases) {
        EXPECT_EQ(change(), 0) << message;
        EXPECT_EQ(engine_.LastError(), message);
        const std::size_t plots = sink_.plots.size();
        EXPECT_EQ(engine_.SilentExecuteSimulatorCommand("op;"), 0) << message;
        EXPECT_EQ(engine_.LastError(), message);
        EXPECT_EQ(sink_.plots.size(), plots) << message;
        Silent("op;"); // the refusal is reported once
    }
    EXPECT_EQ(engine_.CheckParameterChange(SNAPIN_INSTANCE_PARAMETER, {"", "", "r1", "foo"}),
              "r1 has no parameter 'foo'");
    EXPECT_EQ(engine_.CheckParameterChange(SNAPIN_INSTANCE_PARAMETER, {"", "", "r1", "r"}), "");
    // An unknown saved node is named in the failure of the run.
    const host::RunResult r = engine_.Run(
        "begin-scope page OP; save v(nowhere); op  -env-options ; end-scope ", &analyses_);
    EXPECT_FALSE(r.ok);
    EXPECT_NE(r.error.find("Output variables not in the circuit: v(nowhere)"), std::string::npos)
        << r.error;
}

TEST_F(EngineTest, SettingsAreRefusedUpFrontForMissingMembersAndUnknownNodes) {
    Load(kDiode);
    const CPropertyList record(CString(
        "SweepType:int{0} InstToSweep:list{name:string{r9} isinst:int{1}} "
        "ModelToSweep:list{model:string{zz} isinst:int{0}} "
        "InstParamToSweep:list{name:string{resistance}} ModelParamToSweep:list{name:string{is}} "
        "Tol:list{TolSpecList:list{TolSpec:list{TolClass:int{0} "
        "MemberToSweep:list{model:string{dmod} isinst:int{0}} "
        "MemberParamToSweep:list{name:string{foo}}} TolSpec:list{TolClass:int{0} "
        "MemberToSweep:list{model:string{dmod} isinst:int{0}} "
        "MemberParamToSweep:list{name:string{is}}}} OutputVariable:string{v(nowhere)}}"));
    EXPECT_EQ(
        engine_.CheckSettings(record),
        (std::vector<std::string>{"no instance 'r9' in the circuit", "dmod has no parameter 'foo'",
                                  "Output variables not in the circuit: v(nowhere)"}));
    EXPECT_EQ(engine_.UnknownOutputVariables(
                  {"v(a)", "a", "v(nowhere)", "i(i1)", "i(vx)", "v(a,$0)", "v(a,zz)", "@d1[id]"}),
              (std::vector<std::string>{"v(nowhere)", "i(i1)", "i(vx)", "v(a,zz)"}));
}

TEST_F(EngineTest, SensitivitiesNameInstanceAndModelParametersAsTheAnalysesReadThem) {
    Load({"two diodes", "i1 0 a dc 1m", "d1 a 0 dmod", "d2 a 0 dmod area=2",
          ".model dmod d is=1e-14"});
    Silent("sens v(a)");
    const CSpicePlotInfo& info = sink_.plots.at(0).info;
    EXPECT_EQ(info.type, AT_SENS);
    EXPECT_GE(info.FindVector("d1_area"), 0);
    EXPECT_GE(info.FindVector("i1_dc"), 0); // ngspice's bare "i1"
    EXPECT_LT(info.FindVector("i1"), 0);
    EXPECT_LT(info.FindVector("d1:is"), 0);
    // d(kT/q ln(I / (3 is))) / d is: the model's sensitivity is the sum over its instances.
    EXPECT_REL(sink_.Last("dmod:is"), -kThermalVoltage / 1e-14, 1e-2);
}

TEST_F(EngineTest, BjtSensitivitiesAgreeWithFiniteDifferencesAndAChildCrashFailsOnlyItsCommand) {
    Load(kBjt);
    Silent("sens v(2)");
    const double dR1 = sink_.Last("r1_resistance"), dBf = sink_.Last("qn:bf");
    auto v2 = [&](int changed) {
        EXPECT_EQ(changed, 1);
        Silent("op;");
        return sink_.Last("v(2)");
    };
    const double up = v2(SetInstance("", "", "r1", "resistance", 1010));
    const double down = v2(SetInstance("", "", "r1", "resistance", 990));
    EXPECT_REL(dR1, (up - down) / 20.0, 1e-2);
    SetInstance("", "", "r1", "resistance", 1000);
    const double high = v2(SetModel("", "qn", "bf", 101));
    const double low = v2(SetModel("", "qn", "bf", 99));
    EXPECT_REL(dBf, (high - low) / 2.0, 1e-2);

    sink_.plots.clear();
    engine_.SetSensitivityRepairs(false); // ngspice 39 then crashes on the BJT
    EXPECT_EQ(engine_.SilentExecuteSimulatorCommand("sens v(2)"), 0);
    EXPECT_NE(engine_.LastError().find("crashed"), std::string::npos) << engine_.LastError();
    EXPECT_TRUE(sink_.plots.empty());
    Silent("op;");
    EXPECT_GT(sink_.Last("v(2)"), 1.0);
}

// A compound analysis in miniature: sets r2 to each value of the record and runs an operating
// point, until a stop is requested.
std::vector<double> g_fakeResults;
std::vector<CString> g_fakeVectors; // of the last inner run
std::atomic<bool>* g_interrupt = nullptr;

int RunFakeSweep(CASimulationEngine& engine, Analyses* analyses, const CPropertyList& record) {
    RecordingSink sink(analyses);
    const AnalysisSinkScope scope(engine, &sink);
    CPropertyItem values;
    for (const CPropertyItem& item : record)
        if (item.GetLabel() == "Values")
            values = item;
    std::vector<double> v(static_cast<std::size_t>(values.GetArrayCount()));
    values.WriteToArray(v.data());
    for (double r2 : v) {
        if (sink.IsStopRequested())
            break;
        engine.GetSimulatorSnapIn()->SetProperty(
            SNAPIN_INSTANCE_PARAMETER, IITVariant(CStringArray{"", "", "r2", "resistance"}),
            IITVariant(CPropertyItem("resistance", r2)), nullptr);
        if (g_interrupt)
            g_interrupt->store(true); // as if Ctrl-C came during the first run
        if (!engine.SilentExecuteSimulatorCommand("op;"))
            return 0;
        g_fakeResults.push_back(sink.Last("v(out)"));
        g_fakeVectors = sink.plots.back().info.vectorNames;
    }
    return 1;
}

const CompoundCommand kFakeTable[] = {{"FAKE", &RunFakeSweep}};

TEST_F(EngineTest, OrvoStatementsRunCompoundAnalysesUntilAStopAndLeaveTheCircuitAsWritten) {
    Load(kDivider);
    engine_.SetCompoundCommands(kFakeTable);
    const std::string script =
        "begin-scope page Sweep; save v(out); orvo FAKE Values:array{1000 2000 4000}; end-scope ";
    g_fakeResults.clear();
    const host::RunResult r = engine_.Run(script, &analyses_);
    ASSERT_TRUE(r.ok) << r.error;
    // Inner runs save what their scope asked for, although the circuit was read in between.
    EXPECT_EQ(g_fakeVectors, std::vector<CString>{"v(out)"});
    ASSERT_EQ(g_fakeResults.size(), 3u);
    EXPECT_REL(g_fakeResults[0], 2.5, 1e-9);
    EXPECT_REL(g_fakeResults[1], 10.0 / 3.0, 1e-9);
    EXPECT_REL(g_fakeResults[2], 4.0, 1e-9);
    engine_.SetAnalysisEventSink(&sink_);
    Silent("op;");
    EXPECT_REL(sink_.Last("v(out)"), 10.0 / 3.0, 1e-9);

    // A stop request ends the analysis after the current run and keeps its results.
    std::atomic<bool> interrupt{false};
    engine_.SetStopFlag(&interrupt);
    g_interrupt = &interrupt;
    g_fakeResults.clear();
    const host::RunResult stopped = engine_.Run(script, &analyses_);
    g_interrupt = nullptr;
    EXPECT_TRUE(stopped.ok) << stopped.error;
    EXPECT_TRUE(engine_.WasStopped());
    engine_.SetStopFlag(nullptr);
    ASSERT_EQ(g_fakeResults.size(), 1u);
    EXPECT_REL(g_fakeResults[0], 2.5, 1e-9);

    engine_.SetCompoundCommands(CompoundCommands());
    // Keywords are exact: the Monte Carlo analysis is "MONTE".
    EXPECT_EQ(engine_.Run("orvo monte NumRuns:int{5}", &analyses_).error,
              "No compound analysis is called \"monte\".");
}

} // namespace
