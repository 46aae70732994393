// Sweep settings: identity by nickname, the nested level, the record in its fixed order and
// its reader, the readable text, and the sweeps as analyses of the proxy and the collection.
#include "analyses/compound/psweep.h"
#include "analyses/core/analysis_proxy.h"
#include "analyses/single/run.h"
#include "engine/simulation_engine.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using T = Analyses::AnalysisType;
using Labels = std::vector<std::string>;

Labels LabelsOf(const CPropertyList& list) {
    Labels labels;
    for (const CPropertyItem& item : list)
        labels.push_back(item.GetLabel().str());
    return labels;
}

const CPropertyItem* Find(const CPropertyList& list, const char* label) {
    for (const CPropertyItem& item : list)
        if (item.GetLabel() == label)
            return &item;
    return nullptr;
}

std::string Summary(const ParameterSweep& sweep) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    sweep.toReadableText(log, nullptr);
    return ctrl.ToText();
}

// An instance sweep of r2 over 1k..3k whose inner analysis is a temperature sweep of two
// values over AC.
void MakeNested(ParameterSweep& sweep) {
    sweep.fromPropertyList(CPropertyList(
        CString("DeviceSweep:list{Variation:int{1} Start:double{1000} Stop:double{3000} "
                "NumItems:double{3}} AnalysisType:int{3} "
                "InstToSweep:list{name:string{r2} isinst:int{1}} "
                "InstParamToSweep:list{name:string{resistance} value:double{1500}}")));
    ParameterSweep& inner = *sweep.GetNestedSweep();
    inner.SetSweepType(ParameterSweep::TemperatureSweep);
    inner.SetSweepAnalysisType(ParameterSweep::InnerAc);
    inner.GetAc().SetFstart(10);
    inner.GetVariation().SetNumListItems(2);
    inner.GetVariation().SetNthListItem(0, 250);
    inner.GetVariation().SetNthListItem(1, 350);
}

const Labels kFixedKeys = {
    "DeviceSweep", "ModelSweep",   "TemperatureSweep", "SweepType",         "AnalysisType",
    "InstToSweep", "ModelToSweep", "InstParamToSweep", "ModelParamToSweep", "Ac",
    "Tran"};

TEST(ParameterSweep, FreshSweepWritesEveryKeyInOrderAndStepsThroughNothing) {
    const ParameterSweep sweep;
    const CPropertyList record = sweep.toPropertyList();
    Labels expected = kFixedKeys;
    expected.push_back("GroupTraces");
    EXPECT_EQ(LabelsOf(record), expected);
    EXPECT_EQ(Find(record, "SweepType")->GetField(), "SweepType:int{0}");
    EXPECT_EQ(Find(record, "AnalysisType")->GetField(), "AnalysisType:int{2}");
    EXPECT_EQ(Find(record, "GroupTraces")->GetField(), "GroupTraces:int{1}");
    EXPECT_EQ(Find(record, "TemperatureSweep")->GetField(),
              "TemperatureSweep:list{Variation:int{3} Start:double{0} Stop:double{0} "
              "NumItems:double{0} List:array{}}");
    EXPECT_EQ(Find(record, "ModelToSweep")->GetField(), "ModelToSweep:list{isinst:int{0}}");
    EXPECT_EQ(sweep.GetNestingLevel(), 1);
    EXPECT_EQ(sweep.GetNestedSweep(), nullptr);
    EXPECT_EQ(sweep.GetSinkName(), "ParameterSweep Level1");
    EXPECT_EQ(sweep.GetSinkDescription(), "Parameter Sweep Event Sink");
    EXPECT_FALSE(SweepVariationIterator(sweep.GetVariation()));

    // What it writes reads back to the same record, and still steps through nothing.
    ParameterSweep again;
    EXPECT_EQ(again.fromPropertyList(record), 1);
    EXPECT_EQ(again.toPropertyList().GetList(), record.GetList());
    EXPECT_FALSE(SweepVariationIterator(again.GetVariation()));
}

