// Trace width analysis: settings and record, and whole runs through the engine's
// "TRACEWIDTH" request against a scripted transient with pin-current vectors.
#include "analyses/compound/trace_width.h"
#include "analyses/core/analysis_proxy.h"
#include "tests/support/scripted_engine.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using TraceWidth = Analyses::TraceWidth;
using canal_test::LogLines;
using canal_test::ScriptedAnswer;
using canal_test::ScriptedEngine;
using canal_test::ScriptedPlot;

struct TestCollection : Analyses {
    using Analyses::RegisterAnalysis;
};

// A resistor r10 (two pins), a transistor q2 (three pins), a resistor r2 whose
// sense source carries no pin number, and vectors that are no pin currents.
const char* const kPinVectors[] = {
    "xr10.pinvoltagevr10--1#branch", "xq2.pinvoltagevq2--3#branch", "xr10.pinvoltagevr10--2#branch",
    "xq2.pinvoltagevq2--1#branch",   "xr2.pinvoltagevr2#branch",    "xq2.pinvoltagevq2--2#branch",
};
const std::vector<CString> kVectors = {"time",         "v(out)",       kPinVectors[0],
                                       kPinVectors[1], "v1#branch",    kPinVectors[2],
                                       kPinVectors[3], kPinVectors[4], kPinVectors[5]};
const std::vector<std::vector<double>> kRows = {
    {0.0, 1, 0.5, 3.0, 9, -0.25, 0.1, 0.0, 0.0},
    {1e-3, 2, -1.0, 1.0, -9, 0.5, -2.0, 0.75, 0.0},
    {2e-3, 3, 0.2, -0.5, 9, -0.125, 1.0, -1.5, 0.0},
};
// The maxima of the pin vectors, in plot order, after each row.
const char* const kMaximaAfterRow[][6] = {
    {"0.5", "3", "0.25", "0.1", "0", "0"},
    {"1", "3", "0.5", "2", "0.75", "0"},
    {"1", "3", "0.5", "2", "1.5", "0"},
};

ScriptedPlot TransientPlot(std::vector<CString> vectors = kVectors,
                           std::vector<std::vector<double>> rows = kRows) {
    ScriptedPlot plot;
    plot.name = "tran1";
    plot.title = "Transient Analysis";
    plot.type = AT_TRAN;
    plot.vectors = std::move(vectors);
    plot.scaleIndex = 0;
    plot.rows = std::move(rows);
    return plot;
}

/// An engine on a collection whose simulator answers the transient with `plot`.
struct TraceRun {
    ScriptedEngine engine;
    TestCollection analyses;

    explicit TraceRun(ScriptedPlot plot = TransientPlot()) {
        analyses.SetAsimEng(&engine);
        engine.SetScript([plot](const CString& command, const ScriptedEngine&) {
            ScriptedAnswer answer;
            if (command.Find("tran ") >= 0)
                answer.plots = {plot};
            return answer;
        });
    }

    /// Runs `tw`'s request as the host hands it over: the text after "orvo ".
    int Run(const TraceWidth& tw) {
        const CString script = tw.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
        return engine.ExecuteCommand(&analyses, script.Mid(script.Find("orvo ") + 5));
    }
    int Run() { return Run(TraceWidth(&analyses)); }
    const CGrapherPage& Page() const { return engine.GetGrapherPages().back(); }
    const ChartLog& Log() const { return Page().GetChartLogs().back(); }
};

TEST(TraceWidthAnalysis, RequestSavesEveryCurrentAndCarriesTheRecordWhichRoundTrips) {
    TraceWidth tw;
    EXPECT_EQ(tw.toNutmegCommand(Analyses::Analysis::NT_COMMAND),
              "save all; iplot all; orvo TRACEWIDTH Tran:list{TSTEP:string{calculate} "
              "TSTOP:double{0.001} TSTART:double{0} TMAX:string{calculate} "
              "USE_AUTO_TIME_STEP:int{0} IC:string{auto_ic}} MaxTempAboveAmbient:double{10} "
              "SetNodesUsingResults:int{0} TraceWeight:double{1}");
    EXPECT_EQ(tw.CanSimulate(), 1) << "every pin current is saved: no output variable to choose";

    const CString defaults = tw.toPropertyItem().GetField();
    tw.SetTraceWeight(2);
    tw.SetMaxTempAboveAmbient(20);
    tw.SetSetNodesUsingResults(1);
    tw.SetTstop(5e-3);
    tw.SetIc(TranAnalysis::Uic);
    tw.SetCalc_tstep(0);
    tw.SetTstep(1e-6, 0, 0);
    TraceWidth copy;
    ASSERT_EQ(copy.fromPropertyItem(tw.toPropertyItem()), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), tw.toPropertyItem().GetField());
    copy.reset();
    EXPECT_EQ(copy.toPropertyItem().GetField(), defaults);

    // An unknown key fails the record, later keys still apply; a "Tran" that is no list is
    // skipped.
    TraceWidthAnalysis settings;
    EXPECT_EQ(
        settings.fromPropertyList(CPropertyList(
            "Tran:int{3} Bogus:int{1} TraceWeight:double{0.5} MaxTempAboveAmbient:string{x}")),
        0);
    EXPECT_EQ(settings.GetTraceWeight(), 0.5);
    EXPECT_EQ(settings.GetMaxTempAboveAmbient(), 10.0);
    EXPECT_EQ(settings.GetTstop(), 0.001);

    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    tw.toReadableText(log, nullptr,
                      Analyses::Analysis::TT_SETTINGS | Analyses::Analysis::TT_NO_HEADING, nullptr);
    EXPECT_NE(ctrl.ToText().find("  Maximum temperature rise above ambient (degrees C): 20\n"
                                 "  Copper weight (oz per square foot): 2\n"
                                 "  Hand the trace widths to the schematic: yes\n"),
              std::string::npos)
        << ctrl.ToText();
}

