// Noise analysis: component lists, trimmed names, the integrated form; its output forms and
// summaries are rows of the kind table.
#include "analyses/single/noise.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(NoiseAnalysis, ListsComponentsAndTrimsNames) {
    Analyses::Noise n;
    n.reset();
    EXPECT_EQ(Analyses::Noise(n).GetAnalysisNodes().GetMode(), 1);
    // Without summaries per point the noise is integrated; the kind table pins the other form.
    EXPECT_EQ(n.GetOutputVariableClass(), OVC_NOISE_CKTnames_int);
    n.SetOutputNode("  out ");
    n.SetReferenceNode("\tref");
    n.SetInputNoiseRefSource("vin  ");
    EXPECT_EQ(ChangedKeys(n), "InputRefSource:string{vin} OutputNode:string{out} "
                              "ReferenceNode:string{ref}");
}

} // namespace
