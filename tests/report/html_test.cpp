// HTML report and the output folder: escaping, inline plots, links to the
// files the writer really writes, and text tables.
#include "report/html.h"
#include "report/report.h"
#include "report/text.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

report::Report SampleReport() {
    report::Report r;
    r.title = "rc <test> & 'friends'";
    r.circuit = "/tmp/a&b.cir";
    report::Section ac;
    ac.nickname = "AC";
    ac.title = "AC Analysis";
    ac.settingsText = "AC Analysis\n  Start frequency: 1 <Hz>\n";
    ac.script = "begin-scope page AC; ac  -env-options dec 10 1 1e+10 ; end-scope ";
    report::Page p;
    p.title = "AC Analysis";
    p.plotType = "AC Analysis";
    p.xName = "frequency";
    p.x = {1, 10, 100};
    p.traces.push_back({"v(<out>)", {1, 0.5, 0.1}, {0, -0.5, -0.3}, true, {}});
    p.log = {"note: <script>alert(1)</script>"};
    p.charts.push_back({"Fourier", {"harmonic", "frequency"}, {{"1", "1000"}, {"2", "2000"}}});
    ac.pages.push_back(p);
    report::Page op;
    op.title = "Operating Point";
    op.traces.push_back({"v(1)", {2.5}, {}, true, {}});
    ac.pages.push_back(op);
    ac.log = {"Error: no such vector & friends"};
    ac.ok = false;
    ac.error = "Error: \"bad\" <thing>";
    r.sections.push_back(ac);
    return r;
}

} // namespace

TEST(Html, EscapesEveryUserTextAndInlinesPlotsWithDistinctClipIds) {
    EXPECT_EQ(report::HtmlEscape("a<b>&\"c\"'d'"), "a&lt;b&gt;&amp;&quot;c&quot;&#39;d&#39;");
    report::Report r = SampleReport();
    r.sections[0].pages.push_back(r.sections[0].pages[0]);
    const std::string html = report::ToHtml(r);
    for (const char* absent : {"<script>", "<?xml", "id=\"plot0\""}) // inlined, not embedded
        EXPECT_EQ(html.find(absent), std::string::npos) << absent;
    // The SVG legend too; the value page as a table.
    for (const char* text :
         {"&lt;script&gt;alert(1)&lt;/script&gt;", "rc &lt;test&gt; &amp; &#39;friends&#39;",
          "/tmp/a&amp;b.cir", "Error: &quot;bad&quot; &lt;thing&gt;", "1 &lt;Hz&gt;",
          "v(&lt;out&gt;)", "<svg", "href=\"01-ac-analysis.csv\"", "<td>2000</td>",
          "<td class=\"num\">2.5</td>", "id=\"s0p0plot0\"", "id=\"s0p2plot0\"", "url(#s0p2plot1)"})
        EXPECT_NE(html.find(text), std::string::npos) << text;
}

TEST(ReportWriter, WritesEveryFileTheReportLinksTo) {
    namespace fs = std::filesystem;
    const canal_test::TempFolder folder;
    const fs::path& dir = folder.Path();
    report::Report r = SampleReport();
    r.sections[0].pages[0].histograms.push_back({"MAX of v(out)", "V", {1, 2, 2}, 1.7, 0.5});
    report::Section tran;
    tran.nickname = "TRAN";
    tran.title = "Transient Analysis";
    tran.files = {{"results.txt", "Results\n"}, {"runs.csv", "index,value\n0,1\n"}};
    r.sections.push_back(tran);

    auto result = report::WriteReport(r, (dir / "nested").string());
    EXPECT_TRUE(result.ok());
    EXPECT_EQ(
        report::SectionFileNames(r, 0),
        (std::vector<std::string>{"ac-01-ac-analysis.csv", "ac-01-ac-analysis.svg",
                                  "ac-01-ac-analysis-histogram.svg", "ac-02-operating-point.csv",
                                  "ac-analysis.txt", "ac-log.txt"}));
    for (const std::string& name : report::SectionFileNames(r, 0))
        EXPECT_TRUE(fs::exists(dir / "nested" / name)) << name;
    for (const char* name : {"tran-analysis.txt", "tran-log.txt", "report.html"})
        EXPECT_TRUE(fs::exists(dir / "nested" / name)) << name;
    EXPECT_EQ(folder.Read("nested/tran-runs.csv"), "index,value\n0,1\n");
    EXPECT_FALSE(fs::exists(dir / "nested" / "ac-02-operating-point.svg"));
    EXPECT_EQ(result.files.size(), 11u);

    const std::string html = folder.Read("nested/report.html");
    for (const char* text : {"href=\"ac-01-ac-analysis.csv\"", "href=\"tran-results.txt\"",
                             "Distribution of MAX of v(out)"})
        EXPECT_NE(html.find(text), std::string::npos) << text;
    const std::string log = folder.Read("nested/ac-log.txt");
    for (const char* text : {"Failed: Error: \"bad\" <thing>", "Error: no such vector & friends"})
        EXPECT_NE(log.find(text), std::string::npos) << text;
    EXPECT_EQ(folder.Read("nested/ac-analysis.txt"), r.sections[0].settingsText);

    // A folder that cannot be created is reported, not thrown.
    folder.Write("file", "x");
    auto bad = report::WriteReport(r, (dir / "file" / "sub").string());
    EXPECT_FALSE(bad.ok());
    EXPECT_TRUE(bad.files.empty());
}

TEST(ReportNames, SlugsAreShortLowerCaseAndNeverEmpty) {
    EXPECT_EQ(report::Slug("AC Analysis (dec)"), "ac-analysis-dec");
    EXPECT_EQ(report::Slug("  ***  "), "page");
    EXPECT_EQ(report::Slug(std::string(100, 'a')).size(), 40u);
}

TEST(TextReport, ChartColumnsAlignWithNumbersToTheRight) {
    report::Chart chart{"Fourier components",
                        {"harmonic", "magnitude", "unit"},
                        {{"1", "1.5", "V"}, {"10", "0.025", "mV"}}};
    EXPECT_EQ(report::ChartToText(chart), "Fourier components\nharmonic  magnitude  unit\n"
                                          "-------------------------\n       1        1.5  V\n"
                                          "      10      0.025  mV\n");
}
