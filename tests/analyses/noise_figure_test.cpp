// Noise figure analysis: the set-up command, its record, and whole runs through the engine's
// "NOISE_FIGURE" request against a scripted simulator.
#include "analyses/compound/noise_figure.h"
#include "analyses/core/analysis_proxy.h"
#include "tests/support/scripted_engine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using NoiseFigure = Analyses::NoiseFigure;
using canal_test::LogLines;
using canal_test::ScriptedAnswer;
using canal_test::ScriptedEngine;
using canal_test::ScriptedPlot;
using Lines = std::vector<std::string>;

struct TestCollection : Analyses {
    using Analyses::RegisterAnalysis;
};

const std::vector<CString> kSpectra = {"frequency", "onoise_spectrum", "inoise_spectrum"};

ScriptedPlot NoisePlot(std::vector<double> row, ANALYSIS_TYPE type = AT_NOISE,
                       std::vector<CString> vectors = kSpectra) {
    ScriptedPlot plot;
    plot.name = "noise1";
    plot.type = type;
    plot.vectors = std::move(vectors);
    plot.scaleIndex = 0;
    plot.rows = {std::move(row)};
    return plot;
}

/// Runs a default analysis with output "out" and source "vin" through the engine as the host
/// would, the simulator answering the noise command with `plots`; stops from the (n+1)-th poll
/// when `stopAfterPolls` is not -1. `engine` is left for inspection.
int RunFigure(ScriptedEngine& engine, std::vector<ScriptedPlot> plots, int stopAfterPolls = -1) {
    TestCollection analyses;
    analyses.SetAsimEng(&engine);
    engine.StopAfterPolls(stopAfterPolls);
    engine.SetScript([plots](const CString& command, const ScriptedEngine&) {
        return ScriptedAnswer{1, command.Find("noise ") >= 0 ? plots : std::vector<ScriptedPlot>{}};
    });
    NoiseFigure nf(&analyses);
    nf.SetOutputNode("out");
    nf.SetInputNoiseFigureRefSource("vin");
    const CString request = nf.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
    // What follows "orvo " up to the closing separator is what the host hands over.
    return engine.ExecuteCommand(&analyses, request.Mid(5, request.GetLength() - 7));
}

Lines LogOf(const ScriptedEngine& engine) {
    return LogLines(engine.GetGrapherPages().back().GetChartLogs().back());
}

TEST(NoiseFigureAnalysis, SetupCommandIsOneNoisePointAtTheTemperature) {
    NoiseFigure nf;
    nf.SetOutputNode("  out\t");
    nf.SetInputNoiseFigureRefSource(" vin ");
    EXPECT_EQ(nf.toNutmegCommandSetup(),
              "set temp=300.15 ; noise  -env-options v(out) vin dec 10 1e+09 1e+09 ; set -temp");
    nf.SetReferenceNode("ref");
    nf.SetFrequency(2e6);
    nf.SetTemperature(290);
    EXPECT_EQ(nf.toNutmegCommandSetup(),
              "set temp=290 ; noise  -env-options v(out,ref) vin dec 10 2e+06 2e+06 ; set -temp");
    nf.SetReferenceNode("$0");
    EXPECT_NE(nf.toNutmegCommandSetup().Find(" v(out) vin "), -1);

    // reset returns to the defaults, the sweep to its single point at 1 GHz.
    nf.SetVariation(AcAnalysis::Linear);
    nf.reset();
    EXPECT_EQ(nf.toNutmegCommandSetup(),
              "set temp=300.15 ; noise  -env-options v($0) $0 dec 10 1e+09 1e+09 ; set -temp");
    EXPECT_EQ(nf.GetAnalysisNodes().GetMode(), 1);
    EXPECT_EQ(nf.CanSimulate(), 1) << "nodes are named in the settings, no variables to choose";
}

TEST(NoiseFigureAnalysis, RecordKeepsKeyOrderRoundTripsAndReadsOverBadKeys) {
    NoiseFigure nf;
    nf.SetOutputNode("out");
    nf.SetInputNoiseFigureRefSource("vin");
    EXPECT_EQ(nf.toNutmegCommand(Analyses::Analysis::NT_COMMAND),
              "orvo NOISE_FIGURE NodeFilterInputRefSource:int{0} NodeFilterOutputNode:int{0} "
              "NodeFilterReferenceNode:int{0} InputRefSource:string{vin} OutputNode:string{out} "
              "ReferenceNode:string{} FREQ_OPT:list{VARIATION:string{dec} "
              "NPOINTS_PER_VARIATION:double{10} FSTART:double{1e+09} FSTOP:double{1e+09} "
              "vscale:int{1} hscale:int{1} hrange:double{1e+09} hrange:double{1e+09}} "
              "Frequency:double{1e+09} Temperature:double{300.15}; ");
    nf.SetNodeFilterReferenceNode(Analyses::NF_ALL);
    nf.SetReferenceNode("n8");
    nf.SetFrequency(433e6);
    nf.SetTemperature(290);
    NoiseFigure copy;
    ASSERT_EQ(copy.fromPropertyItem(nf.toPropertyItem()), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), nf.toPropertyItem().GetField());

    // The stored frequency brings a sweep stored apart from it back to the point;
    // an unknown key fails the record, later keys still apply, mistyped ones are skipped.
    CPropertyList outer;
    outer.AddItem(CPropertyItem(
        "ANALYSIS", CPropertyList("FREQ_OPT:list{FSTART:double{1} FSTOP:double{1e+10}} "
                                  "Bogus:int{1} Frequency:double{5e+06} Temperature:string{hot} "
                                  "OutputNode:string{o}")));
    NoiseFigure read;
    EXPECT_EQ(read.fromPropertyItem(CPropertyItem("NOISE_FIGURE", outer)), 0);
    EXPECT_EQ(read.toNutmegCommandSetup(),
              "set temp=300.15 ; noise  -env-options v(o) $0 dec 10 5e+06 5e+06 ; set -temp");
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    read.toReadableText(
        log, nullptr, Analyses::Analysis::TT_SETTINGS | Analyses::Analysis::TT_NO_HEADING, nullptr);
    EXPECT_EQ(ctrl.ToText(), "Analysis settings\n"
                             "  Input reference source: $0\n"
                             "  Output node: o\n"
                             "  Reference node: $0\n"
                             "  Frequency: 5e+06\n"
                             "  Temperature (K): 300.15\n");
}