TEST(ParameterSweep, KindFollowsTheNicknameByteForByte) {
    ParameterSweep sweep;
    EXPECT_EQ(sweep.GetType(), T::Psweep);
    EXPECT_EQ(sweep.GetAnalysisName(), "");
    sweep.SetNickName("tsweep");
    EXPECT_EQ(sweep.GetType(), T::Psweep);
    const CString body = sweep.toPropertyList().GetList();
    EXPECT_EQ(sweep.toNutmegCommand(), "orvo psweep " + body + "; ");
    sweep.SetNickName("TSWEEP");
    EXPECT_EQ(sweep.GetType(), T::Tsweep);
    EXPECT_EQ(sweep.GetAnalysisNickname(), "TSWEEP");
    EXPECT_EQ(sweep.toNutmegCommand(), "orvo tsweep " + body + "; ");
}

TEST(ParameterSweep, InnerAnalysisDecidesNodeTypeClassAndUnit) {
    ParameterSweep sweep;
    struct Case {
        ParameterSweep::SweepAnalysisType inner;
        int nodeType;
        int outputClass;
        const char* unit;
    };
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
    EXPECT_EQ(sweep.GetNodeType(), AT_AC);
    EXPECT_EQ(sweep.GetXAxisUnitString(), "Hz");
    sweep.deleteNestedSweep();
    EXPECT_EQ(sweep.GetNodeType(), AT_NONE);
    EXPECT_EQ(sweep.GetOutputVariableClass(), OVC_NONE);
    EXPECT_EQ(sweep.GetXAxisUnitString(), "");
}

TEST(ParameterSweep, NestedSweepIsMadeOnceOneLevelDeeperAndOutlivesOtherChoices) {
    Analyses main(nullptr);
    ParameterSweep sweep(&main, 1);
    sweep.SetSweepAnalysisType(ParameterSweep::InnerSweep);
    ParameterSweep* nested = sweep.GetNestedSweep();
    ASSERT_NE(nested, nullptr);
    sweep.SetSweepAnalysisType(ParameterSweep::InnerSweep);
    EXPECT_EQ(sweep.GetNestedSweep(), nested);
    EXPECT_EQ(nested->GetNestingLevel(), 2);
    EXPECT_EQ(nested->GetSinkName(), "ParameterSweep Level2");
    EXPECT_EQ(nested->GetMainAnalyses(), &main);
    EXPECT_EQ(nested->GetAnalysisName(), "PSWEEP");

    nested->GetAc().SetFstart(77);
    nested->SetSweepType(ParameterSweep::ModelSweep);
    sweep.SetSweepAnalysisType(ParameterSweep::InnerOp);
    ASSERT_EQ(sweep.GetNestedSweep(), nested);
    // A reset returns the settings to their defaults but keeps every choice of kind.
    sweep.SetSweepType(ParameterSweep::TemperatureSweep);
    sweep.SetGroupAllTraces(0);
    sweep.reset();
    EXPECT_EQ(nested->GetAc().GetFstart(), 1);
    EXPECT_EQ(nested->GetSweepType(), ParameterSweep::ModelSweep);
    EXPECT_EQ(sweep.GetSweepType(), ParameterSweep::TemperatureSweep);
    EXPECT_EQ(sweep.GetSweepAnalysisType(), ParameterSweep::InnerOp);
    EXPECT_EQ(sweep.GetGroupAllTraces(), 0);
}

TEST(ParameterSweep, ResetForgetsTheSweptElementAndItsValues) {
    ParameterSweep sweep;
    MakeNested(sweep);
    ASSERT_EQ(sweep.GetMemberToSweep(ParameterSweep::DeviceSweep).GetName(), "r2");
    sweep.reset();
    EXPECT_EQ(sweep.GetMemberToSweep(ParameterSweep::DeviceSweep).GetName(), "");
    EXPECT_EQ(sweep.GetMemberParameterToSweep(ParameterSweep::DeviceSweep).GetName(), "");
    EXPECT_EQ(sweep.GetVariation().GetStop(), 0);
    EXPECT_EQ(sweep.GetNestedSweep()->GetVariation().GetNumListItems(), 0);
    EXPECT_EQ(Find(sweep.toPropertyList(), "InstToSweep")->GetField(),
              "InstToSweep:list{isinst:int{1}}");
}

