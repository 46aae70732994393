// AC analysis: sweep command texts, axis coupling, reader quirks, summary and the live count.
#include "analyses/single/ac.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test;
using Ac = Analyses::Ac;
constexpr int kV = Analyses::AnalysisNodes::VAxis;
constexpr int kH = Analyses::AnalysisNodes::HAxis;

TEST(AcAnalysis, SetVariationMovesOnlyTheFrequencyAxisAndFrequenciesDriveItsRange) {
    Ac ac(nullptr);
    EXPECT_EQ(CommandOf(ac), "-param vscale log; -param hscale log; -param hrange 1 1e+10; "
                             "ac  -env-options dec 10 1 1e+10 ");
    ac.SetVariation(AcAnalysis::Octave);
    EXPECT_EQ(CommandOf(ac), "-param vscale log; -param hscale oct; -param hrange 1 1e+10; "
                             "ac  -env-options oct 10 1 1e+10 ");
    ac.SetVariation(AcAnalysis::Linear);
    ac.SetNpoints_per_variation(101);
    // Written as given, even the wrong way round.
    ac.SetFstop(10);
    ac.SetFstart(100);
    EXPECT_EQ(CommandOf(ac), "-param vscale log; -param hscale lin; -param hrange 100 10; "
                             "ac  -env-options lin 101 100 10 ");
    ac.SetVariation(static_cast<AcAnalysis::Variation>(7));
    EXPECT_EQ(ac.GetACArguments(), "101 100 10 ");
    EXPECT_EQ(ac.GetAcAnalysis().GetScale(kH), ST_LOG);

    ac.GetAcAnalysis().SetScale(kV, ST_NONE);
    ac.GetAcAnalysis().GetAxes().GetRange(kV) = CMinMax(-40, 20);
    EXPECT_EQ(ac.GetAxisCmd(), "-param hscale log; -param vrange -40 20; -param hrange 100 10; ");
}

TEST(AcAnalysis, LoadingTheVariationAlsoSetsTheVerticalScale) {
    // An unknown word leaves both scales alone.
    const char* const rows[][3] = {
        {"lin", "lin", "lin"}, {"oct", "oct", "oct"}, {"dec", "log", "log"}, {"log", "dec", "log"}};
    for (const auto& [stored, vscale, hscale] : rows) {
        AcAnalysis settings;
        settings.SetScale(kV, ST_DEC);
        const CString keys = CString("VARIATION:string{") + stored + "}";
        EXPECT_EQ(settings.fromPropertyList(CPropertyList(keys)), 1);
        EXPECT_EQ(settings.GetAxisCmd(), CString("-param vscale ") + vscale + "; -param hscale " +
                                             hscale + "; -param hrange 1 1e+10; ")
            << stored;
    }
}

TEST(AcAnalysis, SecondAxisPairIsStoredButNeverCommanded) {
    AcAnalysis settings;
    EXPECT_EQ(settings.fromPropertyList(
                  CPropertyList("vscale2:int{3} hrange2:double{2} hrange2:double{5}")),
              1);
    EXPECT_EQ(settings.GetAxisCmd(),
              "-param vscale log; -param hscale log; -param hrange 1 1e+10; ");
    EXPECT_EQ(settings.toPropertyList().GetList(),
              "VARIATION:string{dec} NPOINTS_PER_VARIATION:double{10} FSTART:double{1} "
              "FSTOP:double{1e+10} vscale:int{1} vscale2:int{3} hscale:int{1} "
              "hrange2:double{2} hrange2:double{5} hrange:double{1} hrange:double{1e+10}");
}

TEST(AcAnalysis, ReadableTextNamesTheSweepThenTheAxes) {
    AcAnalysis settings;
    EXPECT_EQ(
        ReadableOf(settings),
        "Sweep type: Decade\nNumber of points per decade: 10\nStarting frequency for sweep: 1\n"
        "Stop frequency for sweep: 1e+10\nVertical axis scale: log\n"
        "Horizontal axis scale: log\nHorizontal axis range: 1 to 1e+10\n");
    settings.fromPropertyList(CPropertyList("VARIATION:string{oct}"));
    EXPECT_EQ(
        ReadableOf(settings).rfind("Sweep type: Octave\nNumber of points per octave: 10\n", 0), 0u);
    settings.fromPropertyList(
        CPropertyList("VARIATION:string{lin} NPOINTS_PER_VARIATION:double{0.5}"));
    EXPECT_EQ(ReadableOf(settings).rfind("Sweep type: Linear\nNumber of points: 0.5\n", 0), 0u);

    // The frequency block returns its heading and puts the axes beside it.
    CTreeCtrl ctrl;
    _TREEITEM* parent = ctrl.InsertItem("parent", 0, nullptr);
    _TREEITEM* heading = settings.freqToReadableText(ctrl, parent);
    ASSERT_NE(heading, nullptr);
    EXPECT_EQ(heading->parent, parent);
    EXPECT_EQ(ctrl.ToText(), "parent\n  Frequency Parameters\n  Vertical axis scale: lin\n"
                             "  Horizontal axis scale: lin\n  Horizontal axis range: 1 to 1e+10\n");
    CTreeLog detached("", "", nullptr);
    EXPECT_EQ(settings.freqToReadableText(detached, nullptr), nullptr);
}

TEST(AcAnalysis, LiveCountFollowsEveryConstructionAndDestruction) {
    const int before = Ac::s_GetLiveCount();
    {
        Ac a(nullptr), b, c(a);
        std::unique_ptr<Analyses::Analysis> clone(a.Clone()), fresh(a.NewInstance());
        EXPECT_EQ(Ac::s_GetLiveCount(), before + 5);
    }
    EXPECT_EQ(Ac::s_GetLiveCount(), before);
}

} // namespace
