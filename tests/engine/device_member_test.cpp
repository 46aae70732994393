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

} // namespace

TEST(CSPICEdevMember, HandWrittenInstanceRecordResolvesAndIsRebuiltInFull) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());

    CSPICEdevMember member;
    EXPECT_EQ(member.fromPropertyList(ParseRecord("name:string{R2} isinst:int{1}"),
                                      CSpiceDevice_generic_iterator_wrapper()),
              1);
    ASSERT_TRUE(member.IsResolved());
    EXPECT_EQ(member.GetName(), "r2") << "live names come from the circuit";
    EXPECT_EQ(member.GetModelName(), "rmod");
    EXPECT_EQ(member.GetDeviceName(), "Resistor");
    EXPECT_EQ(member.GetStringName(), "R2") << "stored names stay as written";
    EXPECT_EQ(member.GetStringModelName(), "");
    EXPECT_EQ(member.toPropertyList(0).GetList(),
              "device:string{Resistor} model:string{rmod} name:string{r2} isinst:int{1} "
              "param:list{name:string{resistance} value:double{2000} "
              "description:string{Resistance} mode:string{InputOutput}} "
              "param:list{name:string{i} value:double{0.5} description:string{Current} "
              "mode:string{Output}}");

    CopiableSList<CSPICEparam>& params = member.GetParmList();
    ASSERT_EQ(params.GetCount(), 2u);
    EXPECT_EQ(params[0].GetName(), "resistance");
    EXPECT_EQ(params[0].GetValue().GetDouble(), 2e3);
    EXPECT_TRUE(params[0].IsInputMode() && params[0].IsOutputMode());
    EXPECT_FALSE(params[1].IsInputMode());
    EXPECT_EQ(member.FindParameter("I")->GetValue().GetDouble(), 0.5);
    EXPECT_FALSE(member.FindParameter("tc1").has_value());

    // The circuit changed: the record is stale until the member is told.
    engine.Circuit()
        .FindDevice("Resistor")
        .FindModel(engine.Circuit(), "rmod")
        .FindInstance("r2")
        .SetParameterValue("resistance", CPropertyItem("x", 3e3));
    EXPECT_EQ(member.FindParameter("resistance")->GetValue().GetDouble(), 2e3);
    member.SetUpdateFlag();
    EXPECT_EQ(member.FindParameter("resistance")->GetValue().GetDouble(), 3e3);

    // A model named alone, and names that must all agree.
    CSPICEdevMember model;
    EXPECT_EQ(model.fromPropertyList(ParseRecord("model:string{dmod} isinst:int{0}"),
                                     CSpiceDevice_generic_iterator_wrapper()),
              1);
    EXPECT_EQ(model.GetDeviceName(), "Diode");
    EXPECT_EQ(model.GetName(), "dmod") << "a model position names the model";
    EXPECT_EQ(model.toPropertyList(0).GetList(),
              "device:string{Diode} model:string{dmod} isinst:int{0} "
              "param:list{name:string{is} value:double{1e-14} "
              "description:string{Saturation current} mode:string{InputOutput}}");
    CSPICEdevMember wrongDevice;
    wrongDevice.fromPropertyList(ParseRecord("device:string{Diode} name:string{r2}"),
                                 CSpiceDevice_generic_iterator_wrapper());
    EXPECT_FALSE(wrongDevice.IsResolved());
    CSPICEdevMember noModelName;
    noModelName.fromPropertyList(ParseRecord("device:string{Diode} isinst:int{0}"),
                                 CSpiceDevice_generic_iterator_wrapper());
    EXPECT_FALSE(noModelName.IsResolved()) << "a model reference needs its model's name";
}

TEST(CSPICEdevMember, ReadingSkipsMistypedKeysAndFlagsUnknownOnes) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());
    CSPICEdevMember member;
    const CPropertyList record =
        ParseRecord("name:string{v1} model:int{3} colour:string{red} instance:string{old} "
                    "param:list{name:string{dc} value:double{5}} isinst:string{0}");
    EXPECT_EQ(member.fromPropertyList(record, CSpiceDevice_generic_iterator_wrapper()), 0);
    EXPECT_TRUE(member.IsResolved()) << "the known items still count";
    EXPECT_EQ(member.IsInstance(), 1);
    EXPECT_EQ(member.GetDeviceName(), "Vsource");
    EXPECT_EQ(member.toPropertyList(0).GetList(),
              "device:string{Vsource} name:string{v1} isinst:int{1} "
              "param:list{name:string{dc} value:double{5} description:string{DC value} "
              "mode:string{InputOutput}}")
        << "an empty model name is left out";
    EXPECT_EQ(member.GetParmList().GetCount(), 1u);
}

