// Distortion analysis: the optional second tone and its kept key spellings.
#include "analyses/single/disto.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(DistoAnalysis, RatioIsCommandedAndShownOnlyWhenInUse) {
    const CString plain = "-param vscale log; -param hscale log; -param hrange 1 1e+10; "
                          "disto  -env-options dec 10 1 1e+10 ";
    Analyses::Disto d;
    d.SetUseF2overF1(1);
    EXPECT_EQ(CommandOf(d), plain + " 0.1");
    d.SetF2overF1(0.25);
    d.SetUseF2overF1(0);
    EXPECT_EQ(CommandOf(d), plain);
    // The keys say F1 over F2; an unused ratio is still stored.
    EXPECT_EQ(ChangedKeys(d), "F1OVERF2:double{0.25}");
    EXPECT_EQ(SettingsText(d).find("F2/F1"), std::string::npos);
    d.SetUseF2overF1(1);
    EXPECT_EQ(
        SettingsText(d).rfind("Analysis settings\n  F2/F1: 0.25\n  Frequency Parameters\n", 0), 0u);
}

} // namespace
