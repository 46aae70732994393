// Output variables: plot set-up statements, axis commands, the "NODES" record and its wording.
#include "analyses/core/analysis_nodes.h"
#include "analyses/single/op.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using test::ReadableOf;
using Nodes = Analyses::AnalysisNodes;

CPropertyItem NodesRecord(const char* fields) {
    return CPropertyItem("NODES", CPropertyList(fields));
}

TEST(AnalysisNodes, PlotSetUpWithAndWithoutIncrementalPlotAndAxesInPositionOrder) {
    Analyses::Op op;
    Nodes& nodes = op.GetAnalysisNodes();
    nodes.GetNodes().AddName("v(a)", 0, 256 | 512);
    nodes.GetNodes().AddName("i(v1)", 0, 256);
    nodes.SetAxis(Nodes::HAxis, ST_DEC);
    nodes.SetAxis(Nodes::VAxis, ST_LOG);
    nodes.SetAxis(Nodes::HAxis2, ST_OCT);
    nodes.GetAxes().GetRange(Nodes::VAxis) = CMinMax(1e-3, 1e6);
    nodes.GetAxes().GetRange(Nodes::VAxis2) = CMinMax(0.5, 2);
    const CString axes = "-param vscale log; -param vrange 0.001 1e+06; -param hscale2 oct; "
                         "-param vrange2 0.5 2; -param hscale dec; ";
    EXPECT_EQ(nodes.GetSetupIPlot(0), "checknodes 1; save v(a) i(v1); iplot v(a); " + axes);
    EXPECT_EQ(nodes.GetSetupIPlot(1), "checknodes 1; save all; iplot v(a); " + axes);
    nodes.SetIncrPlot(0);
    EXPECT_EQ(nodes.GetSetupIPlot(0), "checknodes 1; save v(a) i(v1)");
    nodes.SetWantCheckNodes(0);
    EXPECT_EQ(nodes.GetSetupIPlot(0), "save v(a) i(v1)");
    // Without an owning analysis there is no node type to check.
    EXPECT_EQ(Nodes().GetSetupIPlot(0), "save ; iplot ; ");
    EXPECT_EQ(ScaleTypeText(ST_NONE) + CString(ScaleTypeText(-3)), "");

    EXPECT_EQ(nodes.GetSetupPostProcessing(), "; show all; showmod all; ");
    nodes.SetShowDevAtEnd(0);
    EXPECT_EQ(nodes.GetSetupPostProcessing(), "");
}

TEST(AnalysisNodes, RecordAndAssignmentCarryTheSettingsAndOneRangeValueGivesBothEnds) {
    Analyses::Op op;
    Nodes& nodes = op.GetAnalysisNodes();
    nodes.GetNodes().AddName("v(a)", 1, 256);
    nodes.SetNodeFilter(Nodes::Selected, Analyses::NF_VOLTAGES);
    nodes.SetAxis(Nodes::VAxis, ST_LIN);
    nodes.GetAxes().GetRange(Nodes::HAxis) = CMinMax(-2, 3);
    nodes.SetShowDevAtEnd(0);
    const CString text = nodes.toPropertyItem().GetField();
    EXPECT_EQ(
        text,
        "NODES:list{IncrPlot:int{1} NodeFilterSelected:int{1} NodeFilterUnselected:int{0} "
        "ShowAtEnd:int{0} Mode:int{0} UserNodes:list{} Nodes:list{NODE:list{Name:string{v(a)} "
        "Kind:int{1} Flags:int{256}}} vscale:int{0} WantCheckNodes:int{1} "
        "hrange:double{-2} hrange:double{3}}");
    Analyses::Op other;
    ASSERT_EQ(other.GetAnalysisNodes().fromPropertyItem(test::ParseItem(text)), 1);
    EXPECT_EQ(other.GetAnalysisNodes().toPropertyItem().GetField(), text);
    // Assigning a set takes its settings but not its binding to an analysis.
    Analyses::Op third;
    third.GetAnalysisNodes() = nodes;
    EXPECT_EQ(third.GetAnalysisNodes().toPropertyItem().GetField(), text);
    EXPECT_EQ(third.GetAnalysisNodes().GetRefAnalysis(), &third);

    Nodes single;
    EXPECT_EQ(single.fromPropertyItem(NodesRecord("vrange:double{5}")), 1);
    EXPECT_EQ(single.GetAxisCmd(Nodes::VAxis), "-param vrange 5 5; ");
}

