// DC sweep analysis: nested-source command, full script mask, persistence order, summary.
#include "analyses/single/dc_sweep.h"

#include "analyses/single/tf.h"

#include <gtest/gtest.h>

namespace {

using DcSweep = Analyses::DcSweep;

CString Command(const DcSweep& dc) {
    return dc.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
}

CString AnalysisListText(const Analyses::Analysis& a) {
    const CPropertyItem record = a.toPropertyItem();
    for (const CPropertyItem& item : record.GetPropertyList())
        if (item.GetLabel() == "ANALYSIS")
            return item.GetPropertyList().GetList();
    return "<no ANALYSIS item>";
}

CPropertyItem Record(const char* analysisList) {
    CPropertyList outer;
    outer.AddItem(CPropertyItem("ANALYSIS", CPropertyList(analysisList)));
    return CPropertyItem("DC_SWEEP", outer);
}

std::string Settings(const Analyses::Analysis& a) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    a.toReadableText(log, nullptr,
                     Analyses::Analysis::TT_SETTINGS | Analyses::Analysis::TT_NO_HEADING, nullptr);
    return ctrl.ToText();
}

TEST(DcSweepAnalysis, SecondSourceIsCommandedOnlyWhenUsed) {
    DcSweep dc;
    EXPECT_EQ(Command(dc), "dc  -env-options $0 0 1 0.5");
    dc.SetSource1("vv1");
    EXPECT_EQ(Command(dc), "dc  -env-options vv1 0 1 0.5");

    dc.SetSource2("vbias");
    dc.SetStart2(-2);
    EXPECT_EQ(Command(dc), "dc  -env-options vv1 0 1 0.5");
    dc.SetUseSource2(1);
    EXPECT_EQ(Command(dc), "dc  -env-options vv1 0 1 0.5 vbias -2 1 0.5");
    dc.SetSource2("");
    dc.SetStart1(-1.5);
    dc.SetStop1(2.5e3);
    dc.SetIncrement1(0.25);
    EXPECT_EQ(Command(dc), "dc  -env-options vv1 -1.5 2500 0.25 $0 -2 1 0.5");
}

TEST(DcSweepAnalysis, ScriptKeepsThePlotSetupFlag) {
    // With the flag, a plot set-up that saves every candidate says "all".
    DcSweep dc;
    dc.SetSource1("vv1");
    dc.GetAnalysisNodes().SetNodesString("a b");
    const CString script = dc.toNutmegCommand(-1);
    EXPECT_EQ(script.Find("begin-scope page "), 0);
    EXPECT_NE(script.Find("save all"), -1) << script.c_str();
    EXPECT_NE(script.Find("dc  -env-options vv1 0 1 0.5"), -1);

    Analyses::Tf tf;
    tf.GetAnalysisNodes().SetNodesString("a b");
    const CString plain = tf.toNutmegCommand(-1);
    EXPECT_EQ(plain.Find("save all"), -1) << plain.c_str();
    EXPECT_NE(plain.Find("save a b"), -1) << plain.c_str();
}

TEST(DcSweepAnalysis, SettersTrimButStoredNamesAreKeptAsRead) {
    DcSweep dc;
    dc.SetSource1("  vv1 ");
    dc.SetSource2("\tvv2  ");
    EXPECT_EQ(dc.GetSource1(), "vv1");
    EXPECT_EQ(dc.GetSource2(), "vv2");

    EXPECT_EQ(dc.fromPropertyItem(Record("Source1:string{  vv1 } Source2:string{ x}")), 1);
    EXPECT_EQ(dc.GetSource1(), "  vv1 ");
    EXPECT_EQ(dc.GetSource2(), " x");
}