TEST(ParameterSweep, RecordRoundTripsWithTheNestedSweepUnderItsName) {
    Analyses main(nullptr);
    ParameterSweep sweep(&main, 1);
    MakeNested(sweep);
    const CPropertyList record = sweep.toPropertyList();
    Labels expected = kFixedKeys;
    expected.push_back("PSWEEP");
    expected.push_back("GroupTraces");
    EXPECT_EQ(LabelsOf(record), expected);

    ParameterSweep read(&main, 1);
    EXPECT_EQ(read.fromPropertyList(record), 1);
    EXPECT_EQ(read.toPropertyList().GetList(), record.GetList());
    ASSERT_NE(read.GetNestedSweep(), nullptr);
    EXPECT_EQ(read.GetNestedSweep()->GetNestingLevel(), 2);
    EXPECT_EQ(read.GetNestedSweep()->GetMainAnalyses(), &main);
    EXPECT_EQ(read.GetNestedSweep()->GetAc().GetFstart(), 10);

    // Copies are deep: the nested level is copied, not shared.
    ParameterSweep copy(read);
    ParameterSweep assigned;
    assigned = read;
    ASSERT_NE(copy.GetNestedSweep(), read.GetNestedSweep());
    copy.GetNestedSweep()->GetAc().SetFstart(99);
    assigned.GetNestedSweep()->SetSweepType(ParameterSweep::DeviceSweep);
    EXPECT_EQ(read.toPropertyList().GetList(), record.GetList());
    EXPECT_EQ(assigned.GetMainAnalyses(), &main);
    EXPECT_EQ(assigned.GetMemberToSweep(ParameterSweep::DeviceSweep).GetName(), "r2");
    Analyses::Psweep::CopyPsweep(assigned, read);
    EXPECT_EQ(assigned.toPropertyList().GetList(), record.GetList());
}

TEST(ParameterSweep, AnyUnclaimedListIsTheNestedRecordWhateverItsLabel) {
    ParameterSweep sweep;
    const char* text = "AnalysisType:int{3} "
                       "TSWEEP:list{SweepType:int{2} AnalysisType:int{0} "
                       "TemperatureSweep:list{Variation:int{3} List:array{250 350}}} "
                       "GroupTraces:int{0}";
    EXPECT_EQ(sweep.fromPropertyList(CPropertyList(CString(text))), 1);
    ParameterSweep* nested = sweep.GetNestedSweep();
    ASSERT_NE(nested, nullptr);
    EXPECT_EQ(nested->GetSweepType(), ParameterSweep::TemperatureSweep);
    EXPECT_EQ(nested->GetVariation().GetNumListItems(), 2);
    EXPECT_EQ(sweep.GetGroupAllTraces(), 0);
    // Written back under the label it was read from.
    EXPECT_NE(sweep.toPropertyList().GetList().Find(" TSWEEP:list{DeviceSweep:"), -1);

    // A second record goes into the same nested sweep.
    EXPECT_EQ(sweep.fromPropertyList(CPropertyList(CString("Deeper:list{SweepType:int{1}}"))), 1);
    EXPECT_EQ(sweep.GetNestedSweep(), nested);
    EXPECT_EQ(nested->GetSweepType(), ParameterSweep::ModelSweep);
    EXPECT_EQ(nested->GetAnalysisName(), "Deeper");
}

TEST(ParameterSweep, ReaderSkipsWrongTypesAndGoesOnPastUnknownKeys) {
    ParameterSweep sweep;
    // Known keys with values of another type are skipped without failing the record.
    EXPECT_EQ(sweep.fromPropertyList(CPropertyList(CString(
                  "SweepType:string{2} AnalysisType:double{0} Ac:int{1} GroupTraces:list{}"))),
              1);
    EXPECT_EQ(sweep.GetSweepType(), ParameterSweep::DeviceSweep);
    EXPECT_EQ(sweep.GetSweepAnalysisType(), ParameterSweep::InnerTran);
    EXPECT_EQ(sweep.GetGroupAllTraces(), 1);

    // An unknown key that is no list fails the record; the keys around it still apply.
    EXPECT_EQ(sweep.fromPropertyList(
                  CPropertyList(CString("SweepType:int{1} Bogus:int{5} AnalysisType:int{0}"))),
              0);
    EXPECT_EQ(sweep.GetSweepType(), ParameterSweep::ModelSweep);
    EXPECT_EQ(sweep.GetSweepAnalysisType(), ParameterSweep::InnerOp);

    // Nested readers that fail fail the record: a variation, the AC settings, a nested sweep.
    EXPECT_EQ(sweep.fromPropertyList(CPropertyList(CString("ModelSweep:list{Nope:int{1}}"))), 0);
    EXPECT_EQ(sweep.fromPropertyList(CPropertyList(CString("Ac:list{Nope:int{1}}"))), 0);
    EXPECT_EQ(sweep.fromPropertyList(CPropertyList(CString("X:list{Nope:int{1}}"))), 0);

    // A nested inner analysis without its record gets a default nested sweep.
    ParameterSweep bare;
    EXPECT_EQ(bare.fromPropertyList(CPropertyList(CString("AnalysisType:int{3}"))), 1);
    ASSERT_NE(bare.GetNestedSweep(), nullptr);
    EXPECT_EQ(LabelsOf(bare.toPropertyList())[11], "PSWEEP");
}

