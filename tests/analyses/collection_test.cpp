// The collection: its stored set and run list, the sweep toggle, resets, filtering, copies,
// node-list updates and random streams.
#include "analyses/compound/psweep.h"
#include "analyses/compound/wcmc_analysis.h"
#include "analyses/core/analysis_proxy.h"
#include "analyses/single/op.h"
#include "analyses/single/user.h"
#include "engine/simulation_engine.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using T = Analyses::AnalysisType;
using Proxy = Analyses::AnalysisProxy;

CPropertyItem SetOf(const std::string& fields) {
    return test::ParseItem(("ANALYSES:list{" + fields + "}").c_str());
}

// A fresh sweep's empty walk is written with no points and read back as one; settled walks
// keep the round trips exact.
void Settle(Analyses::Psweep& sweep) {
    for (int t = 0; t < 3; ++t)
        sweep.GetSweepVariation(t).SetNumPoints(0);
}

// Edited analyses, and a run list of an AC analysis with its own name and raw file, a
// parameter sweep switched to a temperature sweep, and an unselected Monte Carlo analysis.
void Fill(Analyses& set) {
    set.GetAc().SetFstart(10);
    set.GetUser().SetUserCommands("echo hi");
    Settle(set.GetPsweep());
    Settle(set.GetTsweep());
    set.SetSelection(1);
    set.SetCurrentIdentifier(7);
    Proxy ac, sweep, monte;
    ac.SetType(T::Ac, &set);
    ac.SetAnalysisReadableName("Low end");
    ac.SetAnalysisRawfile("mine.raw");
    sweep.SetType(T::Psweep, &set);
    sweep.SetAnalysisNickname(T::Tsweep);
    Settle(*sweep.GetTsweepPtr());
    monte.SetType(T::Monte, &set);
    set.GetAnalysisList().AddProxy(ac);
    set.GetAnalysisList().AddProxy(sweep);
    set.GetAnalysisList().AddProxy(monte, 0);
}

// Words joined by blanks: labels of a list, nicknames:raw files of a run list, held kinds.
std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}
std::string RunList(const Analyses& set) {
    std::vector<std::string> names;
    set.GetAnalysisList().ForEach([&](const SelectableAnalysisProxy& entry) {
        names.push_back(entry.proxy.GetAnalysisNickname().str() + ":" +
                        entry.proxy.GetAnalysisRawfile().str());
    });
    return Joined(names);
}
std::string Held(const Analyses& set) {
    std::vector<std::string> names;
    for (const AnalysisKind& kind : AnalysisKinds())
        if (set.GetAnalysis(kind.type))
            names.push_back(kind.nickname);
    return Joined(names);
}

TEST(AnalysesCollection, StoredSetKeepsItsOrderRoundTripsAndRenumbersOnRequest) {
    Analyses source(nullptr);
    Fill(source);
    const CPropertyItem stored = source.toPropertyItem();
    EXPECT_EQ(Joined(test::Labels(stored.GetPropertyList())),
              "ANALYSIS_LIST USE CURRENT_ID OP AC TRAN FOUR NOISE DISTO PSWEEP TSWEEP PZ TF "
              "DC_SWEEP SENS WORST MONTE USER RUN TRACEWIDTH NOISE_FIGURE");
    Analyses read(nullptr);
    ASSERT_EQ(read.fromPropertyItem(stored, 0), 1);
    EXPECT_EQ(read.toPropertyItem().GetField(), stored.GetField());
    EXPECT_EQ(RunList(read), "AC:mine.raw TSWEEP: MONTE:");
    EXPECT_EQ(read.GetAnalysisList()[2].selected, 1) << "selection flags are not stored";
    EXPECT_EQ(read.GetAnalysisList()[1].proxy.GetMainAnalyses(), &read);

    // Entries are numbered from the reset identifier with fresh raw files; the stored
    // CURRENT_ID, written after the run list, is read after it and stands.
    ASSERT_EQ(read.fromPropertyItem(stored, 1), 1);
    EXPECT_EQ(RunList(read), "AC:____2.raw TSWEEP:____3.raw MONTE:____4.raw");
    EXPECT_EQ(read.GetAnalysisList()[2].proxy.GetAnalysisPtr()->GetAnalysisIdentifier(), 4);
    EXPECT_EQ(read.GetAnalysisList()[0].proxy.GetPlotTitle(), "Low end");
    EXPECT_EQ(read.GetAllocFile(), "____8.raw");
}

