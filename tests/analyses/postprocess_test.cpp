// Post-processing pages: statements, persistence, reader robustness and summary.
#include "analyses/core/postprocess.h"

#include <gtest/gtest.h>

namespace {

PostProcess TwoPages() {
    PostProcess pp;
    PP_Page& first = pp.GetPageList().Add(PP_Page());
    PP_Diagram& chart = first.GetDiagramList().Add(PP_Diagram(PP_Diagram::Chart, nullptr));
    chart.GetTraces().AddString("v(out)");
    chart.GetTraces().AddString("db(v(out))");
    first.GetDiagramList().Add(PP_Diagram(PP_Diagram::Graph, nullptr));
    PP_Page& second = pp.GetPageList().Add(PP_Page());
    second.GetDiagramList()
        .Add(PP_Diagram(PP_Diagram::Graph, nullptr))
        .GetTraces()
        .AddString("i(v1)");
    pp.GetPageList().Add(PP_Page());
    return pp;
}

TEST(PostProcess, StatementsListPagesDiagramsAndTraces) {
    EXPECT_EQ(PostProcess().toNutmegCommand(), "");
    EXPECT_EQ(TwoPages().toNutmegCommand(),
              "-param new-page; plot-chart v(out) db(v(out)) ; plot-graph ; "
              "-param new-page; plot-graph i(v1) ; "
              "-param new-page; ");
    PP_Diagram odd(static_cast<PP_Diagram::Type>(3));
    odd.GetTraces().AddString("x");
    EXPECT_EQ(PP_Diagram::toNutmegCommand(odd), "x ; ");
    EXPECT_EQ(PP_Diagram::toPropertyList(odd).GetList(), "TRACE:string{x}");
}

TEST(PostProcess, PagesSurviveARoundTrip) {
    EXPECT_TRUE(PostProcess().toPropertyList().IsEmpty());
    const PostProcess pp = TwoPages();
    const CString stored = pp.toPropertyList().GetList();
    EXPECT_EQ(stored,
              "PAGE:list{DIAGRAM:list{TYPE:string{CHART} TRACE:string{v(out)} "
              "TRACE:string{db(v(out))}} DIAGRAM:list{TYPE:string{GRAPH}}} "
              "PAGE:list{DIAGRAM:list{TYPE:string{GRAPH} TRACE:string{i(v1)}}} PAGE:list{}");
    PostProcess read;
    read.GetPageList().Add(PP_Page());
    ASSERT_EQ(read.fromPropertyList(CPropertyList(stored)), 1);
    EXPECT_EQ(read.toPropertyList().GetList(), stored);
    EXPECT_EQ(read.toNutmegCommand(), pp.toNutmegCommand());
    EXPECT_EQ(read.GetPageList()[0].GetDiagramList()[0].GetTraces()[1].selected, 1);
}

TEST(PostProcess, ReaderSkipsBadItemsAndKeepsTheRest) {
    PostProcess pp;
    EXPECT_EQ(pp.fromPropertyList(CPropertyList(
                  "PAGE:int{1} Junk:string{x} "
                  "PAGE:list{DIAGRAM:string{no} Other:int{2} "
                  "DIAGRAM:list{TYPE:int{1} TRACE:double{2} TYPE:string{GRAPH} TRACE:string{v(a)} "
                  "Extra:int{0} TRACE:string{v(b)}}}")),
              0);
    EXPECT_EQ(pp.toPropertyList().GetList(),
              "PAGE:list{DIAGRAM:list{TYPE:string{GRAPH} TRACE:string{v(a)} TRACE:string{v(b)}}}");
}

TEST(PostProcess, SummaryListsPagesDiagramsAndTraces) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    TwoPages().toReadableText(log, nullptr);
    EXPECT_EQ(ctrl.ToText(), "Post Processing\n  Page 1\n    Diagram 1\n      Chart\n      Traces\n"
                             "        v(out)\n        db(v(out))\n    Diagram 2\n      Graph\n"
                             "      Traces\n  Page 2\n    Diagram 1\n      Graph\n      Traces\n"
                             "        i(v1)\n  Page 3\n");
}

} // namespace
