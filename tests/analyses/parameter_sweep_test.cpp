// Sweep settings: identity by nickname, the nested level, the record and its reader, the
// readable text, and the sweeps as analyses of the proxy and the collection.
#include "analyses/compound/psweep.h"
#include "analyses/core/analysis_proxy.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using T = Analyses::AnalysisType;

CPropertyList Record(const char* text) {
    return CPropertyList(CString(text));
}

std::string Summary(const ParameterSweep& sweep) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    sweep.toReadableText(log, nullptr);
    return ctrl.ToText();
}

// An instance sweep of r2 over 1k..3k whose inner analysis is a temperature sweep of two
// values over an operating point.
void MakeNested(ParameterSweep& sweep) {
    sweep.fromPropertyList(Record("DeviceSweep:list{Variation:int{1} Start:double{1000} "
                                  "Stop:double{3000} NumItems:double{3}} AnalysisType:int{3} "
                                  "InstToSweep:list{name:string{r2} isinst:int{1}} "
                                  "InstParamToSweep:list{name:string{resistance}}"));
    sweep.GetNestedSweep()->fromPropertyList(
        Record("SweepType:int{2} AnalysisType:int{0} "
               "TemperatureSweep:list{Variation:int{3} List:array{250 350}}"));
}

TEST(ParameterSweep, KindFollowsTheNicknameByteForByteAndNamesTheRequest) {
    ParameterSweep sweep;
    EXPECT_EQ(sweep.GetType(), T::Psweep);
    EXPECT_EQ(sweep.GetSinkName(), "ParameterSweep Level1");
    const CString body = sweep.toPropertyList().GetList();
    sweep.SetNickName("tsweep");
    EXPECT_EQ(sweep.GetType(), T::Psweep);
    EXPECT_EQ(sweep.toNutmegCommand(), "orvo psweep " + body + "; ");
    sweep.SetNickName("TSWEEP");
    EXPECT_EQ(sweep.GetType(), T::Tsweep);
    EXPECT_EQ(sweep.toNutmegCommand(), "orvo tsweep " + body + "; ");
}

TEST(ParameterSweep, InnerAnalysisDecidesNodeTypeClassAndUnit) {
    struct Case {
        ParameterSweep::SweepAnalysisType inner;
        int nodeType, outputClass;
        const char* unit;
    };
    ParameterSweep sweep;
    for (const Case c : {Case{ParameterSweep::InnerOp, AT_OP, OVC_DCnames, ""},
                         Case{ParameterSweep::InnerAc, AT_AC, OVC_CKTnames, "Hz"},
                         Case{ParameterSweep::InnerTran, AT_TRAN, OVC_DCnames, "s"}}) {
        sweep.SetSweepAnalysisType(c.inner);
        EXPECT_EQ(sweep.GetNodeType(), c.nodeType);
        EXPECT_EQ(sweep.GetOutputVariableClass(), c.outputClass);
        EXPECT_EQ(sweep.GetXAxisUnitString(), c.unit);
    }
    // A nested sweep answers for the level below; without one there is nothing to plot.
    sweep.SetSweepAnalysisType(ParameterSweep::InnerSweep);
    sweep.GetNestedSweep()->SetSweepAnalysisType(ParameterSweep::InnerAc);
    EXPECT_EQ(sweep.GetXAxisUnitString(), "Hz");
    sweep.deleteNestedSweep();
    EXPECT_EQ(sweep.GetNodeType(), AT_NONE);
    EXPECT_EQ(sweep.GetOutputVariableClass(), OVC_NONE);
}

TEST(ParameterSweep, NestedSweepIsMadeOnceAndResetKeepsEveryChoiceOfKind) {
    Analyses main(nullptr);
    ParameterSweep sweep(&main, 1);
    MakeNested(sweep);
    ParameterSweep* nested = sweep.GetNestedSweep();
    ASSERT_NE(nested, nullptr);
    sweep.SetSweepAnalysisType(ParameterSweep::InnerSweep);
    sweep.SetSweepAnalysisType(ParameterSweep::InnerOp);
    EXPECT_EQ(sweep.GetNestedSweep(), nested) << "made once, kept when another is chosen";
    EXPECT_EQ(nested->GetNestingLevel(), 2);
    EXPECT_EQ(nested->GetSinkName(), "ParameterSweep Level2");
    EXPECT_EQ(nested->GetMainAnalyses(), &main);

    sweep.SetGroupAllTraces(0);
    sweep.reset();
    EXPECT_EQ(sweep.GetMemberToSweep(ParameterSweep::DeviceSweep).GetName(), "");
    EXPECT_EQ(sweep.GetMemberParameterToSweep(ParameterSweep::DeviceSweep).GetName(), "");
    EXPECT_EQ(sweep.GetVariation().GetStop(), 0);
    EXPECT_EQ(nested->GetVariation().GetNumListItems(), 0);
    EXPECT_EQ(nested->GetSweepType(), ParameterSweep::TemperatureSweep);
    EXPECT_EQ(sweep.GetSweepAnalysisType(), ParameterSweep::InnerOp);
    EXPECT_EQ(sweep.GetGroupAllTraces(), 0);
}

