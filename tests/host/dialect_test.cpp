// The dialect's text rules: names, statements, options, analysis arguments and the error rule.
#include "host/ngspice/dialect.h"
#include "host/ngspice/sensitivity.h"

#include "analyses/core/analysis_options.h"
#include "platform/helpers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace host;

AnalysisCommand Map(const std::string& statement) {
    return MapAnalysis(Tokens(statement));
}

TEST(Dialect, GroundBecomesZeroOnlyWhereItStandsAsANameOfItsOwn) {
    EXPECT_EQ(GroundToZero("$0"), "0");
    EXPECT_EQ(GroundToZero("v(out,$0) i(v1)"), "v(out,0) i(v1)");
    EXPECT_EQ(GroundToZero("pz in $0 out $0 vol pz"), "pz in 0 out 0 vol pz");
    EXPECT_EQ(GroundToZero("$01 a$0 $0b"), "$01 a$0 $0b");
}

TEST(Dialect, VectorKeysAndDisplayNamesFollowHowNgspiceStoresVectors) {
    EXPECT_EQ(VectorKey(" V(Out) "), "out");
    EXPECT_EQ(VectorKey("i(V1)"), "v1#branch");
    EXPECT_EQ(VectorKey("v(a,b)"), "v(a,b)"); // a difference is computed, never stored
    EXPECT_EQ(VectorKey("@r1[i]"), "@r1[i]");

    EXPECT_EQ(DisplayName("v1#branch", 4), "i(v1)");
    EXPECT_EQ(DisplayName("out", 3), "v(out)");
    EXPECT_EQ(DisplayName("frequency", 2), "frequency");
    EXPECT_EQ(DisplayName("@r1[i]", 3), "@r1[i]");

    for (const char* plot : {"op1", "ac12", "dc3", "tran2"})
        EXPECT_TRUE(IsNodePlot(plot)) << plot;
    for (const char* plot : {"op", "sens1", "tf1", "pz1", "noise1", "disto1", "acx", "const"})
        EXPECT_FALSE(IsNodePlot(plot)) << plot;
}

TEST(Dialect, EveryOptionTheModelWritesBecomesAnNgspiceOption) {
    AnalysisOptions all;
    for (int o = 0; o < AnalysisOptions::OptionCount; ++o)
        all.SetIsEnabledOption(static_cast<AnalysisOptions::Option>(o), 1);
    CStringArray statements;
    DivideStringIntoStatements(all.toNutmegCommand(), statements);
    std::vector<std::string> commands;
    for (const CString& statement : statements) {
        if (Trim(statement.view()).empty())
            continue;
        const SetStatement set = SplitSet(Trim(statement.view()));
        EXPECT_TRUE(IsSimulatorOption(set.name)) << set.name;
        const std::string command = OptionCommand(set);
        if (set.name == "temp" || set.name == "tnom")
            EXPECT_EQ(command, "") << "temperatures are kelvin in the dialect";
        else
            EXPECT_EQ(command.rfind("option " + set.name, 0), 0u) << command;
        commands.push_back(command);
    }
    EXPECT_EQ(commands.size(), static_cast<std::size_t>(AnalysisOptions::OptionCount));

    EXPECT_EQ(OptionCommand(SplitSet("set reltol = 0.01")), "option reltol=0.01");
    EXPECT_EQ(OptionCommand(SplitSet("set Gmin=1e-12")), "option gmin=1e-12");
    EXPECT_EQ(OptionCommand(SplitSet("set noopiter")), "option noopiter");
    EXPECT_EQ(OptionCommand(SplitSet("set method = \"trapezoidal\"")), "option method=trap");
    EXPECT_EQ(OptionCommand(SplitSet("set method = \"gear\"")), "option method=gear");
    EXPECT_EQ(OptionCommand(SplitSet("set nfreqs = 10")), ""); // an ngspice variable
    EXPECT_EQ(SplitSet("set -temp").name, "-temp");
    EXPECT_TRUE(NeedsXspice("rshunt"));
    EXPECT_TRUE(NeedsXspice("convlimit"));
    EXPECT_FALSE(NeedsXspice("gmin"));
    EXPECT_FALSE(NeedsXspice("nfreqs"));

    EXPECT_EQ(TemperatureCommand("temp", "300.15"), "option temp=27");
    EXPECT_EQ(TemperatureCommand("tnom", "400"), "option tnom=126.85");
    EXPECT_EQ(TemperatureCommand("temp", "hot"), "");
}

