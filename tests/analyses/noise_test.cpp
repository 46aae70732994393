// Noise analysis: output forms, points per summary, persistence and summary.
#include "analyses/single/noise.h"

#include <gtest/gtest.h>

namespace {

using Noise = Analyses::Noise;

CString Command(const Noise& n) {
    return n.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
}

CPropertyList AnalysisList(const Analyses::Analysis& a) {
    const CPropertyItem whole = a.toPropertyItem();
    for (const CPropertyItem& item : whole.GetPropertyList())
        if (item.GetLabel() == "ANALYSIS")
            return item.GetPropertyList();
    return {};
}

CPropertyItem Record(const char* analysisList) {
    CPropertyList outer;
    outer.AddItem(CPropertyItem("ANALYSIS", CPropertyList(analysisList)));
    return CPropertyItem("NOISE", outer);
}

std::string Settings(const Analyses::Analysis& a) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    a.toReadableText(log, nullptr,
                     Analyses::Analysis::TT_SETTINGS | Analyses::Analysis::TT_NO_HEADING, nullptr);
    return ctrl.ToText();
}

TEST(NoiseAnalysis, OutputFormDependsOnTheReferenceNode) {
    Noise n;
    EXPECT_EQ(Command(n), "noise  -env-options v($0) $0 dec 10 1 1e+10 ");
    n.SetOutputNode("out");
    n.SetInputNoiseRefSource("vin");
    EXPECT_EQ(Command(n), "noise  -env-options v(out) vin dec 10 1 1e+10 ");
    n.SetReferenceNode("0");
    EXPECT_EQ(Command(n), "noise  -env-options v(out,0) vin dec 10 1 1e+10 ");
    n.SetReferenceNode("$0");
    EXPECT_EQ(Command(n), "noise  -env-options v(out) vin dec 10 1 1e+10 ");
}

TEST(NoiseAnalysis, PointsPerSummaryFollowTheirFlag) {
    Noise n;
    n.SetOutputNode("out");
    n.SetInputNoiseRefSource("vin");
    n.SetPointPerSummary(5);
    EXPECT_EQ(Command(n), "noise  -env-options v(out) vin dec 10 1 1e+10 ");
    EXPECT_EQ(n.GetOutputVariableClass(), OVC_NOISE_CKTnames_int);
    n.SetSetPointPerSummary(1);
    EXPECT_EQ(Command(n), "noise  -env-options v(out) vin dec 10 1 1e+10  5");
    EXPECT_EQ(n.GetOutputVariableClass(), OVC_NOISE_CKTnames_dens);
}

TEST(NoiseAnalysis, ListsComponentsAndTrimsNames) {
    Noise n;
    EXPECT_EQ(n.GetAnalysisNodes().GetMode(), 1);
    n.reset();
    EXPECT_EQ(n.GetAnalysisNodes().GetMode(), 1);
    EXPECT_EQ(Noise(n).GetAnalysisNodes().GetMode(), 1);

    n.SetOutputNode("  out ");
    n.SetReferenceNode("\tref");
    n.SetInputNoiseRefSource("vin  ");
    EXPECT_EQ(n.GetOutputNode(), "out");
    EXPECT_EQ(n.GetReferenceNode(), "ref");
    EXPECT_EQ(n.GetInputNoiseRefSource(), "vin");
}

TEST(NoiseAnalysis, SummaryShowsCountWithoutConsultingItsFlag) {
    Noise n;
    n.SetOutputNode("out");
    n.SetInputNoiseRefSource("vin");
    EXPECT_EQ(Settings(n).rfind("Analysis settings\n"
                                "  Input reference source: vin\n"
                                "  Output node: out\n"
                                "  Reference node: $0\n"
                                "  Points per summary: 1\n"
                                "  Frequency Parameters\n",
                                0),
              0u);
    n.SetPointPerSummary(0);
    EXPECT_EQ(Settings(n).find("Points per summary"), std::string::npos);
}

TEST(NoiseAnalysis, SettingsSurviveARoundTripInKeyOrder) {
    Noise n;
    n.SetNodeFilterInputNoiseRefSource(Analyses::NF_SOURCES);
    n.SetNodeFilterOutputNode(Analyses::NF_VOLTAGES);
    n.SetNodeFilterReferenceNode(Analyses::NF_ALL);
    n.SetInputNoiseRefSource("vin");
    n.SetOutputNode("out");
    n.SetReferenceNode("ref");
    n.SetSetPointPerSummary(1);
    n.SetPointPerSummary(7);
    n.SetVariation(AcAnalysis::Variation(2));
    n.SetNpoints_per_variation(101);

    const CPropertyList list = AnalysisList(n);
    ASSERT_EQ(list.GetCount(), 9);
    const char* const expected[] = {
        "NodeFilterInputRefSource:int{4}", "NodeFilterOutputNode:int{1}",
        "NodeFilterReferenceNode:int{31}", "InputRefSource:string{vin}",
        "OutputNode:string{out}",          "ReferenceNode:string{ref}",
        "SetPointsPerSummary:int{1}",      "PointsPerSummary:int{7}",
    };
    CPropertyItem item;
    for (int i = 0; i < 8; ++i) {
        list.GetNth(i, item);
        EXPECT_EQ(item.GetField(), expected[i]);
    }
    list.GetNth(8, item);
    EXPECT_EQ(item.GetLabel(), "FREQ_OPT");

    CPropertyItem stored;
    ASSERT_EQ(CPropertyList(n.toPropertyItem().GetField()).GetNth(0, stored), 1);
    Noise copy;
    ASSERT_EQ(copy.fromPropertyItem(stored), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), n.toPropertyItem().GetField());
    EXPECT_EQ(Command(copy), "noise  -env-options v(out,ref) vin lin 101 1 1e+10  7");
}

TEST(NoiseAnalysis, ReaderSkipsWrongTypesAndReportsUnknownKeys) {
    Noise n;
    EXPECT_EQ(n.fromPropertyItem(Record("OutputNode:int{1} Mystery:int{2} "
                                        "PointsPerSummary:double{3} ReferenceNode:string{ r } "
                                        "FREQ_OPT:list{FSTART:double{10}}")),
              0);
    EXPECT_EQ(n.GetOutputNode(), "");
    EXPECT_EQ(n.GetPointPerSummary(), 1);
    EXPECT_EQ(n.GetReferenceNode(), " r ");
    EXPECT_EQ(n.GetFstart(), 10);
}

} // namespace
