// Pole-zero analysis: command words per transfer-function kind, out-of-range values, summary.
#include "analyses/single/pz.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(PzAnalysis, NodesFollowTheTransferFunctionKind) {
    const std::string ports = "InputPlus:string{in} InputMinus:string{ref} OutputPlus:string{out} "
                              "OutputMinus:string{gnd2} PZpart:int{2} ";
    const std::pair<std::string, const char*> cases[] = {
        {"", "pz  -env-options $0 $0 $0 $0 vol pz "},
        {"InputPlus:string{in} OutputPlus:string{out} PZpart:int{1}",
         "pz  -env-options in $0 out $0 vol pol "},
        // Impedance at one port measures that port against itself.
        {ports + "AnalysisType:int{2}", "pz  -env-options in ref in ref cur zer "},
        {ports + "AnalysisType:int{3}", "pz  -env-options out gnd2 out gnd2 cur zer "},
        // Values outside the enumerations act as the defaults.
        {"PZpart:int{5} AnalysisType:int{7} InputPlus:string{a} OutputPlus:string{b}",
         "pz  -env-options a $0 b $0 vol pz "},
    };
    for (const auto& [keys, command] : cases)
        EXPECT_EQ(CommandOf(*WithKeys("PZ", keys.c_str())), command) << keys;
}

TEST(PzAnalysis, SummaryShowsOnlyThePortsInUse) {
    const char* const rows[][2] = {
        {"PZpart:int{5} AnalysisType:int{7} InputPlus:string{a} OutputPlus:string{b}",
         "Gain Analysis\n  Analyses performed: Pole And Zero Analysis\n  Input (+) node: a\n"
         "  Input (-) node: $0\n  Output (+) node: b\n  Output (-) node: $0\n"},
        {"InputPlus:string{i1} OutputPlus:string{o1} AnalysisType:int{3} PZpart:int{2}",
         "Output Impedence\n  Analyses performed: Zero Analysis\n  Output (+) node: o1\n"
         "  Output (-) node: $0\n"},
        {"InputPlus:string{i1} OutputPlus:string{o1} AnalysisType:int{2} PZpart:int{1}",
         "Input Impedance\n  Analyses performed: Pole Analysis\n  Input (+) node: i1\n"
         "  Input (-) node: $0\n"},
    };
    for (const auto& [keys, text] : rows)
        EXPECT_EQ(SettingsText(*WithKeys("PZ", keys)),
                  std::string("Analysis settings\n  Analysis Type: ") + text);
}

} // namespace