TEST(ParameterSweep, ReadableTextNamesQuantityValuesAndEachLevel) {
    ParameterSweep sweep;
    MakeNested(sweep);
    sweep.GetNestedSweep()->SetSweepAnalysisType(ParameterSweep::InnerOp);
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

    ParameterSweep model;
    model.SetSweepType(ParameterSweep::ModelSweep);
    model.SetSweepAnalysisType(ParameterSweep::InnerAc);
    model.SetGroupAllTraces(0);
    const std::string text = Summary(model);
    EXPECT_EQ(text.rfind("Swept quantity: Model parameter\nModel: (none)\nParameter: (none)\n"
                         "Sweep type: List\nAnalysis at each value: AC Analysis\n"
                         "  Sweep type: Decade\n",
                         0),
              0u)
        << text;
    EXPECT_NE(text.find("\nAll traces on one page: No\n"), std::string::npos) << text;
}

TEST(ParameterSweep, ErrorSaysWhatIsMissing) {
    ParameterSweep sweep;
    EXPECT_EQ(sweep.GetError(), "No circuit element is chosen for the sweep.");
    MakeNested(sweep);
    sweep.GetMemberParameterToSweep(ParameterSweep::DeviceSweep) = CSPICEparam();
    EXPECT_EQ(sweep.GetError(), "No parameter is chosen for the sweep.");
    MakeNested(sweep);
    EXPECT_EQ(sweep.GetError(), "") << "the nested temperature sweep has values";
    sweep.GetNestedSweep()->GetVariation().SetNumListItems(0);
    EXPECT_EQ(sweep.GetError(), "The sweep has no values to step through.");
}

TEST(SweepAnalyses, NicknameDecidesTheKindOfEitherClass) {
    Analyses::Psweep psweep;
    Analyses::Tsweep tsweep;
    EXPECT_EQ(psweep.GetType(), T::Psweep);
    EXPECT_EQ(tsweep.GetType(), T::Tsweep);
    EXPECT_EQ(tsweep.toPropertyItem().GetLabel(), "TSWEEP");
    EXPECT_EQ(psweep.GetAnalysisReadableName(), "Parameter Sweep");
    EXPECT_EQ(tsweep.GetAnalysisReadableName(), "Temperature Sweep");
    EXPECT_EQ(tsweep.toNutmegCommand(1).view().substr(0, 12), "orvo tsweep ");

    const std::unique_ptr<Analyses::Analysis> clone(tsweep.Clone());
    ASSERT_NE(dynamic_cast<Analyses::Tsweep*>(clone.get()), nullptr);
    EXPECT_EQ(clone->GetType(), T::Tsweep);
    const std::unique_ptr<Analyses::Analysis> fresh(tsweep.NewInstance());
    EXPECT_EQ(fresh->GetType(), T::Tsweep);

    // Read back through a proxy by its label: a TSWEEP item makes a temperature sweep.
    Analyses main(nullptr);
    tsweep.GetParameterSweep().SetSweepType(ParameterSweep::TemperatureSweep);
    Analyses::AnalysisProxy proxy;
    ASSERT_EQ(proxy.fromPropertyItem(tsweep.toPropertyItem(), &main), 1);
    ASSERT_NE(proxy.GetTsweepPtr(), nullptr);
    EXPECT_EQ(proxy.GetPsweepPtr(), nullptr);
    EXPECT_EQ(proxy.GetTsweepPtr()->GetSweepType(), ParameterSweep::TemperatureSweep);
}