TEST(CSPICEdevMember, WithoutACircuitTheRecordKeepsTheStoredNames) {
    CSPICEdevMember member;
    const CPropertyList record =
        ParseRecord("device:string{Resistor} model:string{rmod} name:string{r2} isinst:int{1}");
    EXPECT_EQ(member.fromPropertyList(record, CSpiceDevice_generic_iterator_wrapper()), 1);
    EXPECT_FALSE(member.IsResolved());
    EXPECT_EQ(member.toPropertyList(0).GetList(), record.GetList());
    EXPECT_TRUE(member.GetParmList().IsEmpty());

    CSPICEdevMember fresh;
    EXPECT_EQ(fresh.toPropertyList(0).GetList(), "isinst:int{1}");
    CSPICEdevMember isource;
    isource.fromPropertyList(ParseRecord("device:string{isource} name:string{i1}"),
                             CSpiceDevice_generic_iterator_wrapper());
    EXPECT_TRUE(isource.IsCurrentSource());
    EXPECT_FALSE(isource.IsVoltageSource());
}

TEST(CSPICEdevMember, WalksForwardFromAGivenPosition) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());
    const CSpiceDevice resistors = engine.Circuit().FindDevice("Resistor");
    const CSpiceDevice_generic_iterator_wrapper atR1(CSpiceDevice::generic_iterator(resistors, 1));

    CSPICEdevMember ahead;
    ahead.fromPropertyList(ParseRecord("name:string{r2}"), atR1);
    EXPECT_TRUE(ahead.IsResolved());
    EXPECT_EQ(ahead.GetName(), "r2");

    CSPICEdevMember r1;
    r1.fromPropertyList(ParseRecord("name:string{r1}"), atR1);
    EXPECT_EQ(r1.GetName(), "r1");

    // A position past the element: the walk ends without it.
    CSpiceDevice_generic_iterator_wrapper atR2 = atR1;
    ++atR2;
    CSPICEdevMember behind;
    behind.fromPropertyList(ParseRecord("name:string{r1}"), atR2);
    EXPECT_FALSE(behind.IsResolved());
    EXPECT_EQ(behind.GetName(), "r1");
}

TEST(CSPICEdevMember, CopiesTakeNamesOnlyFromNamedReferences) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());
    CSPICEdevMember r2;
    r2.fromPropertyList(ParseRecord("name:string{r2}"), CSpiceDevice_generic_iterator_wrapper());

    const CSPICEdevMember copy(r2);
    EXPECT_TRUE(copy.GetPosition().IsSamePosition(r2.GetPosition()));
    EXPECT_EQ(copy.GetStringModelName(), "rmod") << "the live names are stored in the copy";
    EXPECT_EQ(copy.GetStringDeviceName(), "Resistor");

    CSPICEdevMember target;
    target.SetName("keep");
    target.SetModelName("mine");
    CSPICEdevMember unnamedModel;
    unnamedModel.fromPropertyList(ParseRecord("device:string{Diode} isinst:int{0}"),
                                  CSpiceDevice_generic_iterator_wrapper());
    target = unnamedModel;
    EXPECT_EQ(target.GetStringName(), "keep");
    EXPECT_EQ(target.GetStringModelName(), "mine");
    EXPECT_EQ(target.IsInstance(), 0) << "everything but the names is copied";

    target = r2;
    EXPECT_EQ(target.GetStringName(), "r2");
    EXPECT_EQ(target.GetStringModelName(), "rmod");
}

