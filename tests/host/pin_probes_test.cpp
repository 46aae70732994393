// Pin currents from probe sources: the netlist rewrite, and on ngspice, unchanged node voltages,
// Kirchhoff's current law and the trace-width names.
#include "tests/host/engine_support.h"

#include "analyses/compound/trace_width_math.h"
#include "host/ngspice/pin_probes.h"

#include <map>

namespace {

using canal_test::EngineTest;
using canal_test::RecordingSink;

TEST(PinProbes, EveryPinOfTopLevelComponentsGetsASeriesSource) {
    const std::vector<std::string> deck = {
        "title r1 a b", "R1 a b 1k",     "+ tc1=0.001",
        "Q1 c b 0 QN",  "q2 c b e s qn", "x1 a 0 amp params: gain=2",
        "e1 a 0 b 0 2", "* d9 a b qn",   ".subckt amp in out",
        "r1 in out 1k", ".ends",         ".control",
        "r5 a b",       ".endc",         ".model qn npn",
        ".end",
    };
    const host::ProbedDeck p = host::InsertPinProbes(deck, {"qn"});
    const std::vector<std::string> expected = {
        "title r1 a b",
        "R1 canalpin_r1_1 canalpin_r1_2 1k tc1=0.001",
        "vcanalpin_r1_1 a canalpin_r1_1 0",
        "vcanalpin_r1_2 b canalpin_r1_2 0",
        "Q1 canalpin_q1_1 canalpin_q1_2 canalpin_q1_3 QN",
        "vcanalpin_q1_1 c canalpin_q1_1 0",
        "vcanalpin_q1_2 b canalpin_q1_2 0",
        "vcanalpin_q1_3 0 canalpin_q1_3 0",
        "q2 canalpin_q2_1 canalpin_q2_2 canalpin_q2_3 canalpin_q2_4 qn",
        "vcanalpin_q2_1 c canalpin_q2_1 0",
        "vcanalpin_q2_2 b canalpin_q2_2 0",
        "vcanalpin_q2_3 e canalpin_q2_3 0",
        "vcanalpin_q2_4 s canalpin_q2_4 0",
        "x1 canalpin_x1_1 canalpin_x1_2 amp params: gain=2",
        "vcanalpin_x1_1 a canalpin_x1_1 0",
        "vcanalpin_x1_2 0 canalpin_x1_2 0",
        "e1 a 0 b 0 2",
        "* d9 a b qn",
        ".subckt amp in out",
        "r1 in out 1k",
        ".ends",
        ".control",
        "r5 a b",
        ".endc",
        ".model qn npn",
        ".end",
    };
    EXPECT_EQ(p.lines, expected);
    ASSERT_EQ(p.probes.size(), 11u);
    EXPECT_EQ(host::PinCurrentVectorName(p.probes[8]), "xq2.pinvoltagev--4#branch");
    CString component, pin;
    ASSERT_EQ(ParsePinCurrentVectorName(CString(host::PinCurrentVectorName(p.probes[2])),
                                        &component, &pin),
              1);
    EXPECT_EQ(component, "q1");
    EXPECT_EQ(pin, "1");
}

const std::vector<std::string> kAmplifier = {
    "amplifier",
    "vcc vcc 0 dc 12",
    "vin in 0 dc 0 sin(0 10m 1k)",
    "c1 in b 10u",
    "r1 vcc b 47k",
    "r2 b 0 10k",
    "rc vcc c 4.7k",
    "re e 0 1k",
    "ce e 0 100u",
    "q1 c b e qn",
    ".model qn npn bf=200 vaf=100",
};

// Pin currents of the last plot by component and pin.
std::map<std::string, std::vector<double>> PinCurrents(const RecordingSink& sink) {
    std::map<std::string, std::vector<double>> currents;
    const RecordingSink::Plot& p = sink.plots.back();
    for (std::size_t i = 0; i < p.info.vectorNames.size(); ++i) {
        CString component, pin;
        if (!ParsePinCurrentVectorName(p.info.vectorNames[i], &component, &pin))
            continue;
        std::vector<double>& values = currents[component.str() + "." + pin.str()];
        for (const auto& row : p.re)
            values.push_back(row[i]);
    }
    return currents;
}

TEST_F(EngineTest, ProbesLeaveNodeVoltagesAloneAndTheirCurrentsObeyKirchhoff) {
    Load(kAmplifier);
    Silent("op;");
    const RecordingSink::Plot plain = sink_.plots.back();
    std::string error;
    ASSERT_TRUE(engine_.SetPinProbes(true, error)) << error;
    Silent("op;");
    // The probes' own nodes and sources are the host's, not the circuit's members.
    for (const CString& name : sink_.plots.back().info.vectorNames)
        EXPECT_LT(name.Find("canalpin"), 0) << name.str();
    for (const host::CircuitContents::Element& e : engine_.Contents().instances)
        EXPECT_FALSE(host::IsProbeName(e.name)) << e.name;
    for (const char* node : {"v(b)", "v(c)", "v(e)", "v(vcc)"})
        EXPECT_REL(sink_.Last(node),
                   plain.re[0].at(static_cast<std::size_t>(plain.info.FindVector(node))), 1e-9)
            << node;

    std::map<std::string, std::vector<double>> i = PinCurrents(sink_);
    ASSERT_EQ(i.size(), 19u); // 8 two-terminal components (sources too) and a transistor
    const double ic = i["q1.1"][0], ib = i["q1.2"][0], ie = i["q1.3"][0];
    EXPECT_GT(ic, 1e-4);
    // Kirchhoff holds to ngspice's current tolerance (abstol, 1 pA).
    EXPECT_NEAR(ic + ib + ie, 0.0, 1e-10);
    EXPECT_NEAR(i["rc.2"][0] + ic, 0.0, 1e-10);                               // node c
    EXPECT_NEAR(i["r1.2"][0] + i["r2.1"][0] + ib + i["c1.2"][0], 0.0, 1e-10); // node b
    EXPECT_REL(i["rc.1"][0], (12.0 - sink_.Last("v(c)")) / 4.7e3, 1e-9);
    EXPECT_NEAR(i["rc.1"][0] + i["rc.2"][0], 0.0, 1e-15);

    // Over a transient the transistor's pin currents sum to zero at every point.
    Silent("tran 20u 2m");
    i = PinCurrents(sink_);
    ASSERT_GT(i["q1.1"].size(), 50u);
    for (std::size_t k = 0; k < i["q1.1"].size(); ++k)
        EXPECT_NEAR(i["q1.1"][k] + i["q1.2"][k] + i["q1.3"][k], 0.0, 1e-9) << k;

    ASSERT_TRUE(engine_.SetPinProbes(false, error)) << error;
    Silent("op;");
    EXPECT_TRUE(PinCurrents(sink_).empty());
}

std::vector<CString> g_traceVectors;

int RecordTraceWidthRun(CASimulationEngine& engine, Analyses* analyses, const CPropertyList&) {
    RecordingSink sink(analyses);
    const AnalysisSinkScope scope(engine, &sink);
    if (!engine.SilentExecuteSimulatorCommand("tran 10u 100u"))
        return 0;
    g_traceVectors = sink.plots.back().info.vectorNames;
    return 1;
}

const CompoundCommand kTraceWidthTable[] = {{"TRACEWIDTH", &RecordTraceWidthRun}};

TEST_F(EngineTest, TraceWidthRequestsRunWithProbesAndLeaveThemOff) {
    Load({"divider", "v1 in 0 dc 5", "r1 in out 1k", "r2 out 0 1k"});
    engine_.SetCompoundCommands(kTraceWidthTable);
    std::string error;
    ASSERT_TRUE(engine_.RunCompound("TRACEWIDTH Tran:list{}", &analyses_, error)) << error;
    EXPECT_NE(std::find(g_traceVectors.begin(), g_traceVectors.end(),
                        CString("xr2.pinvoltagev--2#branch")),
              g_traceVectors.end());
    EXPECT_FALSE(engine_.HasPinProbes());
}

} // namespace
