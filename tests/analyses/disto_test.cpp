// Distortion analysis: optional second tone, the kept key spellings, persistence.
#include "analyses/single/disto.h"

#include <gtest/gtest.h>

namespace {

using Disto = Analyses::Disto;

constexpr const char* kDefaultCommand =
    "-param vscale log; -param hscale log; -param hrange 1 1e+10; disto  -env-options dec 10 1 "
    "1e+10 ";

CString Command(const Disto& d) {
    return d.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
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
    return CPropertyItem("DISTO", outer);
}

std::string Settings(const Analyses::Analysis& a) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    a.toReadableText(log, nullptr,
                     Analyses::Analysis::TT_SETTINGS | Analyses::Analysis::TT_NO_HEADING, nullptr);
    return ctrl.ToText();
}

TEST(DistoAnalysis, RatioIsAppendedOnlyWhenInUse) {
    Disto d;
    EXPECT_EQ(Command(d), kDefaultCommand);
    d.SetUseF2overF1(1);
    EXPECT_EQ(Command(d), CString(kDefaultCommand) + " 0.1");
    d.SetF2overF1(0.9);
    EXPECT_EQ(Command(d), CString(kDefaultCommand) + " 0.9");
    d.SetUseF2overF1(0);
    EXPECT_EQ(Command(d), kDefaultCommand);
}

TEST(DistoAnalysis, SummaryShowsTheRatioOnlyWhenInUse) {
    Disto d;
    d.SetF2overF1(0.25);
    const std::string without = Settings(d);
    EXPECT_EQ(without.find("F2/F1"), std::string::npos);
    EXPECT_NE(without.find("  Frequency Parameters\n"), std::string::npos);
    d.SetUseF2overF1(1);
    EXPECT_EQ(Settings(d).rfind("Analysis settings\n  F2/F1: 0.25\n  Frequency Parameters\n", 0),
              0u);
}

TEST(DistoAnalysis, UnusedRatioIsStillPersistedUnderItsKeptKeys) {
    Disto d;
    d.SetF2overF1(0.9);
    const CPropertyList list = AnalysisList(d);
    ASSERT_EQ(list.GetCount(), 3);
    CPropertyItem item;
    list.GetNth(0, item);
    EXPECT_EQ(item.GetLabel(), "FREQ_OPT");
    EXPECT_EQ(item.GetTypeOfValue(), CPropertyItem::List);
    list.GetNth(1, item);
    EXPECT_EQ(item.GetField(), "USE_F1OVERF2:int{0}");
    list.GetNth(2, item);
    EXPECT_EQ(item.GetField(), "F1OVERF2:double{0.9}");
}

TEST(DistoAnalysis, SettingsSurviveARoundTrip) {
    Disto d;
    d.SetVariation(AcAnalysis::Variation(1));
    d.SetNpoints_per_variation(20);
    d.SetFstart(100);
    d.SetFstop(1e6);
    d.SetF2overF1(0.45);
    d.SetUseF2overF1(1);

    CPropertyItem stored;
    ASSERT_EQ(CPropertyList(d.toPropertyItem().GetField()).GetNth(0, stored), 1);
    Disto copy;
    ASSERT_EQ(copy.fromPropertyItem(stored), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), d.toPropertyItem().GetField());
    EXPECT_EQ(Command(copy), Command(d));
    EXPECT_EQ(copy.GetFstop(), 1e6);
}

TEST(DistoAnalysis, ReaderSkipsWrongTypesAndReportsUnknownKeys) {
    Disto d;
    EXPECT_EQ(d.fromPropertyItem(Record("F1OVERF2:int{3} F2OVERF1:double{0.5} "
                                        "USE_F1OVERF2:int{1} FREQ_OPT:string{x} "
                                        "FREQ_OPT:list{FSTOP:double{1000}}")),
              0);
    EXPECT_EQ(d.GetF2overF1(), 0.1);
    EXPECT_EQ(d.GetUseF2overF1(), 1);
    EXPECT_EQ(d.GetFstop(), 1000);
}

} // namespace
