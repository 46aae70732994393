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

// What `f` makes of each input, joined by "|".
template <typename F> std::string Each(F f, std::initializer_list<const char*> inputs) {
    std::string all;
    for (const char* input : inputs) {
        const auto out = f(input);
        if constexpr (std::is_same_v<decltype(out), const bool>)
            all += std::string(all.empty() ? "" : "|") + (out ? "1" : "0");
        else
            all += (all.empty() ? "" : "|") + std::string(out);
    }
    return all;
}

std::string Command(const char* statement) {
    return MapAnalysis(Tokens(statement)).command;
}

TEST(Dialect, NamesFollowHowNgspiceStoresVectorsAndGroundIsZeroOnlyAsANameOfItsOwn) {
    EXPECT_EQ(
        Each(GroundToZero, {"$0", "v(out,$0) i(v1)", "pz in $0 out $0 vol pz", "$01 a$0 $0b"}),
        "0|v(out,0) i(v1)|pz in 0 out 0 vol pz|$01 a$0 $0b");
    // A difference is computed, never stored.
    EXPECT_EQ(Each(VectorKey, {" V(Out) ", "i(V1)", "v(a,b)", "@r1[i]"}),
              "out|v1#branch|v(a,b)|@r1[i]");
    EXPECT_EQ(DisplayName("v1#branch", 4) + DisplayName("out", 3) + DisplayName("frequency", 2) +
                  DisplayName("@r1[i]", 3),
              "i(v1)v(out)frequency@r1[i]");
    EXPECT_EQ(Each(IsNodePlot, {"op1", "ac12", "dc3", "tran2", "op", "sens1", "tf1", "pz1",
                                "noise1", "disto1", "acx", "const"}),
              "1|1|1|1|0|0|0|0|0|0|0|0");
}

TEST(Dialect, EveryOptionTheModelWritesBecomesAnNgspiceOption) {
    AnalysisOptions all;
    for (int o = 0; o < AnalysisOptions::OptionCount; ++o)
        all.SetIsEnabledOption(static_cast<AnalysisOptions::Option>(o), 1);
    CStringArray statements;
    DivideStringIntoStatements(all.toNutmegCommand(), statements);
    int options = 0;
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
        ++options;
    }
    EXPECT_EQ(options, AnalysisOptions::OptionCount);

    // nfreqs is an ngspice variable, not an option.
    EXPECT_EQ(Each([](const char* s) { return OptionCommand(SplitSet(s)); },
                   {"set reltol = 0.01", "set Gmin=1e-12", "set noopiter",
                    "set method = \"trapezoidal\"", "set method = \"gear\"", "set nfreqs = 10"}),
              "option reltol=0.01|option gmin=1e-12|option noopiter|option method=trap|option "
              "method=gear|");
    EXPECT_EQ(SplitSet("set -temp").name, "-temp");
    EXPECT_EQ(Each(NeedsXspice, {"rshunt", "convlimit", "gmin", "nfreqs"}), "1|1|0|0");
    EXPECT_EQ(TemperatureCommand("temp", "300.15") + "|" + TemperatureCommand("tnom", "400") + "|" +
                  TemperatureCommand("temp", "hot"),
              "option temp=27|option tnom=126.85|");
}

TEST(Dialect, AnalysisStatementsLoseTheMarkerAndMapTransientKeywords) {
    EXPECT_EQ(ClassifyStatement("TRAN"), StatementKind::Analysis);
    EXPECT_EQ(ClassifyStatement("transient"), StatementKind::Simulator);
    EXPECT_TRUE(MapAnalysis(Tokens("ac  -env-options dec 10 1 1e+10 ")).nodeResults);
    // Transient words only on a transient; ngspice knows netlist names in lower case only.
    const std::string tran = "tran  -env-options 1e-05 0.003 0 1e-05 ";
    EXPECT_EQ(Each(Command, {"ac  -env-options dec 10 1 1e+10 ",
                             "tran  -env-options 1e-05 0.003 0 1e-05 auto_ic auto_tstep auto_tmax",
                             "tran  -env-options 1e-05 0.003 0 1e-05 auto_ic",
                             "tran  -env-options 1e-05 0.003 0 1e-05 zero_ic",
                             "tran  -env-options 1e-05 0.003 0 1e-05 UIC",
                             "ac -env-options auto_ic", "tf  -env-options V(Mid,$0) V1 "}),
              "ac dec 10 1 1e+10|tran 1e-05 0.003 0|tran 1e-05 0.003 0 1e-05|tran 1e-05 0.003 0 "
              "1e-05 uic|tran 1e-05 0.003 0 1e-05 uic|ac auto_ic|tf v(mid,0) v1");
    EXPECT_TRUE(MapAnalysis(Tokens(tran + "zero_ic")).zeroIc);
    EXPECT_FALSE(MapAnalysis(Tokens(tran + "UIC")).zeroIc);
    EXPECT_FALSE(MapAnalysis(Tokens("tf  -env-options V(Mid,$0) V1 ")).nodeResults);
    const AnalysisCommand sens =
        MapAnalysis(Tokens("sens  -env-options v(mid,$0) ac dec 1 1 10 relative"));
    EXPECT_TRUE(sens.relative);
    EXPECT_EQ(sens.args, (std::vector<std::string>{"v(mid,0)", "ac", "dec", "1", "1", "10"}));
}

TEST(Dialect, OnlyErrorAndAbortLinesFailACommandNotWarnings) {
    // Lines as ngspice 39 prints them on stderr.
    EXPECT_EQ(Each(IsErrorLine,
                   {"Error: TSTOP is invalid, must be greater than zero.",
                    "Fatal error: DC Transfer Function: Voltage source, current source, or "
                    "resistor named \"vmissing\" is not in the circuit",
                    "Error on line 2 or its substitute:", "tran simulation(s) aborted",
                    "frobnicate: no such command available in ngspice",
                    "Warning: unknown flag frobnicated",
                    "Warning from checkvalid: vector nowhere is not available or has zero length.",
                    "warning, can't find model 'nomodel' from line",
                    "Note: No compatibility mode selected!",
                    "doAnalyses: The input signal is shorted on the way to the output"}),
              "1|1|1|1|1|0|0|0|0|0");
    EXPECT_EQ(Each(IsAbortLine, {"pz simulation(s) aborted", "Error: no such plot op1"}), "1|0");
}

TEST(RelativeSensitivity, ScalesByPrimaryValuesAndMeasuresOutputsAsVectorDifferences) {
    EXPECT_EQ(Each(PrimaryParameter, {"R1", "c2", "l1", "v1", "i3", "r1_scale", "d1:is", "q1", ""}),
              "resistance|capacitance|inductance|dc|dc||||");
    const auto vectors = [](const char* output) {
        std::string plus, minus;
        return OutputVectors(output, plus, minus) ? plus + "," + minus : "no";
    };
    EXPECT_EQ(Each(vectors, {"V(Mid, 0)", "v(out)", "i(V1)", "out", "i(a,b)", "x(a)", "v()"}),
              "mid,0|out,|v1#branch,|no|no|no|no");
}

} // namespace