TEST(ParameterSweep, RecordRoundTripsWithTheNestedSweepUnderItsNameAndCopiesDeeply) {
    Analyses main(nullptr);
    ParameterSweep sweep(&main, 1);
    MakeNested(sweep);
    const CString record = sweep.toPropertyList().GetList();
    EXPECT_NE(record.Find("} PSWEEP:list{DeviceSweep:"), -1) << "between Tran and GroupTraces";
    EXPECT_TRUE(record.view().ends_with("} GroupTraces:int{1}"));

    ParameterSweep read(&main, 1);
    EXPECT_EQ(read.fromPropertyList(Record(record)), 1);
    // An untouched linear walk has no points; read back, start = stop counts as one point.
    const CString empty = "Variation:int{1} Start:double{0} Stop:double{0} NumItems:double{0}";
    const CString counted = "Variation:int{1} Start:double{0} Stop:double{0} NumItems:double{1}";
    CString expected = record;
    expected.Replace(empty, counted);
    EXPECT_EQ(read.toPropertyList().GetList(), expected);
    const CString reread = read.toPropertyList().GetList();
    EXPECT_EQ(read.fromPropertyList(Record(reread)), 1);
    EXPECT_EQ(read.toPropertyList().GetList(), reread);
    EXPECT_EQ(read.GetNestedSweep()->GetNestingLevel(), 2);

    ParameterSweep copy(read);
    ParameterSweep assigned;
    assigned = read;
    copy.GetNestedSweep()->GetAc().SetFstart(99);
    assigned.GetNestedSweep()->SetSweepType(ParameterSweep::DeviceSweep);
    EXPECT_EQ(read.toPropertyList().GetList(), reread) << "copies own their nested sweep";
    EXPECT_EQ(assigned.GetMainAnalyses(), &main);
    Analyses::Psweep::CopyPsweep(assigned, read);
    EXPECT_EQ(assigned.toPropertyList().GetList(), reread);
}

TEST(ParameterSweep, ReaderTakesAnyUnclaimedListAsTheNestedRecord) {
    ParameterSweep sweep;
    EXPECT_EQ(sweep.fromPropertyList(Record("AnalysisType:int{3} TSWEEP:list{SweepType:int{2}} "
                                            "GroupTraces:int{0}")),
              1);
    ParameterSweep* nested = sweep.GetNestedSweep();
    ASSERT_NE(nested, nullptr);
    EXPECT_EQ(nested->GetSweepType(), ParameterSweep::TemperatureSweep);
    EXPECT_NE(sweep.toPropertyList().GetList().Find(" TSWEEP:list{"), -1) << "label kept";
    EXPECT_EQ(sweep.fromPropertyList(Record("Deeper:list{SweepType:int{1}}")), 1);
    EXPECT_EQ(sweep.GetNestedSweep(), nested) << "read into the nested sweep there is";
    EXPECT_EQ(nested->GetSweepType(), ParameterSweep::ModelSweep);

    // Known keys of another type are skipped; an unknown plain key fails the record, and so
    // does a nested reader that fails; the keys around them still apply.
    EXPECT_EQ(sweep.fromPropertyList(Record("SweepType:string{2} Ac:int{1} GroupTraces:list{}")),
              1);
    EXPECT_EQ(sweep.GetSweepType(), ParameterSweep::DeviceSweep);
    EXPECT_EQ(sweep.fromPropertyList(Record("SweepType:int{1} Bogus:int{5} AnalysisType:int{0}")),
              0);
    EXPECT_EQ(sweep.GetSweepType(), ParameterSweep::ModelSweep);
    EXPECT_EQ(sweep.GetSweepAnalysisType(), ParameterSweep::InnerOp);
    for (const char* bad :
         {"ModelSweep:list{Nope:int{1}}", "Ac:list{Nope:int{1}}", "X:list{Nope:int{1}}"})
        EXPECT_EQ(sweep.fromPropertyList(Record(bad)), 0) << bad;

    // A nested inner analysis without its record gets a default nested sweep.
    ParameterSweep bare;
    EXPECT_EQ(bare.fromPropertyList(Record("AnalysisType:int{3}")), 1);
    EXPECT_NE(bare.toPropertyList().GetList().Find(" PSWEEP:list{"), -1);
}