TEST(Dialect, AnalysisStatementsLoseTheMarkerAndMapTransientKeywords) {
    EXPECT_EQ(ClassifyStatement("TRAN"), StatementKind::Analysis);
    EXPECT_EQ(ClassifyStatement("transient"), StatementKind::Simulator);
    const AnalysisCommand ac = Map("ac  -env-options dec 10 1 1e+10 ");
    EXPECT_EQ(ac.command, "ac dec 10 1 1e+10");
    EXPECT_TRUE(ac.nodeResults);

    const std::string tran = "tran  -env-options 1e-05 0.003 0 1e-05 ";
    EXPECT_EQ(Map(tran + "auto_ic auto_tstep auto_tmax").command, "tran 1e-05 0.003 0");
    EXPECT_EQ(Map(tran + "auto_ic").command, "tran 1e-05 0.003 0 1e-05");
    const AnalysisCommand zero = Map(tran + "zero_ic");
    EXPECT_EQ(zero.command, "tran 1e-05 0.003 0 1e-05 uic");
    EXPECT_TRUE(zero.zeroIc);
    const AnalysisCommand uic = Map(tran + "UIC");
    EXPECT_EQ(uic.command, "tran 1e-05 0.003 0 1e-05 uic");
    EXPECT_FALSE(uic.zeroIc);
    EXPECT_EQ(Map("ac -env-options auto_ic").command, "ac auto_ic"); // transient words only

    const AnalysisCommand tf = Map("tf  -env-options V(Mid,$0) V1 ");
    EXPECT_EQ(tf.command, "tf v(mid,0) v1"); // ngspice knows netlist names in lower case only
    EXPECT_FALSE(tf.nodeResults);
    const AnalysisCommand sens = Map("sens  -env-options v(mid,$0) ac dec 1 1 10 relative");
    EXPECT_TRUE(sens.relative);
    EXPECT_EQ(sens.args, (std::vector<std::string>{"v(mid,0)", "ac", "dec", "1", "1", "10"}));
}

TEST(Dialect, OnlyErrorAndAbortLinesFailACommandNotWarnings) {
    // Lines as ngspice 39 prints them on stderr.
    for (const char* line : {"Error: TSTOP is invalid, must be greater than zero.",
                             "Fatal error: DC Transfer Function: Voltage source, current "
                             "source, or resistor named \"vmissing\" is not in the circuit",
                             "Error on line 2 or its substitute:", "tran simulation(s) aborted",
                             "frobnicate: no such command available in ngspice"})
        EXPECT_TRUE(IsErrorLine(line)) << line;
    for (const char* line :
         {"Warning: unknown flag frobnicated",
          "Warning from checkvalid: vector nowhere is not available or has "
          "zero length.",
          "warning, can't find model 'nomodel' from line", "Note: No compatibility mode selected!",
          "doAnalyses: The input signal is shorted on the way to the output"})
        EXPECT_FALSE(IsErrorLine(line)) << line;
    EXPECT_TRUE(IsAbortLine("pz simulation(s) aborted"));
    EXPECT_FALSE(IsAbortLine("Error: no such plot op1"));
}

TEST(RelativeSensitivity, ScalesByPrimaryValuesAndMeasuresOutputsAsVectorDifferences) {
    EXPECT_EQ(PrimaryParameter("R1"), "resistance");
    EXPECT_EQ(PrimaryParameter("c2"), "capacitance");
    EXPECT_EQ(PrimaryParameter("l1"), "inductance");
    EXPECT_EQ(PrimaryParameter("v1"), "dc");
    EXPECT_EQ(PrimaryParameter("i3"), "dc");
    for (const char* none : {"r1_scale", "d1:is", "q1", ""})
        EXPECT_EQ(PrimaryParameter(none), "") << none;

    std::string plus, minus;
    ASSERT_TRUE(OutputVectors("V(Mid, 0)", plus, minus));
    EXPECT_EQ(plus + "|" + minus, "mid|0");
    ASSERT_TRUE(OutputVectors("v(out)", plus, minus));
    EXPECT_EQ(plus + "|" + minus, "out|");
    ASSERT_TRUE(OutputVectors("i(V1)", plus, minus));
    EXPECT_EQ(plus + "|" + minus, "v1#branch|");
    for (const char* bad : {"out", "i(a,b)", "x(a)", "v()"})
        EXPECT_FALSE(OutputVectors(bad, plus, minus)) << bad;
}

} // namespace
