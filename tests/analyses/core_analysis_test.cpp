// Analysis base, seen through the operating point: framing, persistence quirks, checks, text.
#include "analyses/single/op.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(AnalysisBase, FramesTheCommandByteForByte) {
    Analyses::Op op;
    EXPECT_EQ(op.toNutmegCommand(-1),
              "begin-scope page ; checknodes 1; save ; iplot ; ; "
              "; set trtol = 7; set itl4 = 100; set convlimit; set rshunt = 1e+12; "
              "op  -env-options ; if-error end-scope audit-log-show; ; show all; showmod all; "
              "; end-scope ");
    EXPECT_EQ(op.toNutmegCommand(0), "");
    op.SetPlotTitle("Bias");
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_SCOPE | Analysis::NT_COMMAND),
              "begin-scope page Bias; op  -env-options ; end-scope ");
}

TEST(AnalysisBase, PlotSetUpCarriesNodesAndRawFile) {
    Analyses::Op op;
    op.GetAnalysisNodes().GetNodes().AddName("v(1)", 0, 256 | 512);
    op.GetAnalysisNodes().GetNodes().AddName("v(2)", 0, 256);
    op.SetAnalysisRawfile("out.raw");
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_PLOT_SETUP | Analysis::NT_COMMAND),
              "checknodes 1; save v(1) v(2); iplot v(1); ; op  -env-options ; "
              "if-error end-scope audit-log-show; write-and-destroy-iplot out.raw");
    // The raw file is written only with the plot set-up, not with post-processing alone.
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_POSTPROCESS),
              "; if-error end-scope audit-log-show; ; show all; showmod all; ");
    // The base mask keeps the "save all" flag off even when every node is saved.
    op.GetAnalysisNodes().GetNodes()[0].SetFlags(256);
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_PLOT_SETUP | Analysis::NT_IPLOT_FLAG),
              "checknodes 1; save v(1) v(2); iplot ; ; ; if-error end-scope audit-log-show; "
              "write-and-destroy-iplot out.raw");
}

TEST(AnalysisBase, OptionStatementsFollowTheSetInForce) {
    Analyses::Op op;
    op.GetAnalysisOptions(0).SetIsEnabledOption(AnalysisOptions::gmin, 1);
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_OPTIONS),
              "; set trtol = 7; set itl4 = 100; set convlimit; set rshunt = 1e+12; ");
    op.UseVeltraneDefaults(false);
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_OPTIONS),
              "; set gmin = 1e-12; set trtol = 7; set itl4 = 100; set convlimit; "
              "set rshunt = 1e+12; ");
    // Whether options are used at all does not choose the set.
    op.SetUseAnalysisOptions(0);
    EXPECT_EQ(&op.GetAnalysisOptions(2), &op.GetAnalysisOptions(0));
    EXPECT_EQ(op.toNutmegCommand(Analysis::NT_OPTIONS | Analysis::NT_COMMAND), "op  -env-options ");
}

TEST(AnalysisBase, ReaderResetsFirstKeepsItsQuirksAndGoesOnPastBadFields) {
    struct Row {
        const char* fields;
        int result;
        const char* changed; ///< whole-record fields that then differ from a fresh object
    };
    const Row rows[] = {
        // Integer identifiers are the collection's numbering and are not read back.
        {"ANALYSIS_ID:int{5}", 1, ""},
        {"ANALYSIS_ID:string{5}", 1, "ANALYSIS_ID:int{5}"},
        // Without the default-option flag, the default set is in force exactly when options are.
        {"USE_ORVO_OPT:int{0}", 1, "USE_ORVO_OPT:int{0} VLT_ORVO_OPT:int{0}"},
        {"USE_ORVO_OPT:int{1} VLT_ORVO_OPT:int{0}", 1, "VLT_ORVO_OPT:int{0}"},
        {"BOGUS:int{1} PLOT_TITLE:string{After} MAX_POINTS:string{7} DISCARD_PLOTS:int{0}", 0,
         "PLOT_TITLE:string{After} DISCARD_PLOTS:int{0}"},
        {"ANALYSIS:int{1} READABLE_NAME:string{R}", 0, "READABLE_NAME:string{R}"},
        {"ORVO_OPT:list{1:list{gmin:double{1}}}", 0, ""},
        {"ORVO_OPT:int{3}", 1, ""},
        {"NODES:int{3}", 0, ""},
    };
    for (const Row& row : rows) {
        Analyses::Op op;
        op.SetMaxPoints(1);
        EXPECT_EQ(op.fromPropertyItem(CPropertyItem("OP", CPropertyList(row.fields))), row.result)
            << row.fields;
        EXPECT_EQ(ChangedFields(op), row.changed) << row.fields;
    }
    // An empty record applies the same rule to the flag as it stands.
    Analyses::Op op;
    op.SetUseAnalysisOptions(0);
    EXPECT_EQ(op.fromPropertyItem(CPropertyItem("OP", CPropertyList())), 1);
    EXPECT_FALSE(op.IsUseVeltraneDefaults());
    EXPECT_EQ(op.fromPropertyItem(CPropertyItem("OP", 3L)), 0);
    EXPECT_EQ(op.fromPropertyItem(CPropertyItem("op", CPropertyList())), 0);
    EXPECT_EQ(op.fromPropertyItem(Record("AC", "")), 0);
}

