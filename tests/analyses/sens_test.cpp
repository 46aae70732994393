// Sensitivity analysis: command forms, the embedded proxy across copies and type
// switches, persistence of the embedded analysis, summary.
#include "analyses/single/sens.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Sens = Analyses::Sens;
using Type = Analyses::AnalysisType;

constexpr const char* kAxes = "-param vscale log; -param hscale log; -param hrange 1 1e+10; ";

CString Command(const Sens& s) {
    return s.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
}

CPropertyList AnalysisList(const Analyses::Analysis& a) {
    const CPropertyItem whole = a.toPropertyItem();
    for (const CPropertyItem& item : whole.GetPropertyList())
        if (item.GetLabel() == "ANALYSIS")
            return item.GetPropertyList();
    return {};
}

CPropertyItem Record(const CPropertyList& analysisList) {
    CPropertyList outer;
    outer.AddItem(CPropertyItem("ANALYSIS", analysisList));
    return CPropertyItem("SENS", outer);
}

/// The proxy must borrow this very object's embedded analysis.
void ExpectProxyOwnedBy(const Sens& s) {
    const Analyses::Analysis* target = s.GetSensAnalysis().GetAnalysisPtr();
    if (s.GetSensType() == Type::Ac)
        EXPECT_EQ(target, &s.GetAc());
    else
        EXPECT_EQ(target, &s.GetOp());
}

TEST(SensAnalysis, DefaultIsAbsoluteDcSensitivityOfGround) {
    Sens s;
    EXPECT_EQ(s.GetSensType(), Type::Op);
    EXPECT_EQ(s.GetOutputVariableClass(), OVC_SENS_CKTnames_op);
    EXPECT_EQ(Command(s), "sens  -env-options v($0,$0) ");
    ExpectProxyOwnedBy(s);
}

TEST(SensAnalysis, AcCommandPutsAxesFirstAndSweepAfterTheOutput) {
    Sens s;
    s.SetSensType(Type::Ac);
    EXPECT_EQ(s.GetOutputVariableClass(), OVC_SENS_CKTnames_ac);
    s.SetOutputNode("out");
    EXPECT_EQ(Command(s), CString(kAxes) + "sens  -env-options v(out,$0) ac dec 10 1 1e+10 ");

    s.SetUseCurrentSource(1);
    EXPECT_EQ(Command(s), CString(kAxes) + "sens  -env-options v(out,$0) ac dec 10 1 1e+10 ");
    s.SetCurrentSource(" vsrc ");
    s.SetUseAbsoluteScaling(0);
    EXPECT_EQ(Command(s),
              CString(kAxes) + "sens  -env-options i(vsrc) ac dec 10 1 1e+10  relative");

    s.SetSensType(Type::Op);
    EXPECT_EQ(Command(s), "sens  -env-options i(vsrc)  relative");
}

TEST(SensAnalysis, TypeSwitchesKeepTheAcSettings) {
    Sens s;
    s.SetSensType(Type::Ac);
    s.GetAc().SetFstart(10);
    s.GetAc().SetFstop(1e6);
    s.SetSensType(Type::Op);
    ExpectProxyOwnedBy(s);
    s.SetSensType(Type::Ac);
    ExpectProxyOwnedBy(s);
    EXPECT_EQ(s.GetAc().GetFstop(), 1e6);
    EXPECT_NE(Command(s).Find("ac dec 10 10 1e+06 "), -1);

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
    std::unique_ptr<Analyses::Analysis> cloned(original->Clone());
    SensAnalysis settingsCopy(original->GetSettings());
    const CString expected = Command(*original);
    original.reset();

    const auto* clone = dynamic_cast<const Sens*>(cloned.get());
    for (const Sens* s : std::initializer_list<const Sens*>{&constructed, &assigned, clone}) {
        ASSERT_TRUE(s);
        ExpectProxyOwnedBy(*s);
        EXPECT_EQ(s->GetSensType(), Type::Ac);
        EXPECT_EQ(Command(*s), expected);
    }
    EXPECT_EQ(settingsCopy.GetSensAnalysis().GetAnalysisPtr(), &settingsCopy.GetAc());
    EXPECT_EQ(settingsCopy.toNutmegCommand(), expected);

    // Switching a copy leaves the others alone.
    constructed.SetSensType(Type::Op);
    EXPECT_EQ(assigned.GetSensType(), Type::Ac);
    EXPECT_EQ(constructed.GetAc().GetFstop(), 5e5);
}

