// AC analysis: sweep command texts, axis coupling, reader quirks, summary and main-analysis copy.
#include "analyses/single/ac.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test;
using Ac = Analyses::Ac;
constexpr int kV = Analyses::AnalysisNodes::VAxis;
constexpr int kH = Analyses::AnalysisNodes::HAxis;

/// The collection's constructor and registration are for collection builders only.
struct OneAnalysisCollection : Analyses {
    explicit OneAnalysisCollection(AnalysisType type, Analysis* a) { RegisterAnalysis(type, a); }
};

TEST(AcAnalysis, DefaultCommandSweepsDecadesFromOneHertzToTenGigahertz) {
    Ac ac(nullptr);
    EXPECT_EQ(CommandOf(ac), "-param vscale log; -param hscale log; -param hrange 1 1e+10; "
                             "ac  -env-options dec 10 1 1e+10 ");
}

TEST(AcAnalysis, SetVariationMovesOnlyTheFrequencyAxisScale) {
    Ac ac(nullptr);
    ac.SetVariation(AcAnalysis::Octave);
    EXPECT_EQ(CommandOf(ac), "-param vscale log; -param hscale oct; -param hrange 1 1e+10; "
                             "ac  -env-options oct 10 1 1e+10 ");
    ac.SetVariation(AcAnalysis::Linear);
    ac.SetNpoints_per_variation(101);
    EXPECT_EQ(CommandOf(ac), "-param vscale log; -param hscale lin; -param hrange 1 1e+10; "
                             "ac  -env-options lin 101 1 1e+10 ");
    ac.SetVariation(static_cast<AcAnalysis::Variation>(7));
    EXPECT_EQ(ac.GetACArguments(), "101 1 1e+10 ");
    EXPECT_EQ(ac.GetAcAnalysis().GetScale(kH), ST_LOG);
}

TEST(AcAnalysis, FrequenciesAreWrittenAsGivenAndDriveTheFrequencyRange) {
    Ac ac(nullptr);
    ac.SetFstop(10);
    ac.SetFstart(100);
    EXPECT_EQ(CommandOf(ac), "-param vscale log; -param hscale log; -param hrange 100 10; "
                             "ac  -env-options dec 10 100 10 ");

    ac.GetAcAnalysis().SetScale(kV, ST_NONE);
    ac.GetAcAnalysis().GetAxes().GetRange(kV) = CMinMax(-40, 20);
    EXPECT_EQ(ac.GetAxisCmd(), "-param hscale log; -param vrange -40 20; -param hrange 100 10; ");

    AcAnalysis read;
    read.fromPropertyList(CPropertyList("FSTART:double{5} FSTOP:double{50}"));
    EXPECT_EQ(read.GetAxisCmd(), "-param vscale log; -param hscale log; -param hrange 5 50; ");
}

TEST(AcAnalysis, LoadingTheVariationAlsoSetsTheVerticalScale) {
    struct Case {
        const char* word;
        ScaleType scale;
    };
    for (const Case c : {Case{"lin", ST_LIN}, Case{"oct", ST_OCT}, Case{"dec", ST_LOG}}) {
        AcAnalysis settings;
        settings.SetScale(kV, ST_DEC);
        const CString text = CString("VARIATION:string{") + c.word + "}";
        EXPECT_EQ(settings.fromPropertyList(CPropertyList(text)), 1) << c.word;
        EXPECT_EQ(settings.GetScale(kV), c.scale) << c.word;
        EXPECT_EQ(settings.GetScale(kH), c.scale) << c.word;
    }

    AcAnalysis settings;
    EXPECT_EQ(settings.fromPropertyList(CPropertyList("VARIATION:string{log}")), 1);
    EXPECT_EQ(settings.GetVariation(), AcAnalysis::Decade);
    EXPECT_EQ(settings.GetScale(kV), ST_LOG);
}

TEST(AcAnalysis, SecondAxisPairIsStoredButNeverCommanded) {
    AcAnalysis settings;
    EXPECT_EQ(settings.fromPropertyList(
                  CPropertyList("vscale2:int{3} hrange2:double{2} hrange2:double{5}")),
              1);
    EXPECT_EQ(settings.GetScale(Analyses::AnalysisNodes::VAxis2), ST_OCT);
    EXPECT_EQ(settings.GetAxisCmd(),
              "-param vscale log; -param hscale log; -param hrange 1 1e+10; ");
    EXPECT_EQ(settings.toPropertyList().GetList(),
              "VARIATION:string{dec} NPOINTS_PER_VARIATION:double{10} FSTART:double{1} "
              "FSTOP:double{1e+10} vscale:int{1} vscale2:int{3} hscale:int{1} "
              "hrange2:double{2} hrange2:double{5} hrange:double{1} hrange:double{1e+10}");
}

