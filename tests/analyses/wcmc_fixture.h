// A small circuit, tolerances on it and scripted plots for the worst-case and Monte Carlo tests.
#pragma once

#include "analyses/compound/wcmc_analysis.h"
#include "tests/support/scripted_engine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace wcmc_test {

struct TestCollection : Analyses {};

/// r1 and r2 (instance parameter resistance), model rmod (tc1), model qn (bf)
/// and the source vin (dc -5).
inline void FillCircuit(CSpiceCircuit circuit) {
    circuit.AddDevice("Resistor")
        .AddModel("rmod", {{"tc1", 0.001}})
        .AddInstance("r1", {{"resistance", 1e3}})
        .AddInstance("r2", {{"resistance", 2e3}});
    circuit.AddDevice("BJT").AddModel("qn", {{"bf", 100.0}});
    circuit.AddDevice("Vsource").AddModel("").AddInstance("vin", {{"dc", -5.0}});
}

/// A "TolSpec" entry: an instance parameter (`instance` non-empty) or a model one.
inline std::string TolSpec(const std::string& instance, const std::string& model,
                           const std::string& param, double value, double tol, int percent = 1,
                           int distribution = 1, int lot = 0) {
    const std::string member = instance.empty() ? "model:string{" + model + "} isinst:int{0}"
                                                : "name:string{" + instance + "} isinst:int{1}";
    return "TolSpec:list{Distr:int{" + std::to_string(distribution) + "} LotNum:int{" +
           std::to_string(lot) + "} TolClass:int{" + (instance.empty() ? "0" : "1") +
           "} TolType:int{" + std::to_string(percent) + "} TolValue:double{" +
           std::string(CString::Formatted("%.17g", tol).c_str()) + "} MemberToSweep:list{" +
           member + "} MemberParamToSweep:list{name:string{" + param + "} value:double{" +
           std::string(CString::Formatted("%.17g", value).c_str()) + "}}}";
}

/// r1 10% uniform of its own and bf 20% Gaussian in lot 1, as a "TolSpecList".
inline std::string UniqueR1AndLotBf() {
    return "TolSpecList:list{" + TolSpec("r1", "", "resistance", 1e3, 10, 1, 0) + " " +
           TolSpec("", "qn", "bf", 100, 20, 1, 1, 1) + "}";
}

/// The last value the snap-in set for a parameter, as a number; `fallback` when none.
inline double Set(const canal_test::ScriptedEngine& e, const CStringArray& names, double fallback) {
    const CString v = e.LastValue(names);
    return v.IsEmpty() ? fallback : IITVariant(v).GetDouble();
}

inline double R1(const canal_test::ScriptedEngine& e) {
    return Set(e, {"Resistor", "rmod", "r1", "resistance"}, 1e3);
}
inline double Bf(const canal_test::ScriptedEngine& e) {
    return Set(e, {"BJT", "qn", "bf"}, 100.0);
}

/// A transient plot of v(out) that peaks at `peak` at t = 0.5 (rows at 0, 0.5, 1).
inline canal_test::ScriptedPlot TranPeak(double peak) {
    canal_test::ScriptedPlot plot;
    plot.name = "tran1";
    plot.type = AT_TRAN;
    plot.vectors = {"time", "v(out)"};
    plot.scaleIndex = 0;
    plot.rows = {{0.0, 0.0}, {0.5, peak}, {1.0, peak / 2}};
    return plot;
}

/// An operating point with one vector.
inline canal_test::ScriptedPlot OpPoint(const char* vector, double value) {
    canal_test::ScriptedPlot plot;
    plot.name = "op1";
    plot.type = AT_OP;
    plot.vectors = {vector};
    plot.rows = {{value}};
    return plot;
}

/// The output peaks at r1 / bf, in units of the nominal ratio.
inline canal_test::ScriptedAnswer PeakFromParameters(const CString&,
                                                     const canal_test::ScriptedEngine& e) {
    return {1, {TranPeak(R1(e) / 1e3 * 100.0 / Bf(e))}};
}

/// Every value the analysis wrote into the simulator; the 42 placeholder must never be one.
inline void ExpectNoPlaceholder(const canal_test::ScriptedEngine& e) {
    for (const canal_test::ScriptedParameterSet& set : e.ParameterSets())
        EXPECT_NE(set.value, "42") << set.names.back();
}

/// The chart log titled `title` on the engine's only finished page, as text.
inline std::string LogText(const canal_test::ScriptedEngine& e, const char* title) {
    for (const ChartLog& log : e.GetGrapherPages().at(0).GetChartLogs())
        if (log.GetTitle() == title)
            return log.ToText();
    return {};
}

/// An analysis of kind `A` on a collection whose engine simulates the filled circuit.
template <class A> struct WcMcRun : ::testing::Test {
    WcMcRun() {
        FillCircuit(engine.Circuit());
        analyses.SetAsimEng(&engine);
    }
    void Load(const std::string& settings) {
        ASSERT_EQ(analysis.WcMcAnalysis::fromPropertyList(CPropertyList(CString(settings.c_str()))),
                  1);
    }
    int Execute() {
        const AnalysisSinkScope sink(engine, &static_cast<WcMcAnalysis&>(analysis));
        return analysis.ExecuteAnalysis(nullptr);
    }

    canal_test::ScriptedEngine engine;
    TestCollection analyses;
    A analysis{&analyses};
};

} // namespace wcmc_test