TEST(AnalysisNodes, ReaderResetsFirstSkipsWrongTypesAndReportsUnknownFields) {
    Nodes nodes;
    nodes.SetMode(Nodes::Nodes);
    nodes.SetIncrPlot(0);
    EXPECT_EQ(nodes.fromPropertyItem(NodesRecord("Bogus:int{1} hscale:string{log} Mode:string{1} "
                                                 "ShowAtEnd:int{0} vscale2:int{1}")),
              0);
    // The mode is a preference that the reset keeps.
    EXPECT_EQ(nodes.toPropertyItem().GetField(),
              "NODES:list{IncrPlot:int{1} NodeFilterSelected:int{0} NodeFilterUnselected:int{0} "
              "ShowAtEnd:int{0} Mode:int{2} UserNodes:list{} Nodes:list{} vscale2:int{1} "
              "WantCheckNodes:int{1}}");
    EXPECT_EQ(nodes.fromPropertyItem(CPropertyItem("NODES", 1L)), 0);
    EXPECT_EQ(nodes.fromPropertyItem(CPropertyItem("Nodes", CPropertyList())), 0);
}

TEST(AnalysisNodes, ReadableWordingFollowsMode) {
    Nodes nodes;
    nodes.GetNodes().AddName("a", 0, 256);
    nodes.GetNodes().AddName("b", 0, 256 | 512);
    EXPECT_EQ(ReadableOf(nodes), "Perform consistency check\nVariables from analysis\n"
                                 "  Show device values at the end of the simulation\n"
                                 "  Saved variables from analysis\n    a\n    b\n"
                                 "  Plot saved variables incrementally\n    b\n");
    nodes.SetMode(Nodes::Components);
    nodes.SetIncrPlot(0);
    nodes.SetWantCheckNodes(0);
    nodes.SetShowDevAtEnd(0);
    nodes.SetAxis(Nodes::VAxis, ST_LOG);
    nodes.GetAxes().GetRange(Nodes::HAxis) = CMinMax(1, 10);
    const std::string axes = "  Vertical axis scale: log\n  Horizontal axis range: 1 to 10\n";
    EXPECT_EQ(ReadableOf(nodes), "Components from analysis\n" + axes +
                                     "  Saved components from analysis\n    a\n    b\n"
                                     "  Saved components from analysis for later processing\n"
                                     "    b\n");
    nodes.SetMode(Nodes::Nodes);
    nodes.GetNodes()[0].SetFlags(0);
    EXPECT_EQ(ReadableOf(nodes), "Nodes from analysis\n" + axes +
                                     "  Saved nodes from analysis for later processing\n    b\n");
}

TEST(AnalysisNodes, SelectionQueriesAndNodeString) {
    Nodes nodes;
    EXPECT_EQ(nodes.GetSelected(), 0);
    nodes.SetNodesString("  v(1) \t v(2) ");
    nodes.GetNodes()[1].SetFlags(256);
    EXPECT_EQ(nodes.GetNodesString(256, 0), "v(1) v(2)");
    EXPECT_EQ(nodes.GetNodesString(512, 0), "v(1)");
    EXPECT_EQ(nodes.GetSelected() + nodes.GetIPlot() + nodes.GetSelectedNotIPlot(), 3);
    nodes.GetNodes()[1].SetFlags(768);
    EXPECT_EQ(nodes.GetSelectedNotIPlot(), 0);

    CSpiceNodeNameList saved;
    nodes.GetNodes().AddName("x", 0, 512);
    nodes.SelectNodes(saved);
    EXPECT_EQ(saved.GetCount(), 2u);

    nodes.AddNodeFilter(Nodes::Unselected, Analyses::NF_CURRENTS);
    nodes.AddNodeFilter(Nodes::Unselected, Analyses::NF_SOURCES);
    nodes.RemoveNodeFilter(Nodes::Unselected, Analyses::NF_CURRENTS);
    EXPECT_EQ(nodes.GetNodeFilter(Nodes::Unselected), Analyses::NF_SOURCES);
    EXPECT_EQ(nodes.GetNodeFilter(Nodes::Selected), Analyses::NF_NONE);
}

} // namespace
