// The in-memory circuit: building, look-ups, handles that survive growth and rebuilds,
// iterators, positions and parameter records; plot ranges, axes and grapher pages.
#include "platform/grapher.h"
#include "platform/minmax.h"
#include "platform/spice_circuit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Walk(CSpiceDevice::generic_iterator it) {
    std::vector<std::string> names;
    for (; it.IsValid(); it.Advance())
        names.push_back(
            (it.IsInstance() ? it.GetInternalInstance().GetName() : it.GetInternalModel().GetName())
                .str() +
            "@" + it.GetModel().GetName().str());
    return names;
}

} // namespace

TEST(CSpiceCircuit, BuildsAndFindsElementsIgnoringCase) {
    CSpiceSession session;
    CSpiceCircuit circuit = session.GetCurrentCircuit();
    circuit.AddDevice("Resistor")
        .AddModel("rmod", {{"tc1", 0.0, "First order temp. coefficient", "Input"}})
        .AddInstance("r1", {{"resistance", 1e3}})
        .AddInstance("r2");
    circuit.AddDevice("Capacitor");
    EXPECT_EQ(circuit.AddDevice("RESISTOR").GetIndex(), 0) << "kinds are unique";
    EXPECT_EQ(circuit.GetDeviceCount(), 2);

    const CSpiceCircuit again(session.GetInstanceHandle());
    EXPECT_TRUE(again.IsSameCircuit(circuit));
    const CSpiceDevice resistor = again.FindDevice("resistor");
    EXPECT_EQ(resistor, CSpiceDevice(0, session));
    const CSpiceModel rmod = resistor.FindModel(again, "RMOD");
    EXPECT_EQ(rmod.GetDevice().GetName(), "Resistor");
    const CSpiceInstance r1 = rmod.FindInstance("R1");
    EXPECT_EQ(r1.GetName(), "r1");
    EXPECT_EQ(r1.GetModel(), rmod);

    // Misses give invalid handles that answer empty.
    EXPECT_FALSE(again.FindDevice("Diode").IsValid());
    EXPECT_FALSE(CSpiceDevice(7, again).IsValid());
    const CSpiceInstance none = resistor.FindModel(again, "dmod").FindInstance("r1");
    EXPECT_FALSE(none.IsValid());
    EXPECT_TRUE(none.GetParameters().empty());
    EXPECT_EQ(CSpiceInstance().SetParameterValue("x", CPropertyItem("v", 1.0)), 0);
}

TEST(CSpiceCircuit, HandlesStayValidWhileTheCircuitGrowsAndAfterARebuild) {
    CSpiceSession session;
    CSpiceCircuit circuit = session.GetCurrentCircuit();
    CSpiceDevice resistor = circuit.AddDevice("Resistor");
    const CSpiceInstance r1 = resistor.AddModel("rmod").AddInstance("r1").FindInstance("r1");
    for (int i = 0; i < 50; ++i)
        resistor.AddModel(CString::Formatted("m%d", i)).AddInstance("x");
    resistor.GetModel(0).AddInstance("r2");
    circuit.AddDevice("Diode").AddModel("dmod");
    EXPECT_EQ(r1.GetModel().GetInstanceCount(), 2);

    // Values change in place and new parameters are appended.
    CSpiceInstance handle = r1;
    EXPECT_EQ(handle.SetParameterValue("resistance", CPropertyItem("anything", "2k")), 1);
    EXPECT_EQ(handle.SetParameterValue("RESISTANCE", CPropertyItem("v", 4.7e3)), 1);
    EXPECT_EQ(SpiceParameterRecords(r1.GetParameters()).GetList(),
              "param:list{name:string{resistance} value:double{4700} description:string{} "
              "mode:string{InputOutput}}");

    const CSpiceDevice_generic_iterator_wrapper atR1(CSpiceDevice::generic_iterator(resistor, 1));
    CSpiceCircuit rebuilt = session.NewCircuit();
    EXPECT_FALSE(rebuilt.IsSameCircuit(circuit));
    EXPECT_EQ(rebuilt.GetDevice(1).GetName(), "Diode");
    EXPECT_EQ(rebuilt.GetDevice(0).GetModelCount(), 0) << "the table stays, the models go";
    EXPECT_TRUE(atR1.IsValid()) << "old positions read the old circuit";
    EXPECT_EQ(atR1->GetInternalInstance().GetName(), "r1");
    EXPECT_TRUE(session.GetCurrentCircuit().IsSameCircuit(rebuilt));
}

