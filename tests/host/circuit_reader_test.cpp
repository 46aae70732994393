// The circuit read from ngspice: the listings' parsers, the model read back from a real circuit,
// and circuit members resolving by name against it.
#include "tests/host/engine_support.h"

#include "host/ngspice/circuit_reader.h"

#include <algorithm>

namespace {

using canal_test::EngineTest;
using host::CircuitContents;

TEST(CircuitListings, DeviceKindsKeepNgspiceTableOrder) {
    const std::vector<std::string> lines = {"Devices available in the simulator", "",
                                            "URC                  :\tUniform R.C. line",
                                            "ASRC                 :\tArbitrary Source ",
                                            "BJT                  :\tBipolar Junction Transistor"};
    EXPECT_EQ(host::ParseDeviceKinds(lines), (std::vector<std::string>{"URC", "ASRC", "BJT"}));
}

TEST(CircuitListings, ParameterTablesKeepAliasesAndReadTheDirections) {
    const std::vector<std::string> lines = {"Resistor - Simple linear resistor",
                                            "Model Parameters",
                                            "id#\t Name      \t Dir\t Description",
                                            "103\t rsh       \t inout\t Sheet resistance",
                                            "Instance Parameters",
                                            "id#\t Name      \t Dir\t Description",
                                            "1\t resistance\t inout\t Resistance",
                                            "1\t r         \t inout\t Resistance",
                                            "5\t sens_resist\t in\t flag to request sensitivity",
                                            "6\t i         \t out\t Current",
                                            "401\t coefficient\t inout\t "};
    const host::ParameterTables t = host::ParseParameterTables(lines);
    ASSERT_EQ(t.model.size(), 1u);
    EXPECT_EQ(t.model[0].name, "rsh");
    ASSERT_EQ(t.instance.size(), 5u);
    EXPECT_EQ(t.instance[2].mode, "Input");
    EXPECT_EQ(t.instance[3].mode, "Output");
    EXPECT_EQ(t.instance[0].mode, "InputOutput");
    EXPECT_EQ(t.instance[4].description, "");
    const std::vector<host::ParameterInfo> shown = host::WithoutAliases(t.instance);
    EXPECT_EQ(shown.size(), 4u);
    EXPECT_EQ(shown[0].name, "resistance");
    const host::ParameterInfo* alias = host::FindParameter(t.instance, "R");
    ASSERT_NE(alias, nullptr);
    EXPECT_EQ(alias->id, 1);
}

TEST(CircuitListings, ShowListingsGiveEachInstanceItsKindAndModel) {
    const std::vector<std::string> kinds = {"BJT", "Resistor", "Vsource"};
    const std::vector<std::string> show = {
        "BJT: Bipolar Junction Transistor",
        "device                    q1",
        "model                    qn",
        "canal_no_such_parameter             ?????????",
        "Resistor: Simple linear resistor",
        "device                    r5                    r4                    r2",
        "model                     R                     R                     R",
        "device                    r1",
        "model                     R",
        "Vsource: Independent voltage source",
        "device                    v3                    v1"};
    const std::vector<host::ShownElement> instances = host::ParseShownInstances(show, kinds);
    ASSERT_EQ(instances.size(), 7u);
    EXPECT_EQ(instances[0].kind, "BJT");
    EXPECT_EQ(instances[0].model, "qn");
    EXPECT_EQ(instances[4].name, "r1");
    EXPECT_EQ(instances[4].model, "R");
    EXPECT_EQ(instances[6].kind, "Vsource");
    EXPECT_EQ(instances[6].model, "");

    const std::vector<std::string> showmod = {
        "BJT models (Bipolar Junction Transistor)", "model                    qn", "",
        "Resistor models (Simple linear resistor)", "model                     R"};
    const std::vector<host::ShownElement> models = host::ParseShownModels(showmod, kinds);
    ASSERT_EQ(models.size(), 2u);
    EXPECT_EQ(models[1].kind, "Resistor");
    EXPECT_EQ(models[1].name, "R");
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

const CircuitContents::Element* Find(const std::vector<CircuitContents::Element>& list,
                                     const std::string& name) {
    const auto it = std::find_if(list.begin(), list.end(),
                                 [&](const CircuitContents::Element& e) { return e.name == name; });
    return it == list.end() ? nullptr : &*it;
}

const CSpiceParameter* Param(const CircuitContents::Element* e, const char* name) {
    if (!e)
        return nullptr;
    const auto it = std::find_if(e->params.begin(), e->params.end(),
                                 [&](const CSpiceParameter& p) { return p.name == name; });
    return it == e->params.end() ? nullptr : &*it;
}

TEST_F(EngineTest, TheCircuitReadBackHasKindsModelsInstancesValuesAndModes) {
    Load(kMixed);
    const CircuitContents& c = engine_.Contents();
    RecordProperty("read_seconds", std::to_string(engine_.LastReadSeconds()));
    ASSERT_GE(c.kinds.size(), 3u);
    EXPECT_EQ(c.kinds[0], "URC");
    EXPECT_EQ(c.kinds[2], "BJT");

    const CircuitContents::Element* dmod = Find(c.models, "dmod");
    ASSERT_NE(dmod, nullptr);
    EXPECT_EQ(dmod->kind, "Diode");
    EXPECT_EQ(Param(dmod, "is")->value.GetDouble(), 2e-14);
    EXPECT_EQ(Param(dmod, "n")->value.GetDouble(), 1.5);
    // Defaults are in place: the model was set up before it was read.
    EXPECT_EQ(Param(Find(c.models, "qn"), "is")->value.GetDouble(), 1e-16);

    const CircuitContents::Element* r1 = Find(c.instances, "r1");
    ASSERT_NE(r1, nullptr);
    EXPECT_EQ(r1->kind, "Resistor");
    EXPECT_EQ(r1->model, "R");
    const CSpiceParameter* resistance = Param(r1, "resistance");
    ASSERT_NE(resistance, nullptr);
    EXPECT_EQ(resistance->value.GetDouble(), 1000.0);
    EXPECT_EQ(resistance->mode, "InputOutput");
    EXPECT_EQ(resistance->description, "Resistance");
    EXPECT_EQ(Param(r1, "r"), nullptr); // an alias, not a parameter of its own
    EXPECT_EQ(Param(r1, "i")->mode, "Output");
    EXPECT_EQ(Param(r1, "sens_resist")->mode, "Input");
    EXPECT_TRUE(Param(r1, "sens_resist")->value.IsEmpty());

    const CircuitContents::Element* v1 = Find(c.instances, "v1");
    ASSERT_NE(v1, nullptr);
    EXPECT_EQ(v1->kind, "Vsource");
    EXPECT_EQ(v1->model, "");
    EXPECT_EQ(Param(v1, "dc")->value.GetDouble(), 5.0);
    EXPECT_EQ(Param(v1, "sin")->value.GetArrayCount(), 3);
    EXPECT_TRUE(Param(v1, "pulse")->value.IsEmpty()); // a sine source has no pulse
    EXPECT_EQ(Param(Find(c.instances, "v2"), "pulse")->value.GetArrayCount(), 7);

    const CircuitContents::Element* q1 = Find(c.instances, "q1");
    ASSERT_NE(q1, nullptr);
    EXPECT_EQ(q1->model, "qn");
    EXPECT_EQ(Param(q1, "area")->value.GetDouble(), 1.0);
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
    EXPECT_EQ(Param(Find(c.instances, "r1"), "resistance")->value.GetDouble(), 1000.0);
    EXPECT_EQ(Param(Find(c.models, "dmod"), "is")->value.GetDouble(), 2e-14);
    // Elements the settings do not name keep their tables but read no value.
    const CSpiceParameter* dc = Param(Find(c.instances, "v1"), "dc");
    ASSERT_NE(dc, nullptr);
    EXPECT_TRUE(dc->value.IsEmpty());
    EXPECT_TRUE(Param(Find(c.models, "qn"), "is")->value.IsEmpty());
    EXPECT_EQ(engine_.CheckParameterChange(SNAPIN_INSTANCE_PARAMETER, {"", "", "v1", "dc"}), "");
    EXPECT_NE(engine_.CheckParameterChange(SNAPIN_INSTANCE_PARAMETER, {"", "", "v1", "zz"}), "");
}

TEST_F(EngineTest, MembersResolveByNameWithEmptyDeviceAndModelNamesMatchingAny) {
    Load(kMixed);
    struct Case {
        const char* record;
        bool resolves;
        const char* device;
        const char* model;
    };
    const Case cases[] = {
        {"name:string{r1} isinst:int{1}", true, "Resistor", "R"},
        {"name:string{Q1} model:string{qn} device:string{} isinst:int{1}", true, "BJT", "qn"},
        {"model:string{dmod} isinst:int{0}", true, "Diode", "dmod"},
        {"name:string{v1} isinst:int{1}", true, "Vsource", ""},
        {"name:string{r1} device:string{Diode} isinst:int{1}", false, "Diode", ""},
        {"name:string{r1} model:string{dmod} isinst:int{1}", false, "", "dmod"},
        {"name:string{r9} isinst:int{1}", false, "", ""},
    };
    for (const Case& c : cases) {
        CSPICEdevMember m;
        m.fromPropertyList(CPropertyList(CString(c.record)), {});
        EXPECT_EQ(m.IsResolved(), c.resolves) << c.record;
        EXPECT_EQ(m.GetDeviceName(), c.device) << c.record;
        EXPECT_EQ(m.GetModelName(), c.model) << c.record;
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
}

TEST_F(EngineTest, MemberListsSkipTheKindsTheFixedTableExcludesOnNgspice) {
    Load(kMixed);
    std::vector<std::string> instances, models;
    for (CSPICEdevMember& m : engine_.GetInstanceList())
        instances.push_back(m.GetName().str());
    for (CSPICEdevMember& m : engine_.GetModelList())
        models.push_back(m.GetName().str());
    // Resistor and Vsource stand at excluded indices of ngspice 39's table.
    EXPECT_EQ(instances, (std::vector<std::string>{"q1", "d1"}));
    EXPECT_EQ(models, (std::vector<std::string>{"qn", "dmod"}));
}

} // namespace
