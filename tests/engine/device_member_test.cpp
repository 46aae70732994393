// Circuit members by name: records read and rebuilt from an in-memory circuit,
// the empty-name rule, live and stored names, copies, the sweepable-kind table,
// and at-sign node names.
#include "engine/device_member.h"
#include "tests/support/circuit_engine.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using canal_test::CircuitEngine;
using canal_test::ParseRecord;

namespace {

// Two resistors on one model, a diode model, and a source without a model name.
void FillDivider(CSpiceCircuit circuit) {
    circuit.AddDevice("Resistor")
        .AddModel("rmod", {{"tc1", 0.0, "First order temp. coefficient", "Input"}})
        .AddInstance("r1", {{"resistance", 1e3, "Resistance", "InputOutput"}})
        .AddInstance("r2", {{"resistance", 2e3, "Resistance", "InputOutput"},
                            {"i", 0.5, "Current", "Output"}});
    circuit.AddDevice("Diode").AddModel("dmod", {{"is", 1e-14, "Saturation current"}});
    circuit.AddDevice("Vsource").AddModel("").AddInstance("v1", {{"dc", 5.0, "DC value"}});
}

std::vector<std::string> Names(CSPICEdevMemberList& list) {
    std::vector<std::string> names;
    for (CSPICEdevMemberList::iterator it(list); it; ++it)
        names.push_back(((*it).GetDeviceName() + "/" + (*it).GetName()).str());
    return names;
}

CSPICEdevMember Read(const char* record, const CSpiceDevice_generic_iterator_wrapper& from = {}) {
    CSPICEdevMember member;
    member.fromPropertyList(ParseRecord(record), from);
    return member;
}

} // namespace

TEST(CSPICEdevMember, HandWrittenRecordsResolveAndAreRebuiltInFull) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());

    CSPICEdevMember member;
    EXPECT_EQ(member.fromPropertyList(ParseRecord("name:string{R2} isinst:int{1}"),
                                      CSpiceDevice_generic_iterator_wrapper()),
              1);
    ASSERT_TRUE(member.IsResolved());
    EXPECT_EQ(member.GetStringName(), "R2") << "stored names stay as written";
    // Live names come from the circuit.
    EXPECT_EQ(member.toPropertyList(0).GetList(),
              "device:string{Resistor} model:string{rmod} name:string{r2} isinst:int{1} "
              "param:list{name:string{resistance} value:double{2000} "
              "description:string{Resistance} mode:string{InputOutput}} "
              "param:list{name:string{i} value:double{0.5} description:string{Current} "
              "mode:string{Output}}");
    CopiableSList<CSPICEparam>& params = member.GetParmList();
    EXPECT_TRUE(params[0].IsInputMode() && params[0].IsOutputMode());
    EXPECT_FALSE(params[1].IsInputMode());
    EXPECT_EQ(member.FindParameter("I")->GetValue().GetDouble(), 0.5);
    EXPECT_FALSE(member.FindParameter("tc1").has_value());

    // A model named alone; an empty model name is left out; mistyped keys are skipped and
    // unknown ones make the reading answer 0, though the known ones still count.
    const std::pair<const char*, const char*> resolved[] = {
        {"model:string{dmod} isinst:int{0}",
         "device:string{Diode} model:string{dmod} isinst:int{0} "
         "param:list{name:string{is} value:double{1e-14} "
         "description:string{Saturation current} mode:string{InputOutput}}"},
        {"name:string{v1} model:int{3} colour:string{red} instance:string{old} "
         "param:list{name:string{dc} value:double{5}} isinst:string{0}",
         "device:string{Vsource} name:string{v1} isinst:int{1} "
         "param:list{name:string{dc} value:double{5} description:string{DC value} "
         "mode:string{InputOutput}}"},
    };
    for (const auto& [record, rebuilt] : resolved) {
        CSPICEdevMember m;
        EXPECT_EQ(m.fromPropertyList(ParseRecord(record), CSpiceDevice_generic_iterator_wrapper()),
                  std::string(record).find("colour") == std::string::npos);
        EXPECT_TRUE(m.IsResolved()) << record;
        EXPECT_EQ(m.toPropertyList(0).GetList(), rebuilt);
    }
    // Names that must all agree; a model reference needs its model's name.
    for (const char* record :
         {"device:string{Diode} name:string{r2}", "device:string{Diode} isinst:int{0}"})
        EXPECT_FALSE(Read(record).IsResolved()) << record;
}

TEST(CSPICEdevMember, WithoutACircuitTheRecordKeepsTheStoredNames) {
    const char* record = "device:string{Resistor} model:string{rmod} name:string{r2} isinst:int{1}";
    CSPICEdevMember member = Read(record);
    EXPECT_FALSE(member.IsResolved());
    EXPECT_EQ(member.toPropertyList(0).GetList(), record);
    EXPECT_EQ(CSPICEdevMember().toPropertyList(0).GetList(), "isinst:int{1}");
    CSPICEdevMember isource = Read("device:string{isource} name:string{i1}");
    EXPECT_TRUE(isource.IsCurrentSource());
    EXPECT_FALSE(isource.IsVoltageSource());
}

