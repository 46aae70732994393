// Worst case and Monte Carlo settings: defaults, records, the orvo command, checks, text.
#include "analyses/compound/wcmc_analysis.h"
#include "tests/support/circuit_engine.h"

#include <gtest/gtest.h>

#include <memory>

using canal_test::ParseRecord;

namespace {

const char* kTolerances =
    "TolSpecList:list{TolSpec:list{Distr:int{0} LotNum:int{3} TolClass:int{1} TolType:int{1} "
    "TolValue:double{10} MemberToSweep:list{name:string{r1} isinst:int{1}} "
    "MemberParamToSweep:list{name:string{resistance} value:double{1000}}} "
    "TolSpec:list{Distr:int{1} LotNum:int{0} TolClass:int{0} TolType:int{0} "
    "TolValue:double{5} MemberToSweep:list{model:string{qn} isinst:int{0}} "
    "MemberParamToSweep:list{name:string{bf} value:double{100}}}}";

CString ReadableText(const WcMcAnalysis& a) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    a.toReadableText(log, nullptr);
    return CString(ctrl.ToText().c_str());
}

} // namespace

TEST(WcMcAnalysis, TheAnalysedTypeDecidesNodesUnitsAndTheWorstCaseSensitivity) {
    EXPECT_EQ(WcMcAnalysis(nullptr, 0).GetType(), Analyses::AnalysisType::Psweep);
    EXPECT_EQ(Analyses::Monte().GetSinkName(), "WcMcAnalysis Event Sink");
    const struct {
        WcMcAnalysis::WcMcAnalysisType type;
        int nodeType, outputClass;
        const char* unit;
        Analyses::AnalysisType sensitivity; // a transient leaves it as it was
    } rows[] = {{WcMcAnalysis::WcMcAc, AT_AC, OVC_CKTnames, "Hz", Analyses::AnalysisType::Ac},
                {WcMcAnalysis::WcMcTran, AT_TRAN, OVC_DCnames, "s", Analyses::AnalysisType::Ac},
                {WcMcAnalysis::WcMcDcOp, AT_OP, OVC_DCnames, "", Analyses::AnalysisType::Op}};
    Analyses::Worst worst;
    Analyses::Monte monte;
    for (const auto& r : rows) {
        worst.SetWcMcAnalysisType(r.type);
        monte.SetWcMcAnalysisType(r.type);
        EXPECT_EQ(worst.GetSens().GetSensType(), r.sensitivity) << r.unit;
        EXPECT_EQ(monte.GetSens().GetSensType(), Analyses::AnalysisType::Op)
            << "a Monte Carlo analysis has no sensitivity to set";
        EXPECT_EQ(worst.GetNodeType(), r.nodeType) << r.unit;
        EXPECT_EQ(worst.GetOutputVariableClass(), r.outputClass) << r.unit;
        EXPECT_EQ(worst.GetXAxisUnitString(), r.unit);
    }
    // The other defaults are pinned by the whole record in the command below.
    monte.SetNumRuns(9);
    monte.GetTolSpecList().Add(WcMcTolSpec());
    monte.SetStopRequested(true);
    monte.reset();
    EXPECT_EQ(monte.WcMcAnalysis::toPropertyList().GetList(),
              Analyses::Monte().WcMcAnalysis::toPropertyList().GetList());
    EXPECT_FALSE(monte.IsStopRequested());
}

TEST(WcMcAnalysis, CommandCarriesTheWholeRecordAndSavesAllOnlyForWorstCase) {
    const CString tran = TranAnalysis().toPropertyList().GetList();
    const auto record = [&](const char* type) {
        return CString(" GroupTraces:int{1} AnalysisType:int{") + type +
               "} Function:int{0} FunctionThreshold:double{0} Filter:int{1} OutputText:int{0} "
               "OutputTextRuns:string{1} Vary:int{2} NumRuns:int{1} UseRange:int{0} "
               "RangeLowX:double{0} RangeHighX:double{1} OutputVariable:string{} "
               "NodeFilterOutputVariable:int{0} TolSpecList:list{} Tran:list{" +
               tran + "}; ";
    };
    EXPECT_EQ(Analyses::Monte().WcMcAnalysis::toNutmegCommand(), "orvo MONTE" + record("2"));
    EXPECT_EQ(Analyses::Worst().WcMcAnalysis::toNutmegCommand(),
              "save all; orvo WORST" + record("0"));

    // Framed by the base like any analysis: the orvo request is the command.
    Analyses::Monte monte;
    monte.SetPlotTitle("MC");
    monte.SetAnalysisRawfile("");
    const CString script =
        monte.toNutmegCommand(Analyses::Analysis::NT_COMMAND | Analyses::Analysis::NT_SCOPE);
    EXPECT_EQ(script, "begin-scope page MC; orvo MONTE" + record("2") + "; end-scope ");
}

