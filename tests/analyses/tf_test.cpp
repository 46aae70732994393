// Transfer function analysis: trimmed names; its output forms are rows of the kind table.
#include "analyses/single/tf.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(TfAnalysis, SettersTrimNames) {
    Analyses::Tf tf;
    tf.SetInputRefSource("  vin\t");
    tf.SetCurrentSource(" vs ");
    tf.SetOutputNode(" out ");
    tf.SetOutputRefNode("\tref ");
    EXPECT_EQ(ChangedKeys(tf), "InputRefSource:string{vin} CurrentSource:string{vs} "
                               "OutputNode:string{out} OutputRefNode:string{ref}");
}

} // namespace