TEST(CSPICEdevMember, WalksForwardFromAGivenPosition) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());
    const CSpiceDevice resistors = engine.Circuit().FindDevice("Resistor");
    const CSpiceDevice_generic_iterator_wrapper atR1(CSpiceDevice::generic_iterator(resistors, 1));
    EXPECT_EQ(Read("name:string{r2}", atR1).GetName(), "r2");
    EXPECT_TRUE(Read("name:string{r1}", atR1).IsResolved());
    // A position past the element: the walk ends without it.
    CSpiceDevice_generic_iterator_wrapper atR2 = atR1;
    ++atR2;
    EXPECT_FALSE(Read("name:string{r1}", atR2).IsResolved());
}

TEST(CSPICEdevMember, CopiesTakeNamesOnlyFromNamedReferences) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());
    const CSPICEdevMember r2 = Read("name:string{r2}");
    const CSPICEdevMember copy(r2);
    EXPECT_TRUE(copy.GetPosition().IsSamePosition(r2.GetPosition()));
    EXPECT_EQ(copy.GetStringModelName() + "/" + copy.GetStringDeviceName(), "rmod/Resistor")
        << "the live names are stored in the copy";

    CSPICEdevMember target;
    target.SetName("keep");
    target.SetModelName("mine");
    target = Read("device:string{Diode} isinst:int{0}");
    EXPECT_EQ(target.GetStringName() + "/" + target.GetStringModelName(), "keep/mine");
    EXPECT_EQ(target.IsInstance(), 0) << "everything but the names is copied";
    target = r2;
    EXPECT_EQ(target.GetStringName() + "/" + target.GetStringModelName(), "r2/rmod");
}

TEST(CSPICEdevMember, FindsItsElementAgainAfterTheCircuitIsRebuilt) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());
    CSPICEdevMember r2 = Read("name:string{r2} isinst:int{1}");
    const CSPICEdevMember pinned(r2); // full names stored

    // Rebuild: the old position reads the old circuit until the member moves.
    CSpiceCircuit rebuilt = engine.Session().NewCircuit();
    rebuilt.AddDevice("Resistor").AddModel("rmod2").AddInstance("r2", {{"resistance", 4.7e3}});
    EXPECT_EQ(r2.GetModelName(), "rmod");
    EXPECT_EQ(r2.MoveToCurrentName(), 1);
    EXPECT_EQ(r2.GetModelName(), "rmod2") << "the stored model name was empty: any model";
    EXPECT_EQ(r2.FindParameter("resistance")->GetValue().GetDouble(), 4.7e3);

    CSPICEdevMember moved = pinned;
    EXPECT_EQ(moved.MoveToCurrentName(), 0) << "r2 is no longer on rmod";
    EXPECT_EQ(moved.toPropertyList(0).GetList(),
              "device:string{Resistor} model:string{rmod} name:string{r2} isinst:int{1}");

    // Resolving in another circuit through another engine.
    CircuitEngine other;
    other.Circuit()
        .AddDevice("Resistor")
        .AddModel("rmod")
        .AddInstance("r2", {{"resistance", 10.0}});
    CSPICEdevMember::SetASimEng(engine);
    CSpiceCircuit otherCircuit = other.Circuit();
    const CSPICEdevMember there = pinned.memberWithNewCirc(otherCircuit, other);
    EXPECT_TRUE(there.GetCircuit().IsSameCircuit(otherCircuit));
    EXPECT_EQ(there.GetOriginalPropList().GetList(),
              "device:string{Resistor} model:string{rmod} name:string{r2} isinst:int{1} "
              "param:list{name:string{resistance} value:double{10} description:string{} "
              "mode:string{InputOutput}}");
}

TEST(CSPICEparam, ReadsFourKeysAndKeepsTheRecordAsGiven) {
    CSPICEparam param;
    const CPropertyList record = ParseRecord(
        "name:string{R} value:double{1e10} description:string{R factor} mode:string{inputoutput}");
    EXPECT_EQ(param.fromPropertyList(record), 1);
    EXPECT_TRUE(param.IsInputMode() && param.IsOutputMode());
    EXPECT_EQ(param.toPropertyList().GetList(), record.GetList());

    // No value: an empty value item, whatever the parameter held before.
    EXPECT_EQ(param.fromPropertyList(ParseRecord("name:string{tc1} mode:string{Output} x:int{1}")),
              0);
    EXPECT_EQ(param.toPropertyList().GetList(), "name:string{tc1} mode:string{Output} x:int{1}");
    EXPECT_TRUE(param.GetValue().IsEmpty());
    EXPECT_TRUE(param.IsOutputMode() && !param.IsInputMode());
    EXPECT_TRUE(CSPICEparam().IsEmpty());
}

