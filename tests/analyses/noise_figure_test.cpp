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

struct TestCollection : Analyses {
    using Analyses::RegisterAnalysis;
};

ScriptedPlot NoisePlot(std::vector<CString> vectors, std::vector<double> row,
                       ANALYSIS_TYPE type = AT_NOISE) {
    ScriptedPlot plot;
    plot.name = "noise1";
    plot.type = type;
    plot.vectors = std::move(vectors);
    plot.scaleIndex = 0;
    plot.rows = {std::move(row)};
    return plot;
}

/// An engine on a collection whose simulator answers the noise run with `plots`.
struct NoiseRun {
    ScriptedEngine engine;
    TestCollection analyses;

    explicit NoiseRun(std::vector<ScriptedPlot> plots) {
        analyses.SetAsimEng(&engine);
        engine.SetScript([plots](const CString& command, const ScriptedEngine&) {
            ScriptedAnswer answer;
            if (command.Find("noise ") >= 0)
                answer.plots = plots;
            return answer;
        });
    }

    /// Runs a default analysis with output "out" and source "vin" as the host would.
    int Run() {
        NoiseFigure nf(&analyses);
        nf.SetOutputNode("out");
        nf.SetInputNoiseFigureRefSource("vin");
        const CString request = nf.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
        // What follows "orvo " up to the closing separator is what the host hands over.
        const CString text = request.Mid(5, request.GetLength() - 7);
        return engine.ExecuteCommand(&analyses, text);
    }
    const ChartLog& Log() const { return engine.GetGrapherPages().back().GetChartLogs().back(); }
};

const std::vector<CString> kSpectra = {"frequency", "onoise_spectrum", "inoise_spectrum"};

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
    // Nodes are named in the settings: the analysis runs without chosen variables.
    EXPECT_EQ(nf.CanSimulate(), 1);
}

TEST(NoiseFigureAnalysis, RecordKeepsKeyOrderAndRoundTrips) {
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
    EXPECT_EQ(copy.GetNodeFilterReferenceNode(), Analyses::NF_ALL);
    EXPECT_EQ(copy.toNutmegCommandSetup(), nf.toNutmegCommandSetup());

    // The stored frequency brings a sweep stored apart from it back to the point;
    // an unknown key fails the record, later keys still apply, mistyped ones are skipped.
    CPropertyList outer;
    outer.AddItem(CPropertyItem(
        "ANALYSIS", CPropertyList("FREQ_OPT:list{FSTART:double{1} FSTOP:double{1e+10}} "
                                  "Bogus:int{1} Frequency:double{5e+06} Temperature:string{hot} "
                                  "OutputNode:string{o}")));
    NoiseFigure read;
    EXPECT_EQ(read.fromPropertyItem(CPropertyItem("NOISE_FIGURE", outer)), 0);
    EXPECT_EQ(read.GetFstart(), 5e6);
    EXPECT_EQ(read.GetFstop(), 5e6);
    EXPECT_EQ(read.GetTemperature(), 300.15);
    EXPECT_EQ(read.GetOutputNode(), "o");

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

TEST(NoiseFigureAnalysis, RunReportsEachResultCase) {
    struct Case {
        double o, i;
        int result;
        const char* text;
    };
    // The texts of every result case are the result function's; here a figure and a refusal.
    const Case cases[] = {{1e-6, 1e-7, 1, "20db"}, {0.0, 1e-7, 0, "Negative Infinity"}};
    for (const Case& c : cases) {
        NoiseRun run({NoisePlot(kSpectra, {1e9, c.o, c.i})});
        EXPECT_EQ(run.Run(), c.result) << c.text;
        ASSERT_EQ(run.engine.Commands().size(), 1u);
        EXPECT_EQ(
            run.engine.Commands()[0],
            "set temp=300.15 ; noise  -env-options v(out) vin dec 10 1e+09 1e+09 ; set -temp");
        EXPECT_EQ(run.engine.GetAnalysisEventSink(), nullptr);
        ASSERT_EQ(run.engine.GetGrapherPages().size(), 1u);
        const CGrapherPage& page = run.engine.GetGrapherPages()[0];
        EXPECT_EQ(page.GetTitle(), "Noise Figure Analysis");
        ASSERT_EQ(page.GetChartLogs().size(), 1u);
        EXPECT_EQ(run.Log().GetTitle(), "Noise Figure Results");
        EXPECT_EQ(
            LogLines(run.Log()),
            (std::vector<std::string>{
                c.text, "Output noise (onoise_spectrum): " + CString::Formatted("%lg", c.o).str(),
                "Input-referred noise (inoise_spectrum): " +
                    CString::Formatted("%lg", c.i).str()}));
    }
}

TEST(NoiseFigureAnalysis, OnlyNoisePlotsSetTheValues) {
    // Names are matched without regard to case; the last row of the plot counts.
    NoiseRun upper({[] {
        ScriptedPlot p = NoisePlot({"frequency", "INOISE_SPECTRUM", "Onoise_Spectrum"}, {1, 2, 3});
        p.rows.push_back({1e9, 1e-7, 1e-6});
        return p;
    }()});
    EXPECT_EQ(upper.Run(), 1);
    EXPECT_EQ(LogLines(upper.Log())[0], "20db");

    // A noise plot without the input spectrum starts afresh and leaves the input at zero.
    NoiseRun noInput({NoisePlot(kSpectra, {1e9, 1e-6, 1e-7}),
                      NoisePlot({"frequency", "onoise_spectrum"}, {1e9, 2e-6})});
    EXPECT_EQ(noInput.Run(), 0);
    EXPECT_EQ(LogLines(noInput.Log()),
              (std::vector<std::string>{"Infinity", "Output noise (onoise_spectrum): 2e-06",
                                        "Input-referred noise (inoise_spectrum): 0"}));

    // Plots of other kinds are ignored, before the noise plot and after it.
    NoiseRun other({NoisePlot(kSpectra, {1e9, 5.0, 5.0}, AT_AC),
                    NoisePlot(kSpectra, {1e9, 1e-6, 1e-7}),
                    NoisePlot(kSpectra, {1e9, 7.0, 0.0}, AT_TRAN)});
    EXPECT_EQ(other.Run(), 1);
    EXPECT_EQ(LogLines(other.Log())[0], "20db");

    // A short row leaves the values alone instead of reading past it.
    NoiseRun shortRow({NoisePlot(kSpectra, {1e9, 1e-6})});
    EXPECT_EQ(shortRow.Run(), 0);
    EXPECT_EQ(LogLines(shortRow.Log())[0], "Infinity");

    // A stop keeps what was computed but fails the run.
    NoiseRun stopped({NoisePlot(kSpectra, {1e9, 1e-6, 1e-7})});
    stopped.engine.StopAfterPolls(0);
    EXPECT_EQ(stopped.Run(), 0);
    EXPECT_EQ(LogLines(stopped.Log())[0], "20db");
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
    EXPECT_EQ(other.GetOutputNode(), "out");
    EXPECT_EQ(other.GetFstart(), 1e6);
    EXPECT_EQ(other.GetFstop(), 1e6);
}

} // namespace
