// `canal run` in-process for the simulator tests: a folder per test, circuits and settings
// written into it, and the files the run leaves read back.
#pragma once

#include "cli/commands.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#ifndef EXPECT_REL
#define EXPECT_REL(actual, expected, rel)                                                          \
    EXPECT_NEAR((actual), (expected), std::fabs(expected) * (rel))
#endif

namespace canal_test {

/// A CSV file: the header cells, and every row as numbers (NaN for a cell that is none).
struct Table {
    std::vector<std::string> header;
    std::vector<std::vector<double>> rows;

    /// The index of the column called `name`; fails the test when there is none.
    size_t Column(const std::string& name) const {
        for (size_t c = 0; c < header.size(); ++c)
            if (header[c] == name)
                return c;
        ADD_FAILURE() << "no column " << name;
        return 0;
    }
};

/// One saved and plotted output variable, as a sweep's settings hold it.
inline std::string Saved(const std::string& variable) {
    return "NODES:list{Nodes:list{NODE:list{Name:string{" + variable +
           "} Kind:int{3} Flags:int{768}}}} ";
}

/// A tolerance of `value` (percent unless `type` is 0: absolute) on `parameter` of an instance,
/// or of a model when `cls` is 0, drawn Gaussian (distribution 1) or uniform (0).
inline std::string Tolerance(const std::string& instance, double value, int distribution = 1,
                             const std::string& parameter = "resistance", int type = 1,
                             int cls = 1) {
    const std::string member = cls ? "name:string{" + instance + "} isinst:int{1}"
                                   : "model:string{" + instance + "} isinst:int{0}";
    return "TolSpec:list{Distr:int{" + std::to_string(distribution) + "} TolClass:int{" +
           std::to_string(cls) + "} TolType:int{" + std::to_string(type) + "} TolValue:double{" +
           std::to_string(value) + "} MemberToSweep:list{" + member +
           "} MemberParamToSweep:list{name:string{" + parameter + "}}} ";
}

/// `canal run` in a folder of its own per test; the tool's output and messages are printed
/// when the test fails.
class ToolRunTest : public ::testing::Test {
protected:
    void TearDown() override {
        if (HasFailure())
            std::cerr << "---- output ----\n" << out_.str() << "---- errors ----\n" << err_.str();
    }

    /// `canal run ARGS...`; the streams hold this call's output only.
    int Run(const std::vector<std::string>& args) {
        out_.str("");
        err_.str("");
        return cli::RunCommand(args, out_, err_);
    }
    /// `canal run CIRCUIT NICKNAME --settings S --out OUT EXTRA...`, with `settings` written to
    /// a file first and OUT the folder `out` of the test's folder.
    int RunTo(const std::string& out, const std::string& circuit, const std::string& nickname,
              const std::string& settings, std::vector<std::string> extra = {}) {
        std::vector<std::string> args = {
            circuit, nickname, "--settings", Write(out + ".prop", settings), "--out", Path(out)};
        args.insert(args.end(), extra.begin(), extra.end());
        return Run(args);
    }

    std::string Write(const std::string& name, const std::string& text) const {
        return folder_.Write(name, text);
    }
    std::string Path(const std::string& name) const { return folder_.Path(name); }
    std::string Read(const std::string& name) const { return folder_.Read(name); }
    /// The CSV file `name` of the folder; an empty table when it cannot be read.
    Table Csv(const std::string& name) const {
        Table table;
        std::istringstream in(Read(name));
        std::string line;
        for (bool header = true; std::getline(in, line); header = false) {
            std::vector<std::string> cells(1);
            bool quoted = false;
            for (char c : line) {
                if (c == '"')
                    quoted = !quoted;
                else if (c == ',' && !quoted)
                    cells.emplace_back();
                else
                    cells.back() += c;
            }
            if (header) {
                table.header = cells;
                continue;
            }
            std::vector<double>& row = table.rows.emplace_back();
            for (const std::string& cell : cells) {
                double v = NAN;
                std::from_chars(cell.data(), cell.data() + cell.size(), v);
                row.push_back(v);
            }
        }
        return table;
    }
    bool Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }

    TempFolder folder_;
    std::ostringstream out_, err_;
};

} // namespace canal_test
