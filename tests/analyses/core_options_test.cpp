// Simulator options: defaults, set statements, type-checked setting and the stored form;
// the readable list is pinned with the operating point's text.
#include "analyses/core/analysis_options.h"

#include <gtest/gtest.h>

namespace {

using O = AnalysisOptions;

TEST(AnalysisOptions, StatementsFollowIndexOrderDefaultsAndValueKind) {
    AnalysisOptions set;
    EXPECT_EQ(set.toNutmegCommand(),
              "; set trtol = 7; set itl4 = 100; set convlimit; set rshunt = 1e+12");
    for (const O::Option option : {O::acct, O::gmin, O::tnom, O::itl1, O::method})
        set.SetIsEnabledOption(option, 1);
    set.SetOption(O::gmin, CPropertyItem("gmin", 1e-9));
    EXPECT_EQ(set.toNutmegCommand(),
              "; set acct; set gmin = 1e-09; set trtol = 7; set tnom = 300.15; set itl1 = 100; "
              "set itl4 = 100; set method = \"trapezoidal\"; set convlimit; set rshunt = 1e+12");
    EXPECT_EQ(O::GetOptionDescription(O::vntol), "Voltage error tolerence");
    EXPECT_EQ(O::GetOptionDescription(O::convlimit),
              "Enable convergence assistance for code models");

    for (int i = 0; i < O::OptionCount; ++i)
        set.SetIsEnabledOption(static_cast<O::Option>(i), 0);
    EXPECT_EQ(set.toNutmegCommand(), "");
}

TEST(AnalysisOptions, SetOptionChecksLabelTypeAndIndex) {
    AnalysisOptions set;
    set.SetOption(O::gmin, CPropertyItem("gmin", 5L));     // int for a double option
    set.SetOption(O::gmin, CPropertyItem("reltol", 1e-3)); // another option's label
    set.SetOption(O::gmin, CPropertyItem());               // empty item
    EXPECT_EQ(set.GetOption(O::gmin).GetField(), "gmin:double{1e-12}");
    set.SetOption(O::gmin, CPropertyItem("gmin", 2e-12));
    EXPECT_EQ(set.GetOption(O::gmin).GetField(), "gmin:double{2e-12}");

    const AnalysisOptions before = set;
    set.SetOption(O::OptionCount, CPropertyItem("gmin", 1.0));
    set.SetIsEnabledOption(O::OptionCount, 1);
    EXPECT_TRUE(set == before);
    EXPECT_TRUE(O::GetDefaultOption(O::OptionCount).IsEmpty());
    EXPECT_EQ(O::GetDefaultOption(O::rshunt).GetField(), "rshunt:double{1e+12}");

    CPropertyItem found;
    EXPECT_EQ(set.FindIndexItem("itl4", found), O::itl4);
    EXPECT_EQ(found.GetField(), "itl4:int{100}");
    EXPECT_EQ(set.FindIndexItem("nosuch", found), O::OptionCount);
}

TEST(AnalysisOptions, StoredFormsAndReading) {
    AnalysisOptions set;
    EXPECT_EQ(set.toPropertyList().GetCount(), 38);
    CPropertyItem last;
    ASSERT_TRUE(set.toPropertyList().GetNth(37, last));
    EXPECT_EQ(last.GetField(), "37:list{IsEnabled:int{1} rshunt:double{1e+12}}");
    // The short form, of enabled options only, is pinned in the stored records of the kind table.
    set.SetIsEnabledOption(O::temp, 1);
    set.SetOption(O::temp, CPropertyItem("temp", 310.0));
    set.SetIsEnabledOption(O::method, 1);
    set.SetOption(O::method, CPropertyItem("method", CString("gear")));
    AnalysisOptions read;
    EXPECT_EQ(read.fromPropertyList(CPropertyList(set.toPropertyListForChg().GetList())), 1);
    EXPECT_TRUE(read == set);

    // The full form also carries disabled options and turns them off.
    AnalysisOptions full;
    set.SetIsEnabledOption(O::trtol, 0);
    EXPECT_EQ(full.fromPropertyList(set.toPropertyList()), 1);
    EXPECT_TRUE(full == set);
}

TEST(AnalysisOptions, ReaderSkipsWhatItCannotApply) {
    AnalysisOptions set;
    // No "IsEnabled": the option keeps its reset state. A value of the wrong type is refused
    // while its flag is applied. Later records are still applied.
    EXPECT_EQ(set.fromPropertyList(CPropertyList("1:list{gmin:double{1e-09}} "
                                                 "2:list{IsEnabled:int{1} reltol:int{3}} "
                                                 "9:list{IsEnabled:int{1} tnom:double{290}}")),
              0);
    EXPECT_EQ(set.toNutmegCommand(), "; set reltol = 0.001; set trtol = 7; set tnom = 290; "
                                     "set itl4 = 100; set convlimit; set rshunt = 1e+12");
}

} // namespace