TEST(SweepAnalyses, ProxySwitchesASweepBetweenTheTwoKinds) {
    Analyses main(nullptr);
    Analyses::AnalysisProxy proxy;
    proxy.SetType(T::Psweep, &main);
    Analyses::Psweep* sweep = proxy.GetPsweepPtr();
    ASSERT_NE(sweep, nullptr);
    EXPECT_EQ(proxy.GetTsweepPtr(), nullptr);
    EXPECT_EQ(proxy.GetMainAnalyses(), &main);
    sweep->SetSweepAnalysisType(ParameterSweep::InnerSweep);

    // To TSWEEP: the same object answers Tsweep; an inner analysis other than transient
    // becomes transient and the nested sweep goes.
    proxy.SetAnalysisNickname(T::Tsweep);
    EXPECT_EQ(proxy.GetTsweepPtr(), sweep);
    EXPECT_EQ(proxy.GetPsweepPtr(), nullptr);
    EXPECT_EQ(proxy.GetAnalysisNickname(), "TSWEEP");
    EXPECT_EQ(sweep->GetSweepAnalysisType(), ParameterSweep::InnerTran);
    EXPECT_EQ(sweep->GetNestedSweep(), nullptr);
    EXPECT_EQ(proxy.toPropertyItem().GetLabel(), "TSWEEP");

    // Back to PSWEEP: a transient inner analysis becomes an operating point.
    sweep->SetSweepAnalysisType(ParameterSweep::InnerSweep);
    sweep->SetSweepAnalysisType(ParameterSweep::InnerTran);
    proxy.SetAnalysisNickname(T::Psweep);
    EXPECT_EQ(proxy.GetPsweepPtr(), sweep);
    EXPECT_EQ(sweep->GetSweepAnalysisType(), ParameterSweep::InnerOp);
    EXPECT_EQ(sweep->GetNestedSweep(), nullptr);
    // An AC inner analysis stays when switching to PSWEEP; other kinds change nothing.
    sweep->SetSweepAnalysisType(ParameterSweep::InnerAc);
    proxy.SetAnalysisNickname(T::Psweep);
    proxy.SetAnalysisNickname(T::Ac);
    EXPECT_EQ(sweep->GetSweepAnalysisType(), ParameterSweep::InnerAc);
    EXPECT_EQ(proxy.GetType(), T::Psweep);

    Analyses::AnalysisProxy op;
    op.SetType(T::Op, &main);
    op.SetAnalysisNickname(T::Tsweep);
    EXPECT_EQ(op.GetType(), T::Op);
    EXPECT_EQ(op.GetTsweepPtr(), nullptr);
}

TEST(AnalysesCollection, OwnsOneAnalysisOfEveryKindWithAClass) {
    CASimulationEngine engine;
    Analyses analyses(&engine);
    EXPECT_EQ(analyses.GetAsimEng(), &engine);
    for (int t = 0; t < Analyses::AnalysisTypeCount; ++t) {
        SCOPED_TRACE(t);
        const auto type = static_cast<T>(t);
        const Analyses::Analysis* a = analyses.GetAnalysis(type);
        const bool hasClass = std::unique_ptr<Analyses::Analysis>(
                                  Analyses::NewAnalysisByNickname(AnalysisNickname(type)))
                                  .get() != nullptr;
        ASSERT_EQ(a != nullptr, hasClass);
        if (a) {
            EXPECT_EQ(a->GetType(), type);
            EXPECT_EQ(a->GetMainAnalyses(), &analyses);
        }
    }
    EXPECT_EQ(analyses.GetAnalysis(T::Options), nullptr);
    EXPECT_EQ(&analyses.GetPsweep(), analyses.GetAnalysis(T::Psweep));
    EXPECT_EQ(&analyses.GetTsweep(), analyses.GetAnalysis(T::Tsweep));
    EXPECT_EQ(static_cast<Analyses::Analysis*>(&analyses.GetRun()), analyses.GetAnalysis(T::Run));
    EXPECT_EQ(analyses.GetTsweep().GetParameterSweep().GetAnalysisName(), "TSWEEP");
    // A sweep of the collection finds the collection's own settings of its kind.
    ParameterSweep tsweep(&analyses, 1);
    tsweep.SetNickName("TSWEEP");
    EXPECT_EQ(tsweep.GetMainAnalysis(), &analyses.GetTsweep().GetParameterSweep());
    EXPECT_EQ(ParameterSweep().GetMainAnalysis(), nullptr);

    Analyses detached(nullptr);
    EXPECT_NE(detached.GetAsimEng(), nullptr) << "the do-nothing engine stands in";
}

} // namespace