TEST(TraceWidthAnalysis, RunLogsTheLargestCurrentPerPinSortedByComponentAndPin) {
    TraceRun run;
    EXPECT_EQ(run.Run(), 1);
    EXPECT_EQ(run.engine.Commands(),
              std::vector<CString>{"-param hrange 0 0.001; tran  -env-options 0.001 0.001 0 "
                                   "0.001 auto_ic auto_tstep auto_tmax "});
    EXPECT_EQ(run.engine.GetAnalysisEventSink(), nullptr);
    EXPECT_EQ(run.Page().GetTitle(), "Trace Width Analysis");
    // r2 before r10; the time-0 value of q2 pin 3 stands; negative currents count by magnitude.
    EXPECT_EQ(LogLines(run.Log()), (std::vector<std::string>{
                                       "Component:q2  ,Pin #1,Trace Width = 78.7736 mils I=2",
                                       "Component:q2  ,Pin #2,Trace Width = 0 mils I=0",
                                       "Component:q2  ,Pin #3,Trace Width = 137.805 mils I=3",
                                       "Component:r2  ,Pin #$0,Trace Width = 52.9726 mils I=1.5",
                                       "Component:r10 ,Pin #1,Trace Width = 30.2808 mils I=1",
                                       "Component:r10 ,Pin #2,Trace Width = 11.64 mils I=0.5",
                                   }));

    const CGrapherChart& table = run.Page().GetCharts().at(0);
    EXPECT_EQ(table.title, "Trace Widths");
    EXPECT_EQ(table.columns,
              (std::vector<CString>{"component", "pin", "current (A)", "width (mils)"}));
    ASSERT_EQ(table.rows.size(), 6u);
    EXPECT_EQ(table.rows[1], (std::vector<CString>{"q2", "2", "0", "0"}));
    // Full precision, not the log's six digits: the text reads back to the same width.
    EXPECT_EQ(std::stod(table.rows[0][3].str()), TraceWidthMils(2.0, 10.0, 1.0));

    // The settings' own rise and weight size the traces.
    TraceWidthAnalysis settings(&run.analyses);
    run.engine.SetAnalysisEventSink(&settings);
    settings.SetMaxTempAboveAmbient(5);
    settings.SetTraceWeight(2);
    ASSERT_EQ(settings.ExecuteAnalysis(), 1);
    run.engine.SetAnalysisEventSink(nullptr);
    EXPECT_EQ(LogLines(run.Log())[0], "Component:q2  ,Pin #1,Trace Width = " +
                                          CString::Formatted("%lg", TraceWidthMils(2, 5, 2)).str() +
                                          " mils I=2");
}

TEST(TraceWidthAnalysis, NaturalOrderCountsDigitRunsAndEmptyOrStoppedRunsStillLog) {
    TraceRun run(TransientPlot({"time", "xR10.pinvoltagevr10#branch", "xr9.pinvoltagevr9#branch",
                                "xq1.pinvoltagevq1--10#branch", "xq1.pinvoltagevq1--02#branch",
                                "xr009a.pinvoltagev#branch"},
                               {{0.0, 1, 1, 1, 1, 1}}));
    ASSERT_EQ(run.Run(), 1);
    std::vector<std::string> order;
    for (const auto& row : run.Page().GetCharts()[0].rows)
        order.push_back(row[0].str() + "/" + row[1].str());
    EXPECT_EQ(order, (std::vector<std::string>{"q1/02", "q1/10", "r9/$0", "r009a/$0", "R10/$0"}));

    TraceRun none(TransientPlot({"time", "v(out)", "v1#branch"}, {{0.0, 1, 2}, {1e-3, 2, 3}}));
    EXPECT_EQ(none.Run(), 1);
    EXPECT_EQ(none.Log().GetTitle(), "Trace Width Results");
    EXPECT_TRUE(none.Log().GetEntries().empty());
    EXPECT_TRUE(none.Page().GetCharts()[0].rows.empty());

    // A stop reports what was measured up to it but fails the run.
    TraceRun stopped;
    stopped.engine.StopAfterPolls(0);
    EXPECT_EQ(stopped.Run(), 0);
    EXPECT_EQ(LogLines(stopped.Log())[2], "Component:q2  ,Pin #3,Trace Width = 137.805 mils I=3");
    EXPECT_EQ(LogLines(stopped.Log())[0], "Component:q2  ,Pin #1,Trace Width = 1.26432 mils I=0.1");
    EXPECT_EQ(TraceWidthAnalysis().ExecuteAnalysis(), 0) << "no collection, no engine";
}

