// Sensitivity analysis: command forms, the embedded proxy across copies and type switches,
// the embedded analysis in the record, summary.
#include "analyses/single/sens.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test;
using Sens = Analyses::Sens;
using Type = Analyses::AnalysisType;

/// The proxy must borrow this very object's embedded analysis.
void ExpectProxyOwnedBy(const Sens& s) {
    const Analysis* own =
        s.GetSensType() == Type::Ac ? static_cast<const Analysis*>(&s.GetAc()) : &s.GetOp();
    EXPECT_EQ(s.GetSensAnalysis().GetAnalysisPtr(), own);
}

TEST(SensAnalysis, CommandPutsAxesFirstAndSweepAfterTheOutput) {
    Sens s;
    EXPECT_EQ(CommandOf(s), "sens  -env-options v($0,$0) ");
    s.SetSensType(Type::Ac);
    s.SetOutputNode("out");
    s.SetUseCurrentSource(1); // without a name the output stays the voltage
    EXPECT_EQ(CommandOf(s), "-param vscale log; -param hscale log; -param hrange 1 1e+10; "
                            "sens  -env-options v(out,$0) ac dec 10 1 1e+10 ");
    EXPECT_EQ(s.GetOutputVariableClass(), OVC_SENS_CKTnames_ac);
    s.SetCurrentSource(" vsrc ");
    s.SetUseAbsoluteScaling(0);
    s.SetSensType(Type::Op);
    EXPECT_EQ(CommandOf(s), "sens  -env-options i(vsrc)  relative");
}

TEST(SensAnalysis, TypeSwitchesKeepTheAcSettings) {
    Sens s;
    ExpectProxyOwnedBy(s);
    s.SetSensType(Type::Ac);
    s.GetAc().SetFstart(10);
    s.SetSensType(Type::Op);
    ExpectProxyOwnedBy(s);
    s.SetSensType(Type::Ac);
    ExpectProxyOwnedBy(s);
    EXPECT_NE(CommandOf(s).Find("ac dec 10 10 1e+10 "), -1);
    // Any kind other than AC means the operating point.
    s.SetSensType(Type::Tran);
    EXPECT_EQ(s.GetSensType(), Type::Op);
}

TEST(SensAnalysis, CopiesPointAtTheirOwnEmbeddedAnalysis) {
    auto original = std::make_unique<Sens>();
    original->SetSensType(Type::Ac);
    original->GetAc().SetFstop(5e5);
    original->SetOutputNode("out");

    Sens constructed(*original);
    Sens assigned;
    assigned = *original;
    std::unique_ptr<Analysis> cloned(original->Clone());
    SensAnalysis settingsCopy(original->GetSettings());
    SensAnalysis settingsAssigned;
    settingsAssigned = original->GetSettings();
    const CString expected = CommandOf(*original);
    original.reset();

    const auto* clone = dynamic_cast<const Sens*>(cloned.get());
    for (const Sens* s : std::initializer_list<const Sens*>{&constructed, &assigned, clone}) {
        ASSERT_TRUE(s);
        ExpectProxyOwnedBy(*s);
        EXPECT_EQ(CommandOf(*s), expected);
    }
    for (const SensAnalysis* s : {&settingsCopy, &settingsAssigned}) {
        EXPECT_EQ(s->GetSensAnalysis().GetAnalysisPtr(), &s->GetAc());
        EXPECT_EQ(s->toNutmegCommand(), expected);
    }

    // Switching a copy leaves the others alone.
    constructed.SetSensType(Type::Op);
    EXPECT_EQ(assigned.GetSensType(), Type::Ac);
    EXPECT_EQ(constructed.GetAc().GetFstop(), 5e5);
}

TEST(SensAnalysis, ReadingTheEmbeddedRecordSelectsItAndSkipsWrongTypes) {
    Sens source;
    source.SetSensType(Type::Ac);
    source.GetAc().SetFstart(42);
    Sens s;
    ASSERT_EQ(s.fromPropertyItem(ParseItem(source.toPropertyItem().GetField())), 1);
    EXPECT_EQ(s.GetSensType(), Type::Ac);
    ExpectProxyOwnedBy(s);
    EXPECT_EQ(s.GetAc().GetFstart(), 42);
    // An operating-point record switches an AC object back.
    ASSERT_EQ(s.fromPropertyItem(Sens().toPropertyItem()), 1);
    EXPECT_EQ(s.GetSensType(), Type::Op);
    ExpectProxyOwnedBy(s);

    CPropertyList list("OutputNode:int{3} Unknown:int{1} UseAbsoluteScaling:string{0} "
                       "AC:string{x} CurrentSource:string{ vs }");
    list.AddItem(source.GetSensAnalysis().toPropertyItem());
    EXPECT_EQ(s.fromPropertyItem(Record("SENS", list)), 0);
    // Only the voltage output, absolute scaling and the AC sweep that was read are commanded.
    EXPECT_EQ(CommandOf(s), "-param vscale log; -param hscale log; -param hrange 42 1e+10; "
                            "sens  -env-options v($0,$0) ac dec 10 42 1e+10 ");
    EXPECT_EQ(s.GetCurrentSource(), " vs ");
    // A bad embedded record fails the reading but still selects its analysis.
    EXPECT_EQ(s.fromPropertyItem(Record("SENS", "OP:list{BOGUS:int{1}}")), 0);
    EXPECT_EQ(s.GetSensType(), Type::Op);
}

TEST(SensAnalysis, SummaryShowsOutputScalingAndTheAnalysisInUse) {
    Sens s;
    s.SetOutputNode("out");
    EXPECT_EQ(ReadableOf(s.GetSettings())
                  .rfind("Output node: out\nOutput reference node: $0\nOutput scaling: Absolute\n"
                         "DC operating point\n",
                         0),
              0u);
    s.SetUseCurrentSource(1);
    s.SetUseAbsoluteScaling(0);
    s.SetSensType(Type::Ac);
    EXPECT_EQ(ReadableOf(s.GetSettings())
                  .rfind("Current source: $0\nOutput scaling: Relative\nAC Analysis\n", 0),
              0u);
}

} // namespace