TEST(CSPICEdevMemberList, SkipsDeviceKindsThatMayNotBeSwept) {
    const std::set<int> excluded = {8,  21, 27, 28, 30, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42,
                                    43, 44, 45, 46, 47, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59,
                                    71, 73, 74, 75, 76, 77, 85, 86, 87, 92, 93, 94, 95, 96};
    for (int i = -1; i < 120; ++i)
        EXPECT_EQ(CSPICEdevMemberList::IsParamSweep(i), !excluded.count(i)) << i;

    CircuitEngine engine;
    CSPICEdevMemberList instances(engine, 1);
    CSPICEdevMemberList models(engine, 0);
    EXPECT_FALSE(CSPICEdevMemberList::iterator(instances)) << "an empty circuit";

    // Kinds 0..9: instances at 7 (sweepable), 8 (excluded) and 9; kind 3 has a model only.
    CSpiceCircuit circuit = engine.Circuit();
    for (int i = 0; i < 10; ++i)
        circuit.AddDevice(CString::Formatted("kind%d", i));
    circuit.GetDevice(3).AddModel("m3");
    circuit.GetDevice(7).AddModel("m7a").AddInstance("a1").AddInstance("a2");
    circuit.GetDevice(7).AddModel("m7empty");
    circuit.GetDevice(7).AddModel("m7b").AddInstance("b1");
    circuit.GetDevice(8).AddModel("m8").AddInstance("x1");
    circuit.GetDevice(9).AddModel("m9").AddInstance("c1");
    EXPECT_EQ(Names(instances),
              (std::vector<std::string>{"kind7/a1", "kind7/a2", "kind7/b1", "kind9/c1"}));
    EXPECT_EQ(Names(models), (std::vector<std::string>{"kind3/m3", "kind7/m7a", "kind7/m7empty",
                                                       "kind7/m7b", "kind9/m9"}));

    CSPICEdevMemberList noEngine;
    EXPECT_FALSE(CSPICEdevMemberList::iterator(noEngine));
}

TEST(CParamNode, ReadsAndWritesAtSignNotation) {
    struct Case {
        const char* text;
        CParamNode::ParamType type;
        const char *name, *param, *written;
    };
    // A plain node leaves name and param alone; an unclosed bracket runs to the end.
    const Case cases[] = {
        {"@@r1[resistance]", CParamNode::ModelParam, "r1", "resistance", "@@r1[resistance]"},
        {"  @  q1[  ic] tail", CParamNode::InstanceParam, "q1", "ic", "@q1[ic]"},
        {"out", CParamNode::PlainNode, "q1", "ic", ""},
        {"@r2", CParamNode::InstanceParam, "r2", "", "@r2[]"},
        {"@d1[id", CParamNode::InstanceParam, "d1", "id", "@d1[id]"},
    };
    CParamNode node;
    for (const Case& c : cases) {
        EXPECT_EQ(node.fromString(c.text), c.type) << c.text;
        EXPECT_EQ(node.GetName(), c.name) << c.text;
        EXPECT_EQ(node.GetParam(), c.param) << c.text;
        EXPECT_EQ(node.toString(), c.written) << c.text;
    }
}

TEST(CParamNodeList, ConvertsToAndFromNodeNameLists) {
    CParamNodeList list;
    list.AddNode(CParamNode("r1", "i", CParamNode::InstanceParam));
    list.AddNode(CParamNode("out", "", CParamNode::PlainNode));
    list.Add(CParamNodeEntry{});
    list.AddNode(CParamNode("dmod", "is", CParamNode::ModelParam), 1);

    CSpiceNodeNameList names;
    names.AddName("v(in)", 3);
    EXPECT_EQ(list.addToNodeList(names, 5, CSpiceNodeName::Saved), 2);
    EXPECT_EQ(names.toPropertyItem("N").GetField(),
              "N:list{NODE:list{Name:string{v(in)} Kind:int{3} Flags:int{0}} "
              "NODE:list{Name:string{@r1[i]} Kind:int{5} Flags:int{256}} "
              "NODE:list{Name:string{@@dmod[is]} Kind:int{5} Flags:int{256}}}");

    names.AddName("@q1[ic]", 4, CSpiceNodeName::IPlot);
    CParamNodeList back;
    EXPECT_EQ(back.addFromNodeList(names, 5, 0), 2) << "kind 5 only; v(in) is no parameter";
    EXPECT_EQ(back.addFromNodeList(names, -1, CSpiceNodeName::IPlot), 1);
    ASSERT_EQ(back.GetCount(), 3u);
    EXPECT_EQ(back[1].node->toString() + " " + back[2].node->toString(), "@@dmod[is] @q1[ic]");
    EXPECT_EQ(back.addFromNodeList(names, 9, 0), 0);
}
