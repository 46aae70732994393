// The circuit read from ngspice: the listings' parsers, the model read back from a real circuit,
// and circuit members resolving by name against it.
#include "tests/host/engine_support.h"

#include "host/ngspice/circuit_reader.h"

#include <algorithm>
#include <sstream>

namespace {

using canal_test::EngineTest;
using host::CircuitContents;

// Table rows as "ID NAME MODE DESCRIPTION", one a line.
std::string Rows(const std::vector<host::ParameterInfo>& table) {
    std::string text;
    for (const host::ParameterInfo& p : table)
        text += std::to_string(p.id) + " " + p.name + " " + p.mode + " " + p.description + "\n";
    return text;
}

// The device, instance and model listings are read from real ngspice output below; the
// parameter tables here also have an output parameter and an empty description.
TEST(CircuitListings, ParameterTablesKeepAliasesAndReadTheDirections) {
    const host::ParameterTables t = host::ParseParameterTables(
        {"Resistor - Simple linear resistor", "Model Parameters",
         "id#\t Name      \t Dir\t Description", "103\t rsh       \t inout\t Sheet resistance",
         "Instance Parameters", "id#\t Name      \t Dir\t Description",
         "1\t resistance\t inout\t Resistance", "1\t r         \t inout\t Resistance",
         "5\t sens_resist\t in\t flag to request sensitivity", "6\t i         \t out\t Current",
         "401\t coefficient\t inout\t "});
    EXPECT_EQ(Rows(t.model), "103 rsh InputOutput Sheet resistance\n");
    const std::string shown = "1 resistance InputOutput Resistance\n5 sens_resist Input flag to "
                              "request sensitivity\n6 i Output Current\n401 coefficient "
                              "InputOutput \n";
    EXPECT_EQ(Rows(host::WithoutAliases(t.instance)), shown);
    EXPECT_EQ(Rows(t.instance),
              shown.substr(0, 36) + "1 r InputOutput Resistance\n" + shown.substr(36));
    const host::ParameterInfo* alias = host::FindParameter(t.instance, "R");
    EXPECT_EQ(alias ? alias->id : 0, 1);
}

const std::vector<std::string> kMixed = {
    "mixed",
    "v1 in 0 dc 5 ac 1 sin(0 1 1k)",
    "v2 p 0 pulse(0 1 0 1n 1n 1u 2u)",
    "rp p 0 1k",
    "r1 in out 1k",
    "d1 out 0 dmod",
    "rc in c 1k",
    "q1 c out 0 qn",
    ".model dmod d is=2e-14 n=1.5",
    ".model qn npn bf=150",
};

// An element of the circuit read back and some of its parameters, as "KIND MODEL: FIELD MODE
// DESCRIPTION; ..."; "?" for a missing element or parameter.
std::string Describe(const std::vector<CircuitContents::Element>& list, const std::string& name,
                     const std::string& params) {
    const auto e =
        std::find_if(list.begin(), list.end(), [&](const auto& x) { return x.name == name; });
    if (e == list.end())
        return "?";
    std::string text = e->kind + " " + e->model + ":";
    std::istringstream names(params);
    for (std::string param; names >> param;) {
        const auto p = std::find_if(e->params.begin(), e->params.end(),
                                    [&](const CSpiceParameter& x) { return x.name == param; });
        text += p == e->params.end()
                    ? std::string(" ?;")
                    : " " + p->value.GetField().str() + " " + p->mode + " " + p->description + ";";
    }
    return text;
}

TEST_F(EngineTest, TheCircuitReadBackHasKindsModelsInstancesValuesAndModes) {
    Load(kMixed);
    const CircuitContents& c = engine_.Contents();
    RecordProperty("read_seconds", std::to_string(engine_.LastReadSeconds()));
    ASSERT_GE(c.kinds.size(), 3u);
    EXPECT_EQ(c.kinds[0] + " " + c.kinds[2], "URC BJT");
    // Defaults are in place: the model was set up before it was read. "r" is an alias, not a
    // parameter of its own; a sine source has no pulse.
    EXPECT_EQ(Describe(c.models, "dmod", "is n"),
              "Diode : value:double{2e-14} InputOutput Saturation current; value:double{1.5} "
              "InputOutput Emission Coefficient;");
    EXPECT_EQ(Describe(c.models, "qn", "is"),
              "BJT : value:double{1e-16} InputOutput Saturation Current;");
    EXPECT_EQ(Describe(c.instances, "r1", "resistance r sens_resist"),
              "Resistor R: value:double{1000} InputOutput Resistance; ?;  Input flag to request "
              "sensitivity WRT resistance;");
    EXPECT_EQ(Describe(c.instances, "v1", "dc sin pulse"),
              "Vsource : value:double{5} InputOutput DC value of source; value:array{0 1 1000} "
              "InputOutput Sinusoidal source description;  InputOutput Pulse description;");
    EXPECT_EQ(Describe(c.instances, "v2", "pulse") + Describe(c.instances, "q1", "area"),
              "Vsource : value:array{0 1 0 1e-09 1e-09 1e-06 2e-06} InputOutput Pulse "
              "description;BJT qn: value:double{1} InputOutput (Emitter) Area factor;");
    EXPECT_NE(std::find(c.vectors.begin(), c.vectors.end(), "out"), c.vectors.end());
    EXPECT_NE(std::find(c.vectors.begin(), c.vectors.end(), "v1#branch"), c.vectors.end());

    // The same circuit through the SPICE interface library.
    const CSpiceCircuit circuit(
        engine_.GetSessionDistributor()->GetMainSession()->GetInstanceHandle());
    const CSpiceDevice diode = circuit.FindDevice("Diode");
    EXPECT_TRUE(diode.FindModel(circuit, "dmod").FindInstance("d1").IsValid());
    EXPECT_EQ(
        diode.GetIndex(),
        static_cast<int>(std::find(c.kinds.begin(), c.kinds.end(), "Diode") - c.kinds.begin()));
    const CPropertyList records = engine_.GetModelValues(diode.FindModel(circuit, "dmod"), diode);
    ASSERT_GT(records.GetCount(), 10);
    CPropertyItem first;
    records.GetNth(0, first);
    EXPECT_EQ(first.GetLabel(), "param");
    CSPICEparam p;
    EXPECT_EQ(p.fromPropertyList(first.GetPropertyList()), 1);
    EXPECT_TRUE(p.IsInputMode());
}

TEST_F(EngineTest, ALimitedReadHasTheValuesOfTheNamedElementsOnlyAndStillChecksTheRest) {
    engine_.ReadValuesOnlyFor(CPropertyList(
        CString("Tol:list{TolSpecList:list{TolSpec:list{TolClass:int{1} "
                "MemberToSweep:list{name:string{R1} isinst:int{1}} "
                "MemberParamToSweep:list{name:string{resistance}}} TolSpec:list{TolClass:int{0} "
                "MemberToSweep:list{model:string{dmod} isinst:int{0}} "
                "MemberParamToSweep:list{name:string{is}}}}}")));
    Load(kMixed);
    const CircuitContents& c = engine_.Contents();
    // Elements the settings do not name keep their tables but read no value.
    EXPECT_EQ(Describe(c.instances, "r1", "resistance") + Describe(c.models, "dmod", "is") +
                  Describe(c.instances, "v1", "dc") + Describe(c.models, "qn", "is"),
              "Resistor R: value:double{1000} InputOutput Resistance;Diode : value:double{2e-14} "
              "InputOutput Saturation current;Vsource :  InputOutput DC value of source;BJT :  "
              "InputOutput Saturation Current;");
    EXPECT_EQ(engine_.CheckParameterChange(SNAPIN_INSTANCE_PARAMETER, {"", "", "v1", "dc"}), "");
    EXPECT_NE(engine_.CheckParameterChange(SNAPIN_INSTANCE_PARAMETER, {"", "", "v1", "zz"}), "");
}

TEST_F(EngineTest, MembersResolveByNameWithEmptyDeviceAndModelNamesMatchingAny) {
    Load(kMixed);
    const std::pair<const char*, const char*> cases[] = {
        {"name:string{r1} isinst:int{1}", "1 Resistor R"},
        {"name:string{Q1} model:string{qn} device:string{} isinst:int{1}", "1 BJT qn"},
        {"model:string{dmod} isinst:int{0}", "1 Diode dmod"},
        {"name:string{v1} isinst:int{1}", "1 Vsource "},
        {"name:string{r1} device:string{Diode} isinst:int{1}", "0 Diode "},
        {"name:string{r1} model:string{dmod} isinst:int{1}", "0  dmod"},
        {"name:string{r9} isinst:int{1}", "0  "},
    };
    for (const auto& [record, expected] : cases) {
        CSPICEdevMember m;
        m.fromPropertyList(CPropertyList(CString(record)), {});
        EXPECT_EQ(std::to_string(m.IsResolved()) + " " + m.GetDeviceName().str() + " " +
                      m.GetModelName().str(),
                  expected)
            << record;
    }

    // A parameter record without a value takes the circuit's present value as its nominal.
    CSPICEparam bare;
    bare.fromPropertyList(CPropertyList(CString("name:string{resistance}")));
    EXPECT_TRUE(bare.GetValue().IsEmpty());
    CSPICEdevMember r1;
    r1.fromPropertyList(CPropertyList(CString("name:string{r1} isinst:int{1}")), {});
    EXPECT_EQ(r1.FindParameter(bare.GetName())->GetValue().GetDouble(), 1000.0);
    ASSERT_EQ(SetInstance("", "", "r1", "resistance", 2200), 1);
    r1.SetUpdateFlag();
    EXPECT_EQ(r1.FindParameter(bare.GetName())->GetValue().GetDouble(), 2200.0);

    // Resistor and Vsource stand at excluded indices of ngspice 39's fixed table.
    std::string members;
    for (CSPICEdevMember& m : engine_.GetInstanceList())
        members += m.GetName().str() + " ";
    for (CSPICEdevMember& m : engine_.GetModelList())
        members += m.GetName().str() + " ";
    EXPECT_EQ(members, "q1 d1 qn dmod ");
}

} // namespace
