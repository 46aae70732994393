// Transfer function analysis: output forms, trimming, persistence, summary.
#include "analyses/single/tf.h"

#include <gtest/gtest.h>

namespace {

using Tf = Analyses::Tf;

CString Command(const Tf& tf) {
    return tf.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
}

CString AnalysisListText(const Analyses::Analysis& a) {
    const CPropertyItem whole = a.toPropertyItem();
    for (const CPropertyItem& item : whole.GetPropertyList())
        if (item.GetLabel() == "ANALYSIS")
            return item.GetPropertyList().GetList();
    return "<no ANALYSIS item>";
}

CPropertyItem Record(const char* analysisList) {
    CPropertyList outer;
    outer.AddItem(CPropertyItem("ANALYSIS", CPropertyList(analysisList)));
    return CPropertyItem("TF", outer);
}

std::string Settings(const Analyses::Analysis& a) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    a.toReadableText(log, nullptr,
                     Analyses::Analysis::TT_SETTINGS | Analyses::Analysis::TT_NO_HEADING, nullptr);
    return ctrl.ToText();
}

TEST(TfAnalysis, OutputIsAVoltageUnlessANamedCurrentSourceIsUsed) {
    Tf tf;
    EXPECT_EQ(Command(tf), "tf  -env-options v($0,$0) $0 ");

    tf.SetOutputNode("out");
    tf.SetInputRefSource("vin");
    EXPECT_EQ(Command(tf), "tf  -env-options v(out,$0) vin ");

    tf.SetUseCurrentSource(1);
    EXPECT_EQ(Command(tf), "tf  -env-options v(out,$0) vin ");
    tf.SetCurrentSource("vsense");
    EXPECT_EQ(Command(tf), "tf  -env-options i(vsense) vin ");
    tf.SetUseCurrentSource(0);
    tf.SetOutputRefNode("ref");
    EXPECT_EQ(Command(tf), "tf  -env-options v(out,ref) vin ");
}

TEST(TfAnalysis, SettersTrimButStoredNamesAreKeptAsRead) {
    Tf tf;
    tf.SetInputRefSource("  vin\t");
    tf.SetCurrentSource(" vs ");
    tf.SetOutputNode(" out ");
    tf.SetOutputRefNode("\tref ");
    EXPECT_EQ(tf.GetInputRefSource(), "vin");
    EXPECT_EQ(tf.GetCurrentSource(), "vs");
    EXPECT_EQ(tf.GetOutputNode(), "out");
    EXPECT_EQ(tf.GetOutputRefNode(), "ref");

    Tf read;
    ASSERT_EQ(read.fromPropertyItem(Record("OutputNode:string{ out } InputRefSource:string{ v1}")),
              1);
    EXPECT_EQ(read.GetOutputNode(), " out ");
    EXPECT_EQ(read.GetInputRefSource(), " v1");
}

TEST(TfAnalysis, SummaryShowsTheChosenOutput) {
    Tf tf;
    tf.SetInputRefSource("vin");
    tf.SetOutputNode("out");
    EXPECT_EQ(Settings(tf), "Analysis settings\n"
                            "  Input source: vin\n"
                            "  Output node: out\n"
                            "  Output reference node: $0\n");
    tf.SetUseCurrentSource(1);
    EXPECT_EQ(Settings(tf), "Analysis settings\n"
                            "  Input source: vin\n"
                            "  Output current source: $0\n");
}

TEST(TfAnalysis, SettingsSurviveARoundTripInKeyOrder) {
    Tf tf;
    tf.SetNodeFilterInputRefSource(Analyses::NF_SOURCES);
    tf.SetNodeFilterCurrentSource(Analyses::NF_DEVICES);
    tf.SetNodeFilterOutputNode(Analyses::NF_VOLTAGES);
    tf.SetNodeFilterOutputRefNode(Analyses::NF_CURRENTS);
    tf.SetInputRefSource("vin");
    tf.SetCurrentSource("vsense");
    tf.SetOutputNode("out");
    tf.SetOutputRefNode("ref");
    tf.SetUseCurrentSource(1);
    EXPECT_EQ(AnalysisListText(tf),
              "NodeFilterInputRefSource:int{4} NodeFilterCurrentSource:int{8} "
              "NodeFilterOutputNode:int{1} NodeFilterOutputRefNode:int{2} "
              "InputRefSource:string{vin} CurrentSource:string{vsense} OutputNode:string{out} "
              "OutputRefNode:string{ref} UseCurrentSource:int{1}");

    CPropertyItem stored;
    ASSERT_EQ(CPropertyList(tf.toPropertyItem().GetField()).GetNth(0, stored), 1);
    Tf copy;
    ASSERT_EQ(copy.fromPropertyItem(stored), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), tf.toPropertyItem().GetField());
    EXPECT_EQ(Command(copy), "tf  -env-options i(vsense) vin ");
}

TEST(TfAnalysis, ReaderSkipsWrongTypesAndReportsUnknownKeys) {
    Tf tf;
    EXPECT_EQ(tf.fromPropertyItem(Record("OutputNode:int{4} Unknown:string{x} "
                                         "UseCurrentSource:string{1} CurrentSource:string{vs} "
                                         "NodeFilterOutputNode:int{16}")),
              0);
    EXPECT_EQ(tf.GetOutputNode(), "");
    EXPECT_EQ(tf.GetUseCurrentSource(), 0);
    EXPECT_EQ(tf.GetCurrentSource(), "vs");
    EXPECT_EQ(tf.GetNodeFilterOutputNode(), Analyses::NF_PARAMETERS);
}

} // namespace