TEST(CSPICEdevMember, FindsItsElementAgainAfterTheCircuitIsRebuilt) {
    CircuitEngine engine;
    FillDivider(engine.Circuit());
    CSPICEdevMember r2;
    r2.fromPropertyList(ParseRecord("name:string{r2} isinst:int{1}"),
                        CSpiceDevice_generic_iterator_wrapper());
    const CSPICEdevMember pinned(r2); // full names stored

    // Rebuild: the old position reads the old circuit until the member moves.
    CSpiceCircuit rebuilt = engine.Session().NewCircuit();
    EXPECT_EQ(rebuilt.GetDeviceCount(), 3) << "the table of device kinds survives";
    rebuilt.AddDevice("Resistor").AddModel("rmod2").AddInstance("r2", {{"resistance", 4.7e3}});
    EXPECT_EQ(r2.GetModelName(), "rmod");
    EXPECT_EQ(r2.MoveToCurrentName(), 1);
    EXPECT_EQ(r2.GetModelName(), "rmod2") << "the stored model name was empty: any model";
    EXPECT_EQ(r2.FindParameter("resistance")->GetValue().GetDouble(), 4.7e3);

    CSPICEdevMember moved = pinned;
    EXPECT_EQ(moved.MoveToCurrentName(), 0) << "r2 is no longer on rmod";
    EXPECT_EQ(moved.GetModelName(), "rmod");
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
    EXPECT_TRUE(there.IsResolved());
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
    EXPECT_EQ(param.GetName(), "R");
    EXPECT_EQ(param.GetValue().GetField(), "value:double{1e+10}");
    EXPECT_TRUE(param.IsInputMode() && param.IsOutputMode());
    EXPECT_EQ(param.toPropertyList().GetList(), record.GetList());

    // No value: an empty value item, whatever the parameter held before.
    EXPECT_EQ(param.fromPropertyList(ParseRecord("name:string{tc1} mode:string{Output} x:int{1}")),
              0);
    EXPECT_EQ(param.GetName(), "tc1");
    EXPECT_TRUE(param.GetValue().IsEmpty());
    EXPECT_TRUE(param.IsOutputMode());
    EXPECT_FALSE(param.IsInputMode());
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

    std::vector<std::string> viaRange;
    const CSPICEdevMemberList& constModels = models;
    for (const CSPICEdevMember& m : constModels)
        viaRange.push_back(m.GetModelName().str());
    EXPECT_EQ(viaRange.size(), 5u);

    CircuitEngine onlyExcluded;
    CSpiceCircuit c2 = onlyExcluded.Circuit();
    for (int i = 0; i < 9; ++i)
        c2.AddDevice(CString::Formatted("k%d", i)).AddModel("m").AddInstance("i");
    CSPICEdevMemberList list2(onlyExcluded, 1);
    EXPECT_EQ(Names(list2).size(), 8u) << "kind 8 is left out";
    CSPICEdevMemberList noEngine;
    EXPECT_FALSE(CSPICEdevMemberList::iterator(noEngine));
}

TEST(CParamNode, ReadsAndWritesAtSignNotation) {
    CParamNode node;
    EXPECT_EQ(node.fromString("@@r1[resistance]"), CParamNode::ModelParam);
    EXPECT_EQ(node.GetName(), "r1");
    EXPECT_EQ(node.GetParam(), "resistance");
    EXPECT_EQ(node.toString(), "@@r1[resistance]");

    EXPECT_EQ(node.fromString("  @  q1[  ic] tail"), CParamNode::InstanceParam);
    EXPECT_EQ(node.GetName(), "q1");
    EXPECT_EQ(node.GetParam(), "ic");
    EXPECT_EQ(node.toString(), "@q1[ic]");

    EXPECT_EQ(node.fromString("out"), CParamNode::PlainNode);
    EXPECT_EQ(node.GetName(), "q1") << "a plain node leaves name and param alone";
    EXPECT_EQ(node.toString(), "");

    EXPECT_EQ(node.fromString("@r2"), CParamNode::InstanceParam);
    EXPECT_EQ(node.GetName(), "r2");
    EXPECT_EQ(node.GetParam(), "");
    node.fromString("@d1[id");
    EXPECT_EQ(node.GetParam(), "id") << "an unclosed bracket runs to the end";
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
    ASSERT_EQ(names.GetCount(), 3u);
    EXPECT_EQ(names[1], CSpiceNodeName("@r1[i]", 5, CSpiceNodeName::Saved));
    EXPECT_EQ(names[2].GetName(), "@@dmod[is]");

    names.AddName("@q1[ic]", 4, CSpiceNodeName::IPlot);
    CParamNodeList back;
    EXPECT_EQ(back.addFromNodeList(names, 5, 0), 2) << "kind 5 only; v(in) is no parameter";
    EXPECT_EQ(back.addFromNodeList(names, -1, CSpiceNodeName::IPlot), 1);
    ASSERT_EQ(back.GetCount(), 3u);
    EXPECT_EQ(*back[1].node, CParamNode("dmod", "is", CParamNode::ModelParam));
    EXPECT_EQ(back[2].node->toString(), "@q1[ic]");
    EXPECT_EQ(back.addFromNodeList(names, 9, 0), 0);
}
