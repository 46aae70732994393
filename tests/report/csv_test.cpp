// CSV pages: column layout, magnitude/phase of complex traces, full precision, quoting.
#include "report/csv.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <sstream>

namespace {

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> Cells(const std::string& line) {
    std::vector<std::string> cells;
    std::string cell;
    bool quoted = false;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quoted) {
            if (c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
                cell += '"';
                ++i;
            } else if (c == '"') {
                quoted = false;
            } else {
                cell += c;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            cells.push_back(cell);
            cell.clear();
        } else {
            cell += c;
        }
    }
    cells.push_back(cell);
    return cells;
}

double Number(const std::string& text) {
    double v = NAN;
    std::from_chars(text.data(), text.data() + text.size(), v);
    return v;
}

} // namespace

TEST(Csv, RealTracesGiveOneColumnEachWithFullPrecision) {
    report::Page page;
    page.xName = "time";
    page.x = {0.0, 1e-3, 2e-3};
    page.traces.push_back({"v(out)", {0.1, 1.0 / 3.0, -2.5e-12}, {}, true});
    page.traces.push_back({"v(in)", {1, 2, 3}, {}, false});
    auto lines = Lines(report::ToCsv(page));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "time,v(out),v(in)");
    EXPECT_EQ(lines[1], "0,0.10000000000000001,1");
    auto row = Cells(lines[2]);
    ASSERT_EQ(row.size(), 3u);
    EXPECT_EQ(Number(row[1]), 1.0 / 3.0); // 17 digits read back exactly
    EXPECT_EQ(row[0], "0.001");
    EXPECT_EQ(Cells(lines[3])[1], "-2.4999999999999998e-12");
}

TEST(Csv, ComplexTracesGiveMagnitudeAndPhaseInDegrees) {
    report::Page page;
    page.xName = "frequency";
    page.x = {10.0, 100.0};
    page.traces.push_back({"v(out)", {3.0, 0.0}, {4.0, -2.0}, true});
    auto lines = Lines(report::ToCsv(page));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "frequency,|v(out)|,phase(v(out))");
    auto first = Cells(lines[1]);
    ASSERT_EQ(first.size(), 3u);
    EXPECT_DOUBLE_EQ(Number(first[1]), 5.0);
    EXPECT_NEAR(Number(first[2]), 53.130102354155978, 1e-12);
    auto second = Cells(lines[2]);
    EXPECT_DOUBLE_EQ(Number(second[1]), 2.0);
    EXPECT_DOUBLE_EQ(Number(second[2]), -90.0);
}

TEST(Csv, NamesWithCommasAndQuotesAreQuoted) {
    EXPECT_EQ(report::CsvField("v(a,b)"), "\"v(a,b)\"");
    EXPECT_EQ(report::CsvField("say \"hi\""), "\"say \"\"hi\"\"\"");
    EXPECT_EQ(report::CsvField("plain"), "plain");
    EXPECT_EQ(report::CsvField("two\nlines"), "\"two\nlines\"");

    report::Page page;
    page.x = {1.0};
    page.traces.push_back({"v(a,b)", {2.0}, {}, true});
    page.traces.push_back({"i(x,y)", {1.0}, {1.0}, true});
    auto header = Cells(Lines(report::ToCsv(page))[0]);
    ASSERT_EQ(header.size(), 4u);
    EXPECT_EQ(header[0], "x"); // no x name given
    EXPECT_EQ(header[1], "v(a,b)");
    EXPECT_EQ(header[2], "|i(x,y)|");
    EXPECT_EQ(header[3], "phase(i(x,y))");
}

TEST(Csv, ShortTracesAndSpecialValuesLeaveReadableCells) {
    report::Page page;
    page.xName = "time";
    page.x = {0, 1, 2};
    page.traces.push_back({"a", {NAN, INFINITY}, {}, true});
    page.traces.push_back({"b", {1.0}, {1.0}, true});
    auto lines = Lines(report::ToCsv(page));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1], "0,nan,1.4142135623730951,45");
    EXPECT_EQ(lines[2], "1,inf,,");
    EXPECT_EQ(lines[3], "2,,,");
}

TEST(Csv, PagesWithoutXAreNameValueRows) {
    report::Page op;
    op.traces.push_back({"v(out)", {2.5}, {}, true});
    op.traces.push_back({"i(v1)", {-1e-3}, {}, true});
    EXPECT_EQ(report::ToCsv(op), "name,value\nv(out),2.5\ni(v1),-0.001\n");

    report::Page pz;
    pz.traces.push_back({"pole", {-1.0, -1.0}, {2.0, -2.0}, true});
    EXPECT_EQ(report::ToCsv(pz), "name,value,imaginary\npole[0],-1,2\npole[1],-1,-2\n");
}