TEST(NoiseFigureAnalysis, RunLogsTheResultOfTheLastRowOfTheLastNoisePlot) {
    ScriptedPlot upper =
        NoisePlot({1, 2, 3}, AT_NOISE, {"frequency", "INOISE_SPECTRUM", "Onoise_Spectrum"});
    upper.rows.push_back({1e9, 1e-7, 1e-6});
    const ScriptedPlot noInput = NoisePlot({1e9, 2e-6}, AT_NOISE, {"frequency", "onoise_spectrum"});
    const ScriptedPlot good = NoisePlot({1e9, 1e-6, 1e-7});
    const struct {
        std::vector<ScriptedPlot> plots;
        int stopAfterPolls, result;
        const char *text, *output, *input;
    } rows[] = {
        // clang-format off
        {{good}, -1, 1, "20db", "1e-06", "1e-07"},
        {{NoisePlot({1e9, 0.0, 1e-7})}, -1, 0, "Negative Infinity", "0", "1e-07"},
        // Names match in any case; the last row counts.
        {{upper}, -1, 1, "20db", "1e-06", "1e-07"},
        // A noise plot without the input spectrum starts afresh.
        {{good, noInput}, -1, 0, "Infinity", "2e-06", "0"},
        // Plots of other kinds are ignored, before the noise plot and after it.
        {{NoisePlot({1e9, 5.0, 5.0}, AT_AC), good, NoisePlot({1e9, 7.0, 0.0}, AT_TRAN)}, -1, 1, "20db", "1e-06", "1e-07"},
        // A short row is not read past.
        {{NoisePlot({1e9, 1e-6})}, -1, 0, "Infinity", "1e-06", "0"},
        // A stop keeps the result but fails the run.
        {{good}, 0, 0, "20db", "1e-06", "1e-07"},
        // clang-format on
    };
    for (const auto& r : rows) {
        ScriptedEngine engine;
        EXPECT_EQ(RunFigure(engine, r.plots, r.stopAfterPolls), r.result) << r.text;
        EXPECT_EQ(engine.Commands(),
                  std::vector<CString>{"set temp=300.15 ; noise  -env-options v(out) vin dec 10 "
                                       "1e+09 1e+09 ; set -temp"});
        EXPECT_EQ(engine.GetAnalysisEventSink(), nullptr);
        ASSERT_EQ(engine.GetGrapherPages().size(), 1u);
        EXPECT_EQ(engine.GetGrapherPages()[0].GetTitle(), "Noise Figure Analysis");
        EXPECT_EQ(engine.GetGrapherPages()[0].GetChartLogs().at(0).GetTitle(),
                  "Noise Figure Results");
        EXPECT_EQ(LogOf(engine),
                  (Lines{r.text, std::string("Output noise (onoise_spectrum): ") + r.output,
                         std::string("Input-referred noise (inoise_spectrum): ") + r.input}));
    }
    EXPECT_EQ(NoiseFigure().ExecuteAnalysis(), 0) << "no collection, no engine";
}

TEST(NoiseFigureAnalysis, MainAnalysisIsTheCollectionsNoiseFigure) {
    TestCollection analyses;
    NoiseFigure main(&analyses);
    main.SetOutputNode("out");
    main.SetFrequency(1e6);
    NoiseFigure other(&analyses);
    Analyses::AnalysisProxy proxy(&other, 0);
    EXPECT_EQ(proxy.LoadFromMainAnalysis(), 0);
    analyses.RegisterAnalysis(Analyses::AnalysisType::NoiseFigure, &main);

    // Not the AC analysis's sweep: the copy stays one point at the main frequency.
    ASSERT_EQ(proxy.GetNoiseFigurePtr(), &other);
    EXPECT_EQ(proxy.GetAcPtr(), nullptr);
    EXPECT_EQ(proxy.LoadFromMainAnalysis(), 1);
    EXPECT_EQ(other.toNutmegCommandSetup(), main.toNutmegCommandSetup());
    EXPECT_NE(other.toNutmegCommandSetup().Find(" v(out) $0 dec 10 1e+06 1e+06 "), -1);
}

} // namespace