TEST(TraceWidthAnalysis, DiagnosticFilesGoToTheOutputFolderOnly) {
    const canal_test::TempFolder folder;
    TraceRun run;
    run.engine.SetOutputFolder(folder.Path().string().c_str());
    ASSERT_EQ(run.Run(), 1);
    std::string tran;
    for (const auto& maxima : kMaximaAfterRow)
        for (size_t i = 0; i < 6; ++i)
            tran += std::string(kPinVectors[i]) + "  " + maxima[i] + "\n";
    tran += "last values:\n";
    for (size_t i = 0; i < 6; ++i)
        tran += std::string(kPinVectors[i]) + "  " + kMaximaAfterRow[2][i] + "\n";
    EXPECT_EQ(folder.Read("tw_data_tran"), tran);
    // The records as the plot listed them: vector, maximum, component, pin.
    EXPECT_EQ(folder.Read("tw_data"), "xr10.pinvoltagevr10--1#branch 1 r10 1\n"
                                      "xq2.pinvoltagevq2--3#branch 3 q2 3\n"
                                      "xr10.pinvoltagevr10--2#branch 0.5 r10 2\n"
                                      "xq2.pinvoltagevq2--1#branch 2 q2 1\n"
                                      "xr2.pinvoltagevr2#branch 1.5 r2 $0\n"
                                      "xq2.pinvoltagevq2--2#branch 0 q2 2\n");

    // Without a folder nothing is written anywhere; a folder that cannot be
    // written loses the files, never the log.
    TraceRun none;
    ASSERT_EQ(none.Run(), 1);
    EXPECT_FALSE(fs::exists(fs::current_path() / "tw_data"));
    EXPECT_FALSE(fs::exists(fs::current_path() / "tw_data_tran"));
    TraceRun unwritable;
    unwritable.engine.SetOutputFolder((folder.Path() / "missing" / "deeper").string().c_str());
    EXPECT_EQ(unwritable.Run(), 1);
    EXPECT_EQ(unwritable.Log().GetEntries().size(), 6u);
    EXPECT_FALSE(fs::exists(folder.Path() / "missing"));
    EXPECT_TRUE(none.engine.ParameterSets().empty()) << "results reach the snap-in only if asked";
}

TEST(TraceWidthAnalysis, ResultsGoToTheSnapInWhenAskedAndTheMainAnalysisIsTheCollections) {
    TraceRun run;
    TraceWidth tw(&run.analyses);
    tw.SetSetNodesUsingResults(1);
    ASSERT_EQ(run.Run(tw), 1);
    std::string sets;
    for (const canal_test::ScriptedParameterSet& set : run.engine.ParameterSets())
        sets += std::to_string(set.id) + " " + set.names[0].str() + "/" + set.names[1].str() + ";";
    const std::string id = std::to_string(SNAPIN_TRACE_WIDTH);
    EXPECT_EQ(sets, id + " q2/1;" + id + " q2/2;" + id + " q2/3;" + id + " r2/$0;" + id +
                        " r10/1;" + id + " r10/2;");
    EXPECT_EQ(std::stod(run.engine.ParameterSets()[0].value.str()), TraceWidthMils(2.0, 10.0, 1.0));

    TestCollection analyses;
    TraceWidth main(&analyses);
    main.SetTraceWeight(3);
    main.SetTstop(7e-3);
    TraceWidth other(&analyses);
    Analyses::AnalysisProxy proxy(&other, 0);
    EXPECT_EQ(proxy.LoadFromMainAnalysis(), 0);
    analyses.RegisterAnalysis(Analyses::AnalysisType::TraceWidth, &main);
    ASSERT_EQ(proxy.GetTraceWidthPtr(), &other);
    EXPECT_EQ(proxy.GetTranPtr(), nullptr);
    EXPECT_EQ(proxy.LoadFromMainAnalysis(), 1);
    EXPECT_EQ(other.toPropertyItem().GetField(), main.toPropertyItem().GetField());
}

} // namespace
