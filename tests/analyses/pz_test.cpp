// Pole-zero analysis: command words per transfer-function kind, persistence, summary.
#include "analyses/single/pz.h"

#include <gtest/gtest.h>

namespace {

using Pz = Analyses::Pz;

CString Command(const Pz& pz) {
    return pz.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
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
    return CPropertyItem("PZ", outer);
}

std::string Settings(const Analyses::Analysis& a) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    a.toReadableText(log, nullptr,
                     Analyses::Analysis::TT_SETTINGS | Analyses::Analysis::TT_NO_HEADING, nullptr);
    return ctrl.ToText();
}

TEST(PzAnalysis, NodesFollowTheTransferFunctionKind) {
    Pz pz;
    EXPECT_EQ(Command(pz), "pz  -env-options $0 $0 $0 $0 vol pz ");

    pz.SetInputPlus("in");
    pz.SetOutputPlus("out");
    pz.SetPZpart(Pz::Poles);
    EXPECT_EQ(Command(pz), "pz  -env-options in $0 out $0 vol pol ");

    pz.SetInputMinus("ref");
    pz.SetOutputMinus("gnd2");
    pz.SetPZpart(Pz::Zeros);
    pz.SetAnalysisType(Pz::Impedance);
    EXPECT_EQ(Command(pz), "pz  -env-options in ref out gnd2 cur zer ");
    pz.SetAnalysisType(Pz::InputImpedance);
    EXPECT_EQ(Command(pz), "pz  -env-options in ref in ref cur zer ");
    pz.SetAnalysisType(Pz::OutputImpedance);
    EXPECT_EQ(Command(pz), "pz  -env-options out gnd2 out gnd2 cur zer ");
}

TEST(PzAnalysis, OutOfRangeKindAndPartActAsDefaults) {
    Pz pz;
    ASSERT_EQ(pz.fromPropertyItem(Record("PZpart:int{5} AnalysisType:int{7} InputPlus:string{a} "
                                         "OutputPlus:string{b}")),
              1);
    EXPECT_EQ(pz.GetPZpart(), 5);
    EXPECT_EQ(pz.GetAnalysisType(), 7);
    EXPECT_EQ(Command(pz), "pz  -env-options a $0 b $0 vol pz ");
    EXPECT_EQ(Settings(pz), "Analysis settings\n"
                            "  Analysis Type: Gain Analysis\n"
                            "  Analyses performed: Pole And Zero Analysis\n"
                            "  Input (+) node: a\n"
                            "  Input (-) node: $0\n"
                            "  Output (+) node: b\n"
                            "  Output (-) node: $0\n");
}

TEST(PzAnalysis, SummaryShowsOnlyThePortsInUse) {
    Pz pz;
    pz.SetInputPlus("i1");
    pz.SetOutputPlus("o1");
    pz.SetAnalysisType(Pz::OutputImpedance);
    pz.SetPZpart(Pz::Zeros);
    EXPECT_EQ(Settings(pz), "Analysis settings\n"
                            "  Analysis Type: Output Impedence\n"
                            "  Analyses performed: Zero Analysis\n"
                            "  Output (+) node: o1\n"
                            "  Output (-) node: $0\n");
    pz.SetAnalysisType(Pz::InputImpedance);
    pz.SetPZpart(Pz::Poles);
    EXPECT_EQ(Settings(pz), "Analysis settings\n"
                            "  Analysis Type: Input Impedance\n"
                            "  Analyses performed: Pole Analysis\n"
                            "  Input (+) node: i1\n"
                            "  Input (-) node: $0\n");
}

TEST(PzAnalysis, SettingsSurviveARoundTripInKeyOrder) {
    Pz pz;
    pz.SetNodeFilterInputPlus(Analyses::NF_VOLTAGES);
    pz.SetNodeFilterInputMinus(Analyses::NF_CURRENTS);
    pz.SetNodeFilterOutputPlus(Analyses::NF_SOURCES);
    pz.SetNodeFilterOutputMinus(Analyses::NF_ALL);
    pz.SetInputPlus("in");
    pz.SetInputMinus("inn");
    pz.SetOutputPlus("out");
    pz.SetOutputMinus("outn");
    pz.SetPZpart(Pz::Zeros);
    pz.SetAnalysisType(Pz::Impedance);
    EXPECT_EQ(AnalysisListText(pz),
              "NodeFilterInputPlus:int{1} NodeFilterInputMinus:int{2} NodeFilterOutputPlus:int{4} "
              "NodeFilterOutputMinus:int{31} InputPlus:string{in} InputMinus:string{inn} "
              "OutputPlus:string{out} OutputMinus:string{outn} PZpart:int{2} AnalysisType:int{1}");

    CPropertyItem stored;
    ASSERT_EQ(CPropertyList(pz.toPropertyItem().GetField()).GetNth(0, stored), 1);
    Pz copy;
    ASSERT_EQ(copy.fromPropertyItem(stored), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), pz.toPropertyItem().GetField());
    EXPECT_EQ(Command(copy), "pz  -env-options in inn out outn cur zer ");
}

TEST(PzAnalysis, ReaderSkipsWrongTypesAndReportsUnknownKeys) {
    Pz pz;
    EXPECT_EQ(pz.fromPropertyItem(Record("Bogus:int{1} InputPlus:int{3} OutputPlus:string{o} "
                                         "PZpart:string{1} AnalysisType:int{2}")),
              0);
    EXPECT_EQ(pz.GetInputPlus(), "");
    EXPECT_EQ(pz.GetOutputPlus(), "o");
    EXPECT_EQ(pz.GetPZpart(), Pz::PolesAndZeros);
    EXPECT_EQ(pz.GetAnalysisType(), Pz::InputImpedance);
}

} // namespace
