// Transfer function analysis: output forms, trimming, summary.
#include "analyses/single/tf.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(TfAnalysis, OutputIsAVoltageUnlessANamedCurrentSourceIsUsed) {
    const char* const cases[][2] = {
        {"", "tf  -env-options v($0,$0) $0 "},
        {"OutputNode:string{out} InputRefSource:string{vin} UseCurrentSource:int{1}",
         "tf  -env-options v(out,$0) vin "},
        {"OutputNode:string{out} InputRefSource:string{vin} CurrentSource:string{vsense} "
         "OutputRefNode:string{ref}",
         "tf  -env-options v(out,ref) vin "},
    };
    for (const auto& [keys, command] : cases)
        EXPECT_EQ(CommandOf(*WithKeys("TF", keys)), command) << keys;
}

TEST(TfAnalysis, SettersTrimNames) {
    Analyses::Tf tf;
    tf.SetInputRefSource("  vin\t");
    tf.SetCurrentSource(" vs ");
    tf.SetOutputNode(" out ");
    tf.SetOutputRefNode("\tref ");
    EXPECT_EQ(ChangedKeys(tf), "InputRefSource:string{vin} CurrentSource:string{vs} "
                               "OutputNode:string{out} OutputRefNode:string{ref}");
}

TEST(TfAnalysis, SummaryShowsTheChosenOutput) {
    const std::string keys = "InputRefSource:string{vin} OutputNode:string{out}";
    EXPECT_EQ(SettingsText(*WithKeys("TF", keys.c_str())),
              "Analysis settings\n  Input source: vin\n  Output node: out\n"
              "  Output reference node: $0\n");
    EXPECT_EQ(SettingsText(*WithKeys("TF", (keys + " UseCurrentSource:int{1}").c_str())),
              "Analysis settings\n  Input source: vin\n  Output current source: $0\n");
}

} // namespace