TEST(CSpiceDeviceIterators, WalkModelsAndInstancesAndCopyIndependently) {
    CSpiceCircuit circuit;
    CSpiceDevice bjt = circuit.AddDevice("BJT");
    bjt.AddModel("empty1");
    bjt.AddModel("npn").AddInstance("q1").AddInstance("q2");
    bjt.AddModel("empty2");
    bjt.AddModel("pnp").AddInstance("q3");
    bjt.AddModel("empty3");

    EXPECT_EQ(Walk(CSpiceDevice::generic_iterator(bjt, 1)),
              (std::vector<std::string>{"q1@npn", "q2@npn", "q3@pnp"}));
    EXPECT_EQ(Walk(CSpiceDevice::generic_iterator(bjt, 0)),
              (std::vector<std::string>{"empty1@empty1", "npn@npn", "empty2@empty2", "pnp@pnp",
                                        "empty3@empty3"}));
    EXPECT_FALSE(CSpiceDevice::generic_iterator(circuit.AddDevice("Inductor"), 0).IsValid());

    CSpiceDevice_generic_iterator_wrapper a(CSpiceDevice::generic_iterator(bjt, 1));
    CSpiceDevice_generic_iterator_wrapper b = a;
    ++b;
    EXPECT_EQ(a->GetInternalInstance().GetName(), "q1") << "a copy moves on its own";
    EXPECT_EQ(b->GetInternalInstance().GetName(), "q2");
    EXPECT_FALSE(a.IsSamePosition(b));
    ++a;
    EXPECT_TRUE(a.IsSamePosition(b));
    for (int i = 0; i < 3; ++i)
        ++a;
    EXPECT_FALSE(a.IsValid()) << "advancing past the end stays there";
    EXPECT_TRUE(a.IsSamePosition(CSpiceDevice_generic_iterator_wrapper()));
    EXPECT_EQ(CSpiceDevice_generic_iterator_wrapper().IsInstance(), 0);
}

TEST(CSpiceParameter, RecordsCarryNameValueDescriptionAndMode) {
    const CSpiceParameterList params = {
        {"resistance", 1e3, "Resistance"},
        {"model", CPropertyItem("label", "rmod"), "", "Output"},
        {"unknown", CPropertyItem(), "no value yet", "Input"},
    };
    EXPECT_EQ(SpiceParameterRecords(params).GetList(),
              "param:list{name:string{resistance} value:double{1000} "
              "description:string{Resistance} mode:string{InputOutput}} "
              "param:list{name:string{model} value:string{rmod} description:string{} "
              "mode:string{Output}} "
              "param:list{name:string{unknown} description:string{no value yet} "
              "mode:string{Input}}");
    EXPECT_TRUE(SpiceParameterRecords({}).IsEmpty());
}

TEST(CGrapherPage, TracesTurnComplexWithoutLosingEarlierPoints) {
    CGrapherPage page("Parameter Sweep");
    CGrapherTrace& trace = page.AddTrace("v(out) r1=1k");
    for (int i = 0; i < 40; ++i)
        page.AddTrace(CString::Formatted("filler%d", i));
    trace.AddPoint(1.0, 0.5);
    trace.AddPoint(10.0, CComplex(0.25, -0.75));
    trace.AddPoint(100.0, 0.125);
    EXPECT_EQ(&trace, page.FindTrace("v(out) r1=1k")) << "references survive later traces";
    EXPECT_EQ(page.FindTrace("v(OUT) r1=1k"), nullptr);
    EXPECT_TRUE(trace.IsComplex());
    EXPECT_EQ(trace.re, (std::vector<double>{0.5, 0.25, 0.125}));
    EXPECT_EQ(trace.im, (std::vector<double>{0.0, -0.75, 0.0}));
    EXPECT_FALSE(page.GetTraces()[1].IsComplex());
}

namespace {

std::pair<double, double> Ends(const CMinMax& r) {
    return {r.GetMin(), r.GetMax()};
}

} // namespace

TEST(CMinMax, IsNullUntilTheFirstPointThenGrows) {
    CMinMax r;
    r.Add(std::nan(""));
    EXPECT_TRUE(r.IsNull()) << "a NaN is no point";
    r.Add(3.0);
    EXPECT_EQ(Ends(r), std::make_pair(3.0, 3.0));
    for (const double v : {-1.5, 7.25, 2.0, std::nan("")})
        r.Add(v);
    EXPECT_EQ(Ends(r), std::make_pair(-1.5, 7.25));
    EXPECT_EQ(Ends(CMinMax(9.0, -4.0)), std::make_pair(-4.0, 9.0));
    r.Reset();
    EXPECT_TRUE(r.IsNull());
    EXPECT_EQ(r, CMinMax());

    // Setting one end of a null range sets both.
    CMinMax a, b;
    a.SetMin(1e-3);
    EXPECT_EQ(Ends(a), std::make_pair(1e-3, 1e-3));
    a.SetMax(10.0);
    a.SetMin(-2.0);
    EXPECT_EQ(Ends(a), std::make_pair(-2.0, 10.0));
    b.SetMax(5.0);
    EXPECT_EQ(Ends(b), std::make_pair(5.0, 5.0));
    EXPECT_NE(a, b);
}

TEST(CGrapherAxes, ResetEmptiesRangesClearsFlagAndUnsetsScales) {
    const CGrapherAxes fresh;
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(fresh.GetRange(i).IsNull() && fresh.GetScale(i) == 4 && fresh.GetFlag() == 0);
    CGrapherAxes axes;
    axes.GetRange(0).Add(1.0);
    axes.GetRange(3).SetMax(1e6);
    axes.SetFlag(1);
    axes.SetScale(1, 2);
    axes.SetScale(3, 0);
    EXPECT_NE(axes, fresh);
    axes.Reset();
    EXPECT_EQ(axes, fresh);
}