TEST(DcSweepAnalysis, PersistsTheSecondNameBeforeItsFilter) {
    DcSweep dc;
    EXPECT_EQ(AnalysisListText(dc),
              "NodeFilterSource1:int{0} Source1:string{} Start1:double{0} Stop1:double{1} "
              "Increment1:double{0.5} UseSource2:int{0} Source2:string{} NodeFilterSource2:int{0} "
              "Start2:double{0} Stop2:double{1} Increment2:double{0.5}");

    dc.SetNodeFilterSource1(Analyses::NF_SOURCES);
    dc.SetSource1("vin");
    dc.SetStart1(-5);
    dc.SetStop1(5);
    dc.SetIncrement1(0.1);
    dc.SetUseSource2(1);
    dc.SetNodeFilterSource2(Analyses::NF_DEVICES);
    dc.SetSource2("ibias");
    dc.SetStart2(1e-6);
    dc.SetStop2(1e-3);
    dc.SetIncrement2(1e-4);
    dc.SetPlotTitle("Transfer curve");
    DcSweep copy;
    EXPECT_EQ(copy.fromPropertyItem(dc.toPropertyItem()), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), dc.toPropertyItem().GetField());
    EXPECT_EQ(Command(copy), "dc  -env-options vin -5 5 0.1 ibias 1e-06 0.001 0.0001");
    EXPECT_EQ(copy.GetNodeFilterSource2(), Analyses::NF_DEVICES);
}

TEST(DcSweepAnalysis, ReaderSkipsWrongTypesAndGoesOnAfterUnknownKeys) {
    DcSweep dc;
    EXPECT_EQ(dc.fromPropertyItem(Record("Start1:int{3} UseSource2:double{1} Source1:int{4} "
                                         "NodeFilterSource1:string{2}")),
              1);
    EXPECT_EQ(dc.GetStart1(), 0.0);
    EXPECT_EQ(dc.GetUseSource2(), 0);
    EXPECT_EQ(dc.GetSource1(), "");
    EXPECT_EQ(dc.GetNodeFilterSource1(), Analyses::NF_NONE);

    EXPECT_EQ(dc.fromPropertyItem(
                  Record("Start3:double{3} start1:double{9} Stop2:double{7} UseSource2:int{1}")),
              0);
    EXPECT_EQ(dc.GetStop2(), 7.0);
    EXPECT_EQ(dc.GetUseSource2(), 1);
    EXPECT_EQ(dc.GetStart1(), 0.0);
}

TEST(DcSweepAnalysis, SummaryHasOneExpandedGroupPerSweptSource) {
    DcSweep dc;
    dc.SetSource1("vv1");
    dc.SetSource2("vv2");
    EXPECT_EQ(Settings(dc), "Analysis settings\n"
                            "  DC Sweep for source #1\n"
                            "    Source: vv1\n"
                            "    Start Value: 0\n"
                            "    Stop Value: 1\n"
                            "    Increment Value: 0.5\n");

    dc.SetUseSource2(1);
    dc.SetSource2("");
    dc.SetIncrement2(2e-3);
    EXPECT_EQ(Settings(dc), "Analysis settings\n"
                            "  DC Sweep for source #1\n"
                            "    Source: vv1\n"
                            "    Start Value: 0\n"
                            "    Stop Value: 1\n"
                            "    Increment Value: 0.5\n"
                            "  DC Sweep for source #2\n"
                            "    Source: $0\n"
                            "    Start Value: 0\n"
                            "    Stop Value: 1\n"
                            "    Increment Value: 0.002\n");

    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    _TREEITEM* settings = dc.toReadableText(log, nullptr, Analyses::Analysis::TT_SETTINGS, "");
    ASSERT_NE(settings, nullptr);
    ASSERT_EQ(settings->children.size(), 1u);
    for (const auto& group : settings->children[0]->children)
        EXPECT_TRUE(group->expanded) << group->text.c_str();
}

TEST(DcSweepAnalysis, ChoosesComponentsAndKeepsThatThroughReset) {
    DcSweep dc;
    EXPECT_EQ(dc.GetAnalysisNodes().GetMode(), Analyses::AnalysisNodes::Components);
    dc.reset();
    EXPECT_EQ(dc.GetAnalysisNodes().GetMode(), Analyses::AnalysisNodes::Components);
    EXPECT_EQ(dc.GetAnalysisNickname(), "DC_SWEEP");
    EXPECT_EQ(dc.GetType(), Analyses::AnalysisType::DcSweep);
    EXPECT_EQ(dc.GetNodeType(), 1);
    EXPECT_EQ(dc.GetOutputVariableClass(), 2);
}

} // namespace