TEST(WcMcAnalysis, RecordRoundTripsEverySettingTheToleranceListAndTheTransient) {
    const CString settings =
        CString(
            "GroupTraces:int{0} AnalysisType:int{1} Function:int{3} FunctionThreshold:double{0.5} "
            "Filter:int{0} OutputText:int{1} OutputTextRuns:string{1,4-6} Vary:int{1} "
            "NumRuns:int{25} UseRange:int{1} RangeLowX:double{1e-06} RangeHighX:double{0.002} "
            "OutputVariable:string{v(out,ref)} NodeFilterOutputVariable:int{3} ") +
        kTolerances;
    Analyses::Monte monte;
    ASSERT_EQ(monte.WcMcAnalysis::fromPropertyList(
                  ParseRecord((settings + " Tran:list{TSTOP:double{0.005}}").c_str())),
              1);
    TranAnalysis tran;
    tran.SetTstop(0.005);
    EXPECT_EQ(monte.WcMcAnalysis::toPropertyList().GetList(),
              settings + " Tran:list{" + tran.toPropertyList().GetList() + "}");

    // Through the analysis's own item, as the collection stores it.
    const CPropertyItem item = monte.toPropertyItem();
    Analyses::Monte copy;
    EXPECT_EQ(copy.fromPropertyItem(item), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), item.GetField());
    const std::unique_ptr<Analyses::Analysis> clone(monte.Clone());
    EXPECT_EQ(clone->toPropertyItem().GetField(), item.GetField());

    // The worst case reads the type through its setter: the sensitivity follows.
    Analyses::Worst worst;
    EXPECT_EQ(worst.WcMcAnalysis::fromPropertyList(ParseRecord("AnalysisType:int{1}")), 1);
    EXPECT_EQ(worst.GetSens().GetSensType(), Analyses::AnalysisType::Ac);

    // A stored list replaces the present one; bad entries fail the read but
    // the good ones and the other keys still apply.
    EXPECT_EQ(monte.WcMcAnalysis::fromPropertyList(ParseRecord(
                  "TolSpecList:list{TolSpec:list{TolValue:double{7} Odd:int{1}} Stray:int{1}} "
                  "NumRuns:int{3} Mystery:int{1} Tran:string{x}")),
              0);
    ASSERT_EQ(monte.GetTolSpecList().GetCount(), 1u);
    EXPECT_EQ(monte.GetTolSpecList()[0].GetTolValue(), 7.0);
    EXPECT_EQ(monte.GetNumRuns(), 3);
    EXPECT_EQ(monte.GetTran().GetTstop(), 0.005) << "a Tran that is no list is skipped";
}

TEST(WcMcAnalysis, SimulatesOnlyWithAnOutputVariableAndSaysWhy) {
    Analyses::Monte monte;
    EXPECT_EQ(monte.CanSimulate(), 0);
    EXPECT_EQ(monte.ExplainWhyCannotSimulate(),
              "Output variables must be specified before\nperforming a Monte Carlo analysis.");
    EXPECT_EQ(Analyses::Worst().ExplainWhyCannotSimulate(),
              "Output variables must be specified before\nperforming a Worst Case analysis.");
    monte.SetOutputVariable("   ");
    EXPECT_EQ(monte.CanSimulate(), 0);
    monte.SetOutputVariable("v(out)");
    EXPECT_EQ(monte.CanSimulate(), 1);
    EXPECT_EQ(monte.ExplainWhyCannotSimulate(), "");
}

TEST(WcMcAnalysis, ReadableTextShowsTheOptionalSettingsWithTheirMeaning) {
    Analyses::Monte monte;
    monte.WcMcAnalysis::fromPropertyList(ParseRecord(
        (CString("Function:int{2} FunctionThreshold:double{0.5} Filter:int{0} OutputText:int{1} "
                 "OutputTextRuns:string{1,4-6} Vary:int{1} NumRuns:int{20} UseRange:int{1} "
                 "RangeLowX:double{1e-06} RangeHighX:double{0.002} "
                 "OutputVariable:string{v(out)} GroupTraces:int{0} ") +
         kTolerances)
            .c_str()));
    const CString text = ReadableText(monte);
    const char* expectedHead = "Analysis type: Transient Analysis\n"
                               "Output variable: v(out)\n"
                               "Function: RISE_EDGE\n"
                               "  Threshold: 0.5\n"
                               "  x of the first crossing of the threshold, interpolated\n"
                               "Worst value: Low (the lowest value is the worst; worst-case "
                               "tolerances push the output down)\n"
                               "Number of runs: 20\n"
                               "Vary: Lot Tolerance Only (lot tolerances vary; unique tolerances "
                               "stay nominal)\n"
                               "Measurement range: 1e-06 s to 0.002 s\n"
                               "Run descriptions: the runs listed: 1,4-6 (0 is the nominal run, "
                               "one more than the number of runs the repeated worst run)\n"
                               "Traces: one graph per run\n"
                               "Transient settings\n";
    EXPECT_EQ(text.Left(static_cast<int>(std::char_traits<char>::length(expectedHead))),
              expectedHead);
    EXPECT_GE(text.Find("Tolerances\n  Instance: r1, Parameter: resistance\n    Lot Tolerance\n"),
              0);
    EXPECT_GE(text.Find("  Model: qn, Parameter: bf\n"), 0);

    Analyses::Worst worst;
    worst.SetFunction(WcMcAnalysis::FunctionFrequency);
    const CString worstText = ReadableText(worst);
    EXPECT_GE(worstText.Find("Function: FREQUENCY\n  Not evaluated: every run is left without a "
                             "measurement\n"),
              0);
    EXPECT_GE(worstText.Find("Output variable: none\n"), 0);
    EXPECT_GE(worstText.Find("Sensitivity: a sensitivity analysis of the output"), 0);
    EXPECT_LT(worstText.Find("Number of runs"), 0);
    EXPECT_GE(worstText.Find("Tolerances\n  no tolerances\n"), 0);
}