TEST(SensAnalysis, PersistsTheAnalysisInUseLast) {
    Sens s;
    s.SetNodeFilterCurrentSource(Analyses::NF_SOURCES);
    s.SetNodeFilterOutputNode(Analyses::NF_VOLTAGES);
    s.SetNodeFilterOutputRefNode(Analyses::NF_ALL);
    s.SetCurrentSource("vs");
    s.SetOutputNode("out");
    s.SetOutputRefNode("ref");
    s.SetUseAbsoluteScaling(0);
    s.SetUseCurrentSource(1);
    s.SetSensType(Type::Ac);
    s.GetAc().SetVariation(AcAnalysis::Variation(1));
    s.GetAc().SetNpoints_per_variation(5);
    s.GetAc().SetFstop(2e6);

    const CPropertyList list = AnalysisList(s);
    ASSERT_EQ(list.GetCount(), 9);
    const char* const expected[] = {
        "NodeFilterCurrentSource:int{4}",  "NodeFilterOutputNode:int{1}",
        "NodeFilterOutputRefNode:int{31}", "CurrentSource:string{vs}",
        "OutputNode:string{out}",          "OutputRefNode:string{ref}",
        "UseAbsoluteScaling:int{0}",       "UseCurrentSource:int{1}",
    };
    CPropertyItem item;
    for (int i = 0; i < 8; ++i) {
        list.GetNth(i, item);
        EXPECT_EQ(item.GetField(), expected[i]);
    }
    list.GetNth(8, item);
    EXPECT_EQ(item.GetLabel(), "AC");

    CPropertyItem stored;
    ASSERT_EQ(CPropertyList(s.toPropertyItem().GetField()).GetNth(0, stored), 1);
    Sens copy;
    ASSERT_EQ(copy.fromPropertyItem(stored), 1);
    EXPECT_EQ(copy.GetSensType(), Type::Ac);
    ExpectProxyOwnedBy(copy);
    EXPECT_EQ(copy.GetAc().GetFstop(), 2e6);
    EXPECT_EQ(copy.toPropertyItem().GetField(), s.toPropertyItem().GetField());
    EXPECT_EQ(Command(copy), Command(s));

    // An operating-point record switches an AC object back.
    Sens dc;
    ASSERT_EQ(copy.fromPropertyItem(dc.toPropertyItem()), 1);
    EXPECT_EQ(copy.GetSensType(), Type::Op);
    ExpectProxyOwnedBy(copy);
}

TEST(SensAnalysis, ReaderSkipsWrongTypesAndReportsUnknownKeys) {
    Sens source;
    source.SetSensType(Type::Ac);
    source.GetAc().SetFstart(42);
    CPropertyList list("OutputNode:int{3} Unknown:int{1} UseAbsoluteScaling:string{0} "
                       "AC:string{x} CurrentSource:string{ vs }");
    list.AddItem(source.GetSensAnalysis().toPropertyItem());

    Sens s;
    EXPECT_EQ(s.fromPropertyItem(Record(list)), 0);
    EXPECT_EQ(s.GetOutputNode(), "");
    EXPECT_EQ(s.GetUseAbsoluteScaling(), 1);
    EXPECT_EQ(s.GetCurrentSource(), " vs ");
    EXPECT_EQ(s.GetSensType(), Type::Ac);
    EXPECT_EQ(s.GetAc().GetFstart(), 42);
}

TEST(SensAnalysis, SummaryShowsOutputScalingAndTheAnalysisInUse) {
    Sens s;
    s.SetOutputNode("out");
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    s.GetSettings().toReadableText(log, nullptr);
    const std::string text = ctrl.ToText();
    EXPECT_EQ(text.rfind("Output node: out\nOutput reference node: $0\nOutput scaling: Absolute\n"
                         "DC operating point\n",
                         0),
              0u)
        << text;

    s.SetUseCurrentSource(1);
    s.SetUseAbsoluteScaling(0);
    s.SetSensType(Type::Ac);
    CTreeCtrl ctrl2;
    CTreeLog log2("", "", &ctrl2);
    s.GetSettings().toReadableText(log2, nullptr);
    const std::string text2 = ctrl2.ToText();
    EXPECT_EQ(text2.rfind("Current source: $0\nOutput scaling: Relative\nAC Analysis\n", 0), 0u)
        << text2;
}

} // namespace
