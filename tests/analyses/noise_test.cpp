// Noise analysis: output forms, points per summary, component lists, trimming, summary.
#include "analyses/single/noise.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(NoiseAnalysis, OutputFormAndSummaryCountFollowTheirSettings) {
    const std::string named = "OutputNode:string{out} InputRefSource:string{vin} ";
    const std::pair<std::string, const char*> cases[] = {
        {"", "noise  -env-options v($0) $0 dec 10 1 1e+10 "},
        {named + "ReferenceNode:string{$0}", "noise  -env-options v(out) vin dec 10 1 1e+10 "},
        // The count is commanded only when its flag is set.
        {named + "PointsPerSummary:int{5}", "noise  -env-options v(out) vin dec 10 1 1e+10 "},
    };
    for (const auto& [keys, command] : cases)
        EXPECT_EQ(CommandOf(*WithKeys("NOISE", keys.c_str())), command) << keys;
    // Without summaries per point the noise is integrated; the kind table pins the other form.
    EXPECT_EQ(WithKeys("NOISE", "")->GetOutputVariableClass(), OVC_NOISE_CKTnames_int);
}

TEST(NoiseAnalysis, ListsComponentsAndTrimsNames) {
    Analyses::Noise n;
    n.reset();
    EXPECT_EQ(Analyses::Noise(n).GetAnalysisNodes().GetMode(), 1);
    n.SetOutputNode("  out ");
    n.SetReferenceNode("\tref");
    n.SetInputNoiseRefSource("vin  ");
    EXPECT_EQ(ChangedKeys(n), "InputRefSource:string{vin} OutputNode:string{out} "
                              "ReferenceNode:string{ref}");
}

TEST(NoiseAnalysis, SummaryShowsCountWithoutConsultingItsFlag) {
    const std::string named = "OutputNode:string{out} InputRefSource:string{vin}";
    EXPECT_EQ(SettingsText(*WithKeys("NOISE", named.c_str()))
                  .rfind("Analysis settings\n  Input reference source: vin\n  Output node: out\n"
                         "  Reference node: $0\n  Points per summary: 1\n  Frequency Parameters\n",
                         0),
              0u);
    EXPECT_EQ(SettingsText(*WithKeys("NOISE", (named + " PointsPerSummary:int{0}").c_str()))
                  .find("Points per summary"),
              std::string::npos);
}

} // namespace