TEST(AnalysesCollection, ReaderPairsTheSweepsAndGoesOnPastFieldsNobodyTakes) {
    const std::string p1 = "PSWEEP:list{ANALYSIS:list{Ac:list{FSTART:double{5}}}} ";
    const std::string p2 = "PSWEEP:list{ANALYSIS:list{SweepType:int{1}}} ", t = "TSWEEP:list{} ";
    const std::pair<std::string, int> cases[] = {
        {p1 + t, 1},     {p1 + t + p2 + t, 1},   {p1 + p2, 0},         {t + p1, 0},
        {p1 + t + t, 0}, {"ORVO_OPT:list{}", 0}, {"USE:string{2}", 0}, {"", 1}};
    for (const auto& [fields, result] : cases)
        EXPECT_EQ(Analyses(nullptr).fromPropertyItem(SetOf(fields), 0), result) << fields;
    // Both PSWEEP items were read, the second over a reset parameter sweep.
    Analyses set(nullptr);
    ASSERT_EQ(set.fromPropertyItem(SetOf(p1 + p2), 0), 0);
    EXPECT_EQ(set.GetPsweep().GetSweepType(), ParameterSweep::ModelSweep);
    EXPECT_EQ(set.GetPsweep().GetAc().GetFstart(), 1);

    // What the set held is gone (but for the user's commands), and fields after bad ones apply.
    Fill(set);
    EXPECT_EQ(set.fromPropertyItem(SetOf("FOO:int{1} AC:list{ANALYSIS:list{FSTART:double{5}}} "
                                         "ANALYSIS_LIST:list{OP:list{} BAD:list{} TF:list{}}"),
                                   0),
              0);
    EXPECT_EQ(set.GetAc().GetFstart(), 5);
    EXPECT_EQ(set.GetSelection(), -1);
    EXPECT_EQ(set.GetUser().GetUserCommands(), "echo hi");
    EXPECT_EQ(RunList(set), "OP: TF:");
    EXPECT_EQ(set.fromPropertyItem(test::ParseItem("ANALYSIS:list{}"), 0), 0);
    EXPECT_EQ(RunList(set), "OP: TF:") << "a refused item changes nothing";
}

TEST(AnalysesCollection, ResetAllResetsTheRowOfEachTypeAndNeverTheUserAnalysis) {
    const std::string all = "OP AC TRAN FOUR NOISE DISTO DC_SWEEP PSWEEP TSWEEP PZ TF SENS WORST "
                            "MONTE RUN TRACEWIDTH NOISE_FIGURE";
    // clang-format off
    const std::pair<int, std::string> rows[] = {
        {-1, all}, {0, "OP"}, {1, "AC"}, {2, "TRAN"}, {3, "FOUR"}, {4, "AC NOISE"}, {5, "DISTO"},
        {6, "DC_SWEEP"}, {7, "PSWEEP"}, {8, "TSWEEP"}, {9, "PZ"}, {10, "TF"}, {11, "AC SENS"},
        {12, "OP AC SENS WORST"}, {13, "OP AC SENS MONTE"}, {14, "RUN"}, {15, ""}, {16, all},
        {17, "TRAN TRACEWIDTH"}, {18, "AC NOISE_FIGURE"}, {19, ""}};
    // clang-format on
    for (const auto& [type, expected] : rows) {
        Analyses set(nullptr);
        Fill(set);
        std::vector<Analyses::Analysis*> analyses;
        for (const AnalysisKind& kind : AnalysisKinds())
            analyses.push_back(set.GetAnalysis(kind.type));
        for (Analyses::Analysis* a : analyses)
            if (a)
                a->SetMaxPoints(5);
        set.resetAll(static_cast<T>(type));
        // A reset analysis is back at the default plot-point limit.
        std::vector<std::string> reset;
        for (const Analyses::Analysis* a : analyses)
            if (a && a->GetMaxPoints() != 5)
                reset.push_back(a->GetAnalysisNickname().str());
        EXPECT_EQ(Joined(reset), expected) << type;
        EXPECT_EQ(set.GetUser().GetUserCommands(), "echo hi");
        EXPECT_EQ(RunList(set), "");
        EXPECT_EQ(set.GetSelection(), -1);
        EXPECT_EQ(set.GetCurrentIdentifier(), 1);
    }
}

