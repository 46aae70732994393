// `canal run` in-process for the simulator tests: a folder per test, circuits and settings
// written into it, and the files the run leaves read back.
#pragma once

#include "cli/commands.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#ifndef EXPECT_REL
#define EXPECT_REL(actual, expected, rel)                                                          \
    EXPECT_NEAR((actual), (expected), std::fabs(expected) * (rel))
#endif
#define ASSERT_REL(actual, expected, rel)                                                          \
    ASSERT_NEAR((actual), (expected), std::fabs(expected) * (rel))

namespace canal_test {

namespace fs = std::filesystem;

/// A folder of its own per test (removed afterwards), and the tool's output and messages,
/// printed when the test fails.
class ToolRunTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("canal_run_" + std::to_string(::getpid()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
    }
    void TearDown() override {
        if (HasFailure())
            std::cerr << "---- output ----\n" << out_.str() << "---- errors ----\n" << err_.str();
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }

    fs::path Write(const std::string& name, const std::string& text) {
        std::ofstream(dir_ / name) << text;
        return dir_ / name;
    }

    /// `canal run ARGS...`; the streams hold this call's output only.
    int Run(const std::vector<std::string>& args) {
        out_.str("");
        err_.str("");
        return cli::RunCommand(args, out_, err_);
    }

    fs::path dir_;
    std::ostringstream out_, err_;
};

inline std::vector<fs::path> FilesWithExtension(const fs::path& dir, const std::string& ext) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(dir))
        if (entry.path().extension() == ext)
            files.push_back(entry.path());
    return files;
}

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

inline std::vector<std::string> CsvCells(const std::string& line) {
    std::vector<std::string> cells;
    std::string cell;
    bool quoted = false;
    for (char c : line) {
        if (c == '"')
            quoted = !quoted;
        else if (c == ',' && !quoted)
            cells.push_back(std::exchange(cell, std::string()));
        else
            cell += c;
    }
    cells.push_back(cell);
    return cells;
}

inline Table ReadCsv(const fs::path& path) {
    Table table;
    std::ifstream in(path);
    std::string line;
    if (std::getline(in, line))
        table.header = CsvCells(line);
    while (std::getline(in, line)) {
        std::vector<double> row;
        for (const std::string& cell : CsvCells(line)) {
            double v = NAN;
            std::from_chars(cell.data(), cell.data() + cell.size(), v);
            row.push_back(v);
        }
        table.rows.push_back(row);
    }
    return table;
}

inline std::string ReadAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

} // namespace canal_test