TEST(AcAnalysis, ReadableTextNamesTheSweepThenTheAxes) {
    AcAnalysis settings;
    const std::vector<std::string> lines = Lines(ReadableOf(settings));
    ASSERT_GT(lines.size(), 4u) << "axis lines follow the sweep";
    EXPECT_EQ(lines[0], "Sweep type: Decade");
    EXPECT_EQ(lines[1], "Number of points per decade: 10");
    EXPECT_EQ(lines[2], "Starting frequency for sweep: 1");
    EXPECT_EQ(lines[3], "Stop frequency for sweep: 1e+10");

    const char* const cases[][3] = {
        {"VARIATION:string{oct}", "Sweep type: Octave", "Number of points per octave: 10"},
        {"VARIATION:string{lin} NPOINTS_PER_VARIATION:double{0.5}", "Sweep type: Linear",
         "Number of points: 0.5"},
    };
    for (const auto& [keys, type, points] : cases) {
        settings.fromPropertyList(CPropertyList(keys));
        const std::vector<std::string> changed = Lines(ReadableOf(settings));
        EXPECT_EQ(changed[0], type);
        EXPECT_EQ(changed[1], points);
    }
}

TEST(AcAnalysis, FrequencyBlockReturnsItsHeadingAndPutsAxesBesideIt) {
    AcAnalysis settings;
    CTreeCtrl ctrl;
    _TREEITEM* parent = ctrl.InsertItem("parent", 0, nullptr);
    _TREEITEM* heading = settings.freqToReadableText(ctrl, parent);
    ASSERT_NE(heading, nullptr);
    EXPECT_EQ(heading->text, "Frequency Parameters");
    EXPECT_EQ(heading->parent, parent);
    EXPECT_TRUE(heading->children.empty());
    EXPECT_GT(parent->children.size(), 1u);

    CTreeLog detached("", "", nullptr);
    EXPECT_EQ(settings.freqToReadableText(detached, nullptr), nullptr);
}

TEST(AcAnalysis, MainAnalysisIsOnlyFoundThroughACollection) {
    Ac lone(nullptr);
    lone.SetFstart(42);
    EXPECT_EQ(lone.GetAcAnalysis().GetMainAnalysis(), nullptr);
    EXPECT_EQ(lone.LoadFromMainAnalysis(), 0);
    EXPECT_EQ(lone.GetFstart(), 42.0);

    auto main = std::make_unique<Ac>(nullptr);
    main->SetVariation(AcAnalysis::Linear);
    main->SetFstart(100);
    main->SetFstop(2e3);
    OneAnalysisCollection circuit(Analyses::AnalysisType::Ac, main.get());

    Ac dependent(&circuit);
    EXPECT_EQ(dependent.GetAcAnalysis().GetMainAnalysis(), &main->GetAcAnalysis());
    EXPECT_EQ(dependent.LoadFromMainAnalysis(), 1);
    EXPECT_EQ(dependent.GetFstart(), 100.0);
    EXPECT_EQ(dependent.GetFstop(), 2e3);
    EXPECT_EQ(dependent.GetAcAnalysis().GetScale(kH), ST_LIN);
    EXPECT_EQ(dependent.GetAcAnalysis().GetScale(kV), ST_LOG);
    EXPECT_EQ(dependent.GetAcAnalysis().GetMainAnalyses(), &circuit);

    OneAnalysisCollection empty(Analyses::AnalysisType::Tran, nullptr);
    Ac orphan(&empty);
    EXPECT_EQ(orphan.LoadFromMainAnalysis(), 0);
}

TEST(AcAnalysis, LiveCountFollowsEveryConstructionAndDestruction) {
    const int before = Ac::s_GetLiveCount();
    {
        Ac a(nullptr);
        Ac b;
        Ac c(a);
        EXPECT_EQ(Ac::s_GetLiveCount(), before + 3);
        std::unique_ptr<Analyses::Analysis> clone(a.Clone());
        std::unique_ptr<Analyses::Analysis> fresh(a.NewInstance());
        EXPECT_EQ(Ac::s_GetLiveCount(), before + 5);
    }
    EXPECT_EQ(Ac::s_GetLiveCount(), before);
}

} // namespace