TEST(ParameterSweep, ReadableTextNamesQuantityValuesAndEachLevel) {
    ParameterSweep sweep;
    MakeNested(sweep);
    EXPECT_EQ(Summary(sweep), "Swept quantity: Device parameter\n"
                              "Device: r2\n"
                              "Parameter: resistance\n"
                              "Sweep type: Linear\n"
                              "Number of points per octave: 3\n"
                              "Starting value for sweep: 1000\n"
                              "Stop value for sweep: 3000\n"
                              "Nested Sweep\n"
                              "  Swept quantity: Temperature\n"
                              "  Sweep type: List\n"
                              "    250\n"
                              "    350\n"
                              "  Analysis at each value: DC operating point\n"
                              "  All traces on one page: Yes\n"
                              "All traces on one page: Yes\n");
    EXPECT_EQ(sweep.GetError(), "");
    sweep.GetNestedSweep()->GetVariation().SetNumListItems(0);
    EXPECT_EQ(sweep.GetError(), "The sweep has no values to step through.");
    sweep.GetMemberParameterToSweep(ParameterSweep::DeviceSweep) = CSPICEparam();
    EXPECT_EQ(sweep.GetError(), "No parameter is chosen for the sweep.");

    ParameterSweep model;
    model.SetSweepType(ParameterSweep::ModelSweep);
    model.SetSweepAnalysisType(ParameterSweep::InnerAc);
    EXPECT_EQ(Summary(model).rfind("Swept quantity: Model parameter\nModel: (none)\n"
                                   "Parameter: (none)\nSweep type: Linear\n"
                                   "Number of points per octave: 0\n"
                                   "Starting value for sweep: 0\nStop value for sweep: 0\n"
                                   "Analysis at each value: AC Analysis\n  Sweep type: Decade\n",
                                   0),
              0u);
    EXPECT_EQ(model.GetError(), "No circuit element is chosen for the sweep.");
}

TEST(SweepAnalyses, ProxySwitchesTheSameObjectBetweenBothKinds) {
    Analyses main(nullptr);
    Analyses::AnalysisProxy proxy;
    proxy.SetType(T::Psweep, &main);
    Analyses::Psweep* sweep = proxy.GetPsweepPtr();
    ASSERT_NE(sweep, nullptr);
    EXPECT_EQ(proxy.GetTsweepPtr(), nullptr);
    // To TSWEEP: an inner analysis other than transient becomes transient, the nested goes.
    sweep->SetSweepAnalysisType(ParameterSweep::InnerSweep);
    proxy.SetAnalysisNickname(T::Tsweep);
    EXPECT_EQ(proxy.GetTsweepPtr(), sweep);
    EXPECT_EQ(proxy.GetPsweepPtr(), nullptr);
    EXPECT_EQ(proxy.toPropertyItem().GetLabel(), "TSWEEP");
    EXPECT_EQ(sweep->GetSweepAnalysisType(), ParameterSweep::InnerTran);
    EXPECT_EQ(sweep->GetNestedSweep(), nullptr);
    // To PSWEEP: a transient becomes an operating point; an AC analysis stays.
    sweep->SetSweepAnalysisType(ParameterSweep::InnerSweep);
    sweep->SetSweepAnalysisType(ParameterSweep::InnerTran);
    proxy.SetAnalysisNickname(T::Psweep);
    EXPECT_EQ(proxy.GetPsweepPtr(), sweep);
    EXPECT_EQ(sweep->GetSweepAnalysisType(), ParameterSweep::InnerOp);
    EXPECT_EQ(sweep->GetNestedSweep(), nullptr);
    sweep->SetSweepAnalysisType(ParameterSweep::InnerAc);
    proxy.SetAnalysisNickname(T::Psweep);
    proxy.SetAnalysisNickname(T::Ac);
    EXPECT_EQ(sweep->GetSweepAnalysisType(), ParameterSweep::InnerAc);
    EXPECT_EQ(proxy.GetType(), T::Psweep);
}

TEST(SweepAnalyses, ASweepOnTheCollectionFindsTheCollectionsOwnSettingsOfItsKind) {
    Analyses analyses(nullptr);
    ParameterSweep tsweep(&analyses, 1);
    tsweep.SetNickName("TSWEEP");
    EXPECT_EQ(tsweep.GetMainAnalysis(), &analyses.GetTsweep().GetParameterSweep());
    tsweep.SetNickName("psweep");
    EXPECT_EQ(tsweep.GetMainAnalysis(), &analyses.GetPsweep().GetParameterSweep());
}

} // namespace
