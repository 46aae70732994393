// Operating point: identity, the framed script byte for byte, and persistence.
#include "analyses/single/op.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Analysis = Analyses::Analysis;

// Every piece of the frame with the defaults of a fresh analysis.
constexpr const char* kDefaultScript =
    "begin-scope page ; checknodes 1; save ; iplot ; ; "
    "; set trtol = 7; set itl4 = 100; set convlimit; set rshunt = 1e+12; "
    "op  -env-options ; if-error end-scope audit-log-show; ; show all; showmod all; "
    "; end-scope ";

TEST(OpAnalysis, AnswersItsIdentity) {
    Analyses::Op op;
    EXPECT_EQ(op.GetAnalysisNickname(), "OP");
    EXPECT_EQ(Analyses::Op::s_GetAnalysisNickname(), "OP");
    EXPECT_EQ(op.GetType(), Analyses::AnalysisType::Op);
    EXPECT_EQ(op.GetNodeType(), 1);
    EXPECT_EQ(op.GetOutputVariableClass(), 2);
    EXPECT_EQ(op.GetAnalysisReadableName(), "DC operating point");
    EXPECT_EQ(op.GetOrvoType(), COrvo::Analysis);
    EXPECT_EQ(Analysis::Conv(&op), &op);
}

TEST(OpAnalysis, FramesItsCommandByteForByte) {
    Analyses::Op op;
    EXPECT_EQ(op.toNutmegCommand(-1), kDefaultScript);
    EXPECT_EQ(op.toNutmegCommand(0), "");
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_COMMAND), "op  -env-options ");
    op.SetPlotTitle("Bias");
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_SCOPE | Analysis::NT_COMMAND),
              "begin-scope page Bias; op  -env-options ; end-scope ");
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_OPTIONS),
              "; set trtol = 7; set itl4 = 100; set convlimit; set rshunt = 1e+12; ");
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_POSTPROCESS),
              "; if-error end-scope audit-log-show; ; show all; showmod all; ");
}

TEST(OpAnalysis, PlotSetUpCarriesNodesAndRawFile) {
    Analyses::Op op;
    op.GetAnalysisNodes().GetNodes().AddName("v(1)", 0, 256 | 512);
    op.GetAnalysisNodes().GetNodes().AddName("v(2)", 0, 256);
    const long mask = Analysis::NT_PLOT_SETUP | Analysis::NT_COMMAND;
    EXPECT_EQ(op.toNutmegCommand(mask), "checknodes 1; save v(1) v(2); iplot v(1); ; "
                                        "op  -env-options ; if-error end-scope audit-log-show");
    op.SetAnalysisRawfile("out.raw");
    EXPECT_EQ(op.toNutmegCommand(mask),
              "checknodes 1; save v(1) v(2); iplot v(1); ; op  -env-options ; "
              "if-error end-scope audit-log-show; write-and-destroy-iplot out.raw");
    // The raw file is written only with the plot set-up, not with post-processing alone.
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_POSTPROCESS),
              "; if-error end-scope audit-log-show; ; show all; showmod all; ");
    // The base mask keeps the "save all" flag off even when every node is saved.
    op.GetAnalysisNodes().GetNodes()[0].SetFlags(256);
    op.GetAnalysisNodes().GetNodes()[1].SetFlags(256);
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_PLOT_SETUP | Analysis::NT_IPLOT_FLAG),
              "checknodes 1; save v(1) v(2); iplot ; ; ; if-error end-scope audit-log-show; "
              "write-and-destroy-iplot out.raw");
}

TEST(OpAnalysis, OptionStatementsFollowTheSetInForce) {
    Analyses::Op op;
    op.GetAnalysisOptions(0).SetIsEnabledOption(AnalysisOptions::gmin, 1);
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_OPTIONS),
              "; set trtol = 7; set itl4 = 100; set convlimit; set rshunt = 1e+12; ");
    op.UseVeltraneDefaults(false);
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_OPTIONS),
              "; set gmin = 1e-12; set trtol = 7; set itl4 = 100; set convlimit; "
              "set rshunt = 1e+12; ");
    op.SetUseAnalysisOptions(0);
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_OPTIONS | Analysis::NT_COMMAND), "op  -env-options ");
}

TEST(OpAnalysis, CloneAndNewInstance) {
    Analyses::Op op;
    op.SetPlotTitle("T");
    op.SetMaxPoints(20000);
    std::unique_ptr<Analysis> clone(op.Clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->GetType(), Analyses::AnalysisType::Op);
    EXPECT_EQ(clone->toNutmegCommand(-1), op.toNutmegCommand(-1));
    EXPECT_EQ(clone->toPropertyItem().GetField(), op.toPropertyItem().GetField());
    // The copied node set belongs to the copy.
    EXPECT_EQ(clone->GetAnalysisNodes().GetRefAnalysis(), clone.get());

    Instance* instance = nullptr;
    std::unique_ptr<Analysis> clone2(op.Clone(instance));
    ASSERT_NE(clone2, nullptr);
    EXPECT_EQ(clone2->GetMaxPoints(), 20000);

    std::unique_ptr<Analysis> fresh(op.NewInstance());
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh->GetPlotTitle(), "");
    EXPECT_EQ(fresh->GetMaxPoints(), Analysis::s_GetDefaultMaxPoints());
    EXPECT_EQ(fresh->toNutmegCommand(-1), kDefaultScript);
}

TEST(OpAnalysis, AnalysisListIsEmptyAndAnyListIsRead) {
    Analyses::Op op;
    const CString field = op.toPropertyItem().GetField();
    EXPECT_NE(field.Find("ANALYSIS:list{}"), -1) << field.c_str();

    CPropertyList outer;
    outer.AddItem(CPropertyItem("ANALYSIS", CPropertyList("Whatever:int{3} Other:string{x}")));
    Analyses::Op read;
    EXPECT_EQ(read.fromPropertyItem(CPropertyItem("OP", outer)), 1);
    EXPECT_EQ(read.toPropertyItem().GetField(), field);
    // Another kind's record is refused outright.
    EXPECT_EQ(read.fromPropertyItem(CPropertyItem("AC", outer)), 0);
}

} // namespace