TEST(AnalysisBase, SimulationNeedsASavedVariableAndAcceptanceDropsThePlotSizeWord) {
    Analyses::Op op;
    EXPECT_EQ(op.CanSimulate(), 0);
    EXPECT_EQ(op.ExplainWhyCannotSimulate(),
              "Output variables must be specified before\nperforming a simulation.");
    op.GetAnalysisNodes().GetNodes().AddName("v(1)", 0, 512);
    EXPECT_EQ(op.CanSimulate(), 0);
    op.GetAnalysisNodes().GetNodes().AddName("v(2)", 0, 256);
    EXPECT_EQ(op.CanSimulate(), 1);
    EXPECT_EQ(op.ExplainWhyCannotSimulate(), "");
    // Only analyses with checks of their own keep the word, as the transient one does.
    op.SetMaxPoints(9999);
    EXPECT_EQ(op.CanAccept(), 1);
    EXPECT_EQ(op.ExplainWhyCannotAccept(), "");
}

TEST(AnalysisBase, SameAsDefaultErasesEditsAndMinimalListIsEmptyOnlyAtDefaults) {
    Analyses::Op op;
    op.SetMaxPoints(12345);
    op.GetAnalysisOptions(1).SetIsEnabledOption(AnalysisOptions::gmin, 1);
    op.GetAnalysisNodes().GetNodes().AddName("v(1)", 0, 256);
    EXPECT_EQ(op.SameAsDefault(), 1);
    EXPECT_EQ(ChangedFields(op), "");
    EXPECT_EQ(op.GetAnalysisOptions(1).GetIsEnabledOption(AnalysisOptions::gmin), 0);
    EXPECT_EQ(op.GetMinPropertyList(), "");
    op.GetAnalysisOptions(0).SetIsEnabledOption(AnalysisOptions::gmin, 1);
    EXPECT_EQ(op.GetMinPropertyList(), op.toPropertyItem().GetField());
    EXPECT_EQ(op.GetAnalysisOptions(0).GetIsEnabledOption(AnalysisOptions::gmin), 1);
}

TEST(AnalysisBase, IdentifierResetsTitleAndInstrumentLimitsThePlot) {
    Analyses::Op op;
    op.SetPlotTitle("Mine");
    op.SetAnalysisIdentifier(4);
    EXPECT_EQ(op.GetPlotTitle(), "DC operating point");
    op.SetAnalysisReadableName("Bias point");
    op.SetAnalysisIdentifier(0);
    EXPECT_EQ(op.GetPlotTitle(), "Bias point");
    op.reset_for_instrument(0);
    EXPECT_EQ(op.GetMaxPoints(), 1000);
}

TEST(AnalysisBase, SimulatorNamesAndAxisValues) {
    const char* const names[][2] = {{"ac analysis", "AC Analysis"},
                                    {"SENSITIVITY-2 ANALYSIS", "Sensitivity-2 Analysis"},
                                    {"dc transfer characteristic", "DC Transfer Characteristic"},
                                    {"Custom plot", "Custom plot"}};
    for (const auto& [simulator, ours] : names) {
        CString name = simulator;
        Analysis::ConvertXspiceAnalysisName(name);
        EXPECT_EQ(name, ours);
    }
    EXPECT_EQ(Analysis::ConvertAnalysisToXAxisValue(2, 0.0015, nullptr), "1.500 ms");
    EXPECT_EQ(Analysis::ConvertAnalysisToXAxisValue(1, 2500.0, "Hz"), "2.500 kHz");
}

TEST(AnalysisBase, ReadableTextOfOperatingPoint) {
    Analyses::Op op;
    op.SetPlotTitle("Bias");
    op.SetAnalysisRawfile("bias.raw");
    op.GetAnalysisNodes().GetNodes().AddName("v(1)", 0, 256);
    op.GetAnalysisNodes().SetShowDevAtEnd(0);
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    // Every bit but "no heading", as the collection asks for it.
    _TREEITEM* top =
        op.toReadableText(log, nullptr, ~static_cast<long>(Analysis::TT_NO_HEADING), "1: ");
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(CString(top->text), "1: DC operating point");
    EXPECT_EQ(ctrl.ToText(),
              "1: DC operating point\n  Plot title: Bias\n  Analysis settings\n"
              "  Perform consistency check\n  Variables from analysis\n"
              "    Saved variables from analysis\n      v(1)\n"
              "  Representation as SPICE commands\n    begin-scope page Bias\n    checknodes 1\n"
              "    save v(1)\n    iplot\n    set trtol = 7\n    set itl4 = 100\n"
              "    set convlimit\n    set rshunt = 1e+12\n    op  -env-options\n"
              "    if-error end-scope audit-log-show\n    write-and-destroy-iplot bias.raw\n"
              "    end-scope\n"
              "  Results saved to file: bias.raw\n"
              "  Veltrane Default Analysis Options\n"
              "    trtol = 7: Truncation error overestimation factor\n"
              "    itl4 = 100: Upper transient iteration limit\n"
              "    convlimit: Enable convergence assistance for code models\n"
              "    rshunt = 1e+12: Shunt resistance from analog nodes to ground\n");

    // Without a heading the pieces go straight under the parent.
    op.UseVeltraneDefaults(false);
    op.GetAnalysisOptions(0).SetIsEnabledOption(AnalysisOptions::trtol, 0);
    EXPECT_EQ(ReadableText(op, Analysis::TT_TITLE | Analysis::TT_OPTIONS | Analysis::TT_NO_HEADING)
                  .rfind("Plot title: Bias\nCustom Analysis Options\n  itl4 = 100: ", 0),
              0u);
}

} // namespace