TEST(AnalysesCollection, InitReadsOnlyTheRunSetAndFilterOnlyTheKindsAsked) {
    Analyses source(nullptr);
    Fill(source);
    const CPropertyItem stored = source.toPropertyItem();
    EXPECT_EQ(source.GetAnalysis(T::Options), nullptr);
    EXPECT_EQ(source.GetAnalysis(static_cast<T>(19)), nullptr);

    Analyses set(nullptr);
    EXPECT_EQ(set.InitFromPropertyItem(stored, 0), 0) << "the stored analyses are not taken";
    EXPECT_EQ(RunList(set), "AC:mine.raw TSWEEP: MONTE:");
    EXPECT_EQ(set.GetSelection(), 1);
    EXPECT_EQ(set.GetAc().GetFstart(), 1);
    EXPECT_EQ(set.InitFromPropertyItem(SetOf("ANALYSIS_LIST:list{OP:list{}} USE:int{0}"), 1), 1);
    EXPECT_EQ(RunList(set), "OP:____2.raw");

    CPropertyItem item = stored;
    EXPECT_EQ(source.FilterProperties(item, {}), 1);
    EXPECT_EQ(item.GetField(), "ANALYSES:list{}");
    item = stored;
    const int types[] = {static_cast<int>(T::Tsweep), 15, 42, static_cast<int>(T::Ac)};
    EXPECT_EQ(source.FilterProperties(item, types), 1);
    EXPECT_EQ(Joined(test::Labels(item.GetPropertyList())), "AC TSWEEP");
}

TEST(AnalysesCollection, CopiesAreBoundToThemselvesAndTypedCopiesHoldWhatTheKindNeeds) {
    CASimulationEngine engine;
    Analyses source(&engine);
    Fill(source);
    const Analyses copy(source);
    EXPECT_EQ(copy.toPropertyItem().GetField(), source.toPropertyItem().GetField());
    EXPECT_EQ(copy.GetAsimEng(), &engine);
    EXPECT_EQ(copy.GetAnalysisList()[2].selected, 0);
    EXPECT_EQ(copy.GetAnalysisList()[1].proxy.GetMainAnalyses(), &copy);
    EXPECT_EQ(copy.GetAnalysis(T::Worst)->GetMainAnalyses(), &copy);
    Analyses target(nullptr);
    const Analyses::Analysis* ac = target.GetAnalysis(T::Ac);
    target = source;
    EXPECT_EQ(target.GetAnalysis(T::Ac), ac) << "assignment copies into the analyses there";
    EXPECT_EQ(target.toPropertyItem().GetField(), source.toPropertyItem().GetField());

    const std::pair<T, std::string> rows[] = {
        {T::Worst, "OP AC SENS WORST"}, {T::User, "USER"}, {T::Run, "RUN"}, {T::Options, ""}};
    for (const auto& [type, held] : rows) {
        const Analyses typed(source, nullptr, type);
        EXPECT_EQ(Held(typed), held);
        EXPECT_EQ(RunList(typed), "");
        EXPECT_EQ(typed.GetCurrentIdentifier(), 7);
    }
    EXPECT_EQ(Analyses(source, nullptr, T::Sens).GetAnalysis(T::Ac)->toPropertyItem().GetField(),
              source.GetAnalysis(T::Ac)->toPropertyItem().GetField());
}

// Notes how many node-list locks the engine holds at each update, its own and the entries'.
struct CountingEngine : CASimulationEngine {
    void UpdateAnalysisNodeList() override { seen.push_back(GetUpdateLockCount()); }
    std::vector<int> seen;
};
struct LockProbe : Analyses::Op {
    explicit LockProbe(CountingEngine& e) : engine(e) {}
    void UpdateAnalysisNodeList() override { engine.UpdateAnalysisNodeList(); }
    CountingEngine& engine;
};

TEST(AnalysesCollection, NodeListsAreBuiltOnceThenEveryEntryUpdatesUnderTheLock) {
    CountingEngine engine;
    Analyses set(&engine);
    LockProbe entry(engine);
    set.GetAnalysisList().AddProxy(Proxy(&entry, 0));
    set.GetAnalysisList().AddProxy(Proxy(&entry, 0));
    set.updateNodeLists();
    EXPECT_EQ(engine.seen, (std::vector<int>{0, 1, 1}));
    EXPECT_EQ(engine.GetUpdateLockCount(), 0);
}

TEST(AnalysesCollection, RandomStreamsTakeTheSequenceInOrderAndFollowANewMasterSeed) {
    Random::SetMasterSeed(77);
    Analyses set(nullptr);
    const uint64_t first = set.GetRandStream(-10).Next(), last = set.GetRandStream(200).Next();
    // Stream n + 10 is the (n + 11)-th of the sequence after the seed.
    Random::SetMasterSeed(77);
    std::vector<Random> sequence(1);
    for (int i = 1; i < 211; ++i)
        sequence.emplace_back();
    EXPECT_EQ(sequence.front().Next(), first);
    EXPECT_EQ(sequence.back().Next(), last);
    // A collection built before the seed was set draws what one built after it draws.
    Analyses early(nullptr);
    Random::SetMasterSeed(77);
    EXPECT_EQ(early.GetRandStream(-10).Next(), first);
    EXPECT_EQ(early.GetRandStream(201).Next(), last) << "clamped to the last";
    Random::SetMasterSeed(Random::kDefaultMasterSeed);
}

} // namespace
