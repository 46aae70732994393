// The collection: its stored set and run list, the sweep toggle, resets, filtering, copies,
// node-list updates and random streams.
#include "analyses/compound/psweep.h"
#include "analyses/compound/wcmc_analysis.h"
#include "analyses/core/analysis_proxy.h"
#include "analyses/single/ac.h"
#include "analyses/single/op.h"
#include "analyses/single/tran.h"
#include "analyses/single/user.h"
#include "engine/simulation_engine.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace {

using T = Analyses::AnalysisType;
using Proxy = Analyses::AnalysisProxy;
using test::Labels;
using test::ParseItem;

CPropertyItem SetOf(const std::string& fields) {
    return ParseItem(("ANALYSES:list{" + fields + "}").c_str());
}

// A fresh sweep's empty linear walk is written with no points and read back as one; walks
// settled like that keep the round trips below exact.
void Settle(Analyses::Psweep& sweep) {
    for (int t = 0; t < 3; ++t)
        sweep.GetSweepVariation(t).SetNumPoints(0);
}

// A collection with edited analyses and a run list of an AC analysis with its own name and
// raw file, a parameter sweep turned into a temperature sweep, and a Monte Carlo analysis.
void Fill(Analyses& set) {
    set.GetAc().SetFstart(10);
    set.GetTran().SetTstop(0.002);
    set.GetUser().SetUserCommands("echo hi");
    set.GetPsweep().SetGroupAllTraces(0);
    Settle(set.GetPsweep());
    Settle(set.GetTsweep());
    set.SetSelection(1);
    set.SetCurrentIdentifier(7);

    Proxy ac;
    ac.SetType(T::Ac, &set);
    ac.GetAcPtr()->SetFstop(1e6);
    ac.SetAnalysisReadableName("Low end");
    ac.SetAnalysisRawfile("mine.raw");
    set.GetAnalysisList().AddProxy(ac);
    Proxy sweep;
    sweep.SetType(T::Psweep, &set);
    sweep.SetAnalysisNickname(T::Tsweep);
    Settle(*sweep.GetTsweepPtr());
    set.GetAnalysisList().AddProxy(sweep);
    Proxy monte;
    monte.SetType(T::Monte, &set);
    monte.GetMontePtr()->SetNumRuns(3);
    set.GetAnalysisList().AddProxy(monte, 0);
}

std::vector<std::string> RunListNicknames(const Analyses& set) {
    std::vector<std::string> names;
    set.GetAnalysisList().ForEach([&](const SelectableAnalysisProxy& entry) {
        names.push_back(entry.proxy.GetAnalysisNickname().str());
    });
    return names;
}

TEST(AnalysesCollection, WritesTheRunSetThenEveryKindInItsFixedOrder) {
    Analyses set(nullptr);
    const CPropertyItem item = set.toPropertyItem();
    EXPECT_EQ(item.GetLabel(), "ANALYSES");
    EXPECT_EQ(
        Labels(item.GetPropertyList()),
        (std::vector<std::string>{"ANALYSIS_LIST", "USE",   "CURRENT_ID", "OP",       "AC",
                                  "TRAN",          "FOUR",  "NOISE",      "DISTO",    "PSWEEP",
                                  "TSWEEP",        "PZ",    "TF",         "DC_SWEEP", "SENS",
                                  "WORST",         "MONTE", "USER",       "RUN",      "TRACEWIDTH",
                                  "NOISE_FIGURE"}));
    EXPECT_EQ(item.GetField().str().substr(0, 65),
              "ANALYSES:list{ANALYSIS_LIST:list{} USE:int{-1} CURRENT_ID:int{1} ");

    Fill(set);
    EXPECT_EQ(Labels(set.toPropertyItemRun().GetPropertyList()),
              (std::vector<std::string>{"AC", "TSWEEP", "MONTE"}));
}

TEST(AnalysesCollection, StoredSetRoundTripsWithItsRunListAndRenumbersOnRequest) {
    Analyses source(nullptr);
    Fill(source);
    const CPropertyItem stored = source.toPropertyItem();

    Analyses read(nullptr);
    ASSERT_EQ(read.fromPropertyItem(stored, 0), 1);
    EXPECT_EQ(read.toPropertyItem().GetField(), stored.GetField());
    EXPECT_EQ(read.GetSelection(), 1);
    EXPECT_EQ(read.GetCurrentIdentifier(), 7);
    EXPECT_EQ(read.GetAc().GetFstart(), 10);
    EXPECT_EQ(read.GetUser().GetUserCommands(), "echo hi");
    EXPECT_EQ(RunListNicknames(read), (std::vector<std::string>{"AC", "TSWEEP", "MONTE"}));
    read.GetAnalysisList().ForEach([&](const SelectableAnalysisProxy& entry) {
        EXPECT_EQ(entry.selected, 1) << "selection flags are not stored: every entry reads as 1";
        EXPECT_EQ(entry.proxy.GetMainAnalyses(), &read);
        EXPECT_EQ(entry.proxy.GetOwnerFlag(), 1);
    });
    EXPECT_NE(read.GetAnalysisList()[1].proxy.GetTsweepPtr(), nullptr);

    // Renumbering numbers the entries from the reset identifier and names fresh raw files,
    // the plot titles following the readable names; the stored CURRENT_ID, written after
    // the run list, is read after it and stands.
    Analyses renumbered(nullptr);
    ASSERT_EQ(renumbered.fromPropertyItem(stored, 1), 1);
    const SelectableAnalysisProxyList& runs = renumbered.GetAnalysisList();
    const std::array<std::pair<int, const char*>, 3> expected = {
        {{2, "____2.raw"}, {3, "____3.raw"}, {4, "____4.raw"}}};
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(runs[i].proxy.GetAnalysisPtr()->GetAnalysisIdentifier(), expected[i].first);
        EXPECT_EQ(runs[i].proxy.GetAnalysisRawfile(), expected[i].second);
    }
    EXPECT_EQ(runs[0].proxy.GetPlotTitle(), "Low end");
    EXPECT_EQ(runs[1].proxy.GetPlotTitle(), "Temperature Sweep");
    EXPECT_EQ(renumbered.GetCurrentIdentifier(), 7);
}

TEST(AnalysesCollection, ReaderPairsSweepsGoesOnPastBadFieldsAndResetsFirst) {
    const std::string p1 = "PSWEEP:list{ANALYSIS:list{GroupTraces:int{0}}}";
    const std::string p2 = "PSWEEP:list{ANALYSIS:list{SweepType:int{1}}}";
    const std::string t = "TSWEEP:list{ANALYSIS:list{GroupTraces:int{0}}}";
    const struct {
        std::string fields;
        int result;
    } cases[] = {
        {p1 + " " + t, 1},           {p1 + " " + t + " " + p2 + " " + t, 1},
        {p1 + " " + p2, 0},          // the second PSWEEP is read but not taken
        {t + " " + p1, 0},           // a TSWEEP before any PSWEEP is not taken
        {p1 + " " + t + " " + t, 0}, // nor one right after another
        {"FOO:list{}", 0},           {"ORVO_OPT:list{}", 0},
        {"USE:string{2}", 0},        {"ANALYSIS_LIST:list{NOPE:list{}}", 0},
        {"PostProc:list{}", 0},      {"", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fields);
        Analyses set(nullptr);
        EXPECT_EQ(set.fromPropertyItem(SetOf(c.fields), 0), c.result);
    }

    // Both PSWEEP items went into the parameter sweep: the second over the first, after a reset.
    Analyses twice(nullptr);
    ASSERT_EQ(twice.fromPropertyItem(SetOf(p1 + " " + p2), 0), 0);
    EXPECT_EQ(twice.GetPsweep().GetSweepType(), ParameterSweep::ModelSweep);
    EXPECT_EQ(twice.GetTsweep().GetGroupAllTraces(), 1);

    // Fields after a bad one are still applied, and what the set held before is gone.
    Analyses set(nullptr);
    Fill(set);
    ASSERT_EQ(set.fromPropertyItem(SetOf("FOO:int{1} AC:list{ANALYSIS:list{FSTART:double{5}}} "
                                         "ANALYSIS_LIST:list{OP:list{} BAD:list{} TF:list{}}"),
                                   0),
              0);
    EXPECT_EQ(set.GetAc().GetFstart(), 5);
    EXPECT_EQ(set.GetTran().GetTstop(), 0.001);
    EXPECT_EQ(set.GetSelection(), -1);
    EXPECT_EQ(RunListNicknames(set), (std::vector<std::string>{"OP", "TF"}));
    EXPECT_EQ(set.fromPropertyItem(ParseItem("ANALYSIS:list{}"), 0), 0);
    EXPECT_EQ(set.fromPropertyItem(CPropertyItem("ANALYSES", 1L), 0), 0);
    EXPECT_EQ(RunListNicknames(set).size(), 2u) << "a refused item changes nothing";
}

TEST(AnalysesCollection, ResetAllResetsTheRowOfEachTypeAndNeverTheUserAnalysis) {
    const std::string all =
        "OP AC TRAN FOUR NOISE DISTO DC_SWEEP PSWEEP TRACEWIDTH NOISE_FIGURE TSWEEP PZ TF SENS "
        "WORST MONTE RUN";
    const std::pair<int, std::string> rows[] = {
        {-1, all},
        {0, "OP"},
        {1, "AC"},
        {2, "TRAN"},
        {3, "FOUR"},
        {4, "AC NOISE"},
        {5, "DISTO"},
        {6, "DC_SWEEP"},
        {7, "PSWEEP"},
        {8, "TSWEEP"},
        {9, "PZ"},
        {10, "TF"},
        {11, "AC SENS"},
        {12, "OP AC SENS WORST"},
        {13, "OP AC SENS MONTE"},
        {14, "RUN"},
        {15, ""},
        {16, all},
        {17, "TRAN TRACEWIDTH"},
        {18, "AC NOISE_FIGURE"},
        {19, ""},
    };
    for (const auto& [type, expected] : rows) {
        SCOPED_TRACE(type);
        Analyses set(nullptr);
        Fill(set);
        set.SetMaxPoints(5);
        Analyses::CMapStringToPtr byName;
        set.GetNameMap(byName);
        for (const auto& [name, a] : byName)
            a->SetMaxPoints(5);
        set.resetAll(static_cast<T>(type));
        // Every reset analysis is back at the default plot-point limit; the others kept 5.
        std::string ordered;
        for (const char* name :
             {"OP", "AC", "TRAN", "FOUR", "NOISE", "DISTO", "DC_SWEEP", "PSWEEP", "TRACEWIDTH",
              "NOISE_FIGURE", "TSWEEP", "PZ", "TF", "SENS", "WORST", "MONTE", "USER", "RUN"})
            if (byName[name]->GetMaxPoints() != 5)
                ordered += (ordered.empty() ? "" : " ") + std::string(name);
        EXPECT_EQ(ordered, expected);
        EXPECT_EQ(set.GetUser().GetUserCommands(), "echo hi");
        // Whatever the row, the run set starts over.
        EXPECT_TRUE(set.GetAnalysisList().IsEmpty());
        EXPECT_EQ(set.GetSelection(), -1);
        EXPECT_EQ(set.GetCurrentIdentifier(), 1);
        EXPECT_EQ(set.GetMaxPoints(), Analyses::Analysis::s_GetDefaultMaxPoints());
    }
}

TEST(AnalysesCollection, TableHasNoOptionsKindAndNamesEveryAnalysisByNickname) {
    Analyses set(nullptr);
    for (const int type : {15, 19, -1, 1000})
        EXPECT_EQ(set.GetAnalysis(static_cast<T>(type)), nullptr) << type;
    Analyses::CMapStringToPtr byName;
    set.GetNameMap(byName);
    EXPECT_EQ(byName.size(), 18u);
    EXPECT_EQ(byName.count("ORVO_OPT"), 0u);
    EXPECT_EQ(byName["TSWEEP"], &set.GetTsweep());
    EXPECT_EQ(byName["PSWEEP"], &set.GetPsweep());
    EXPECT_EQ(byName["NOISE_FIGURE"], set.GetAnalysis(T::NoiseFigure));

    EXPECT_EQ(set.GetAllocFile(), "____2.raw");
    EXPECT_EQ(set.GetAllocFile(), "____3.raw");
    EXPECT_EQ(set.GetCurrentIdentifier(), 3);
}

TEST(AnalysesCollection, InitFromPropertyItemAppliesOnlyTheRunSet) {
    Analyses source(nullptr);
    Fill(source);
    const CPropertyItem stored = source.toPropertyItem();

    Analyses set(nullptr);
    set.GetTran().SetTstop(0.5);
    EXPECT_EQ(set.InitFromPropertyItem(stored, 0), 0) << "the stored analyses are not taken";
    EXPECT_EQ(RunListNicknames(set), (std::vector<std::string>{"AC", "TSWEEP", "MONTE"}));
    EXPECT_EQ(set.GetSelection(), 1);
    EXPECT_EQ(set.GetCurrentIdentifier(), 7);
    EXPECT_EQ(set.GetAc().GetFstart(), 1) << "AC was not read";
    EXPECT_EQ(set.GetTran().GetTstop(), 0.001) << "but everything was reset";

    EXPECT_EQ(set.InitFromPropertyItem(SetOf(""), 0), 1);
    EXPECT_TRUE(set.GetAnalysisList().IsEmpty());
    EXPECT_EQ(set.InitFromPropertyItem(
                  SetOf("ANALYSIS_LIST:list{OP:list{}} USE:int{0} CURRENT_ID:int{4}"), 1),
              1);
    EXPECT_EQ(set.GetCurrentIdentifier(), 4);
    EXPECT_EQ(set.GetAnalysisList()[0].proxy.GetAnalysisRawfile(), "____2.raw");
    EXPECT_EQ(set.InitFromPropertyItem(ParseItem("ANALYSIS_LIST:list{}"), 0), 0);
}

TEST(AnalysesCollection, FilterKeepsTheStoredAnalysesOfTheKindsAsked) {
    Analyses source(nullptr);
    Fill(source);
    const CPropertyItem stored = source.toPropertyItem();

    CPropertyItem item = stored;
    EXPECT_EQ(source.FilterProperties(item, {}), 1);
    EXPECT_EQ(item.GetField(), "ANALYSES:list{}");

    item = stored;
    const int types[] = {static_cast<int>(T::Tsweep), static_cast<int>(T::Options), 42,
                         static_cast<int>(T::Ac)};
    EXPECT_EQ(source.FilterProperties(item, types), 1);
    EXPECT_EQ(Labels(item.GetPropertyList()), (std::vector<std::string>{"AC", "TSWEEP"}))
        << "in stored order, without the run list, USE and CURRENT_ID";
    EXPECT_EQ(test::Find(item.GetPropertyList(), "AC").GetField(),
              source.GetAc().toPropertyItem().GetField());

    CPropertyItem other = ParseItem("ANALYSIS_LIST:list{AC:list{}}");
    EXPECT_EQ(source.FilterProperties(other, types), 0);
    EXPECT_EQ(other.GetField(), "ANALYSIS_LIST:list{AC:list{}}");
}

TEST(AnalysesCollection, CopiesAreBoundToThemselvesAndTypedCopiesHoldWhatTheKindNeeds) {
    CASimulationEngine engine;
    Analyses source(&engine);
    Fill(source);
    source.GetWorst().SetOutputVariable("v(out)");
    source.GetAnalysisList()[0].proxy.SetChange();

    const Analyses copy(source);
    EXPECT_EQ(copy.toPropertyItem().GetField(), source.toPropertyItem().GetField());
    EXPECT_EQ(copy.GetAsimEng(), &engine);
    for (int t = 0; t < Analyses::AnalysisTypeCount; ++t)
        if (const Analyses::Analysis* a = copy.GetAnalysis(static_cast<T>(t))) {
            EXPECT_NE(a, source.GetAnalysis(static_cast<T>(t)));
            EXPECT_EQ(a->GetMainAnalyses(), &copy) << t;
        }
    copy.GetAnalysisList().ForEach([&](const SelectableAnalysisProxy& entry) {
        EXPECT_EQ(entry.proxy.GetMainAnalyses(), &copy);
    });
    EXPECT_EQ(copy.GetAnalysisList()[2].selected, 0);
    EXPECT_EQ(copy.GetAnalysisList()[0].proxy.GetChange(), 1);

    // Assignment copies into the analyses already there.
    Analyses target(nullptr);
    Analyses::Ac* ac = &target.GetAc();
    target = source;
    EXPECT_EQ(&target.GetAc(), ac);
    EXPECT_EQ(target.toPropertyItem().GetField(), source.toPropertyItem().GetField());

    const struct {
        T type;
        std::vector<T> held;
    } rows[] = {
        {T::Worst, {T::Op, T::Ac, T::Sens, T::Worst}},
        {T::Noise, {T::Ac, T::Noise}},
        {T::User, {T::User}},
        {T::Run, {T::Run}},
        {T::Options, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.type));
        const Analyses typed(source, nullptr, row.type);
        EXPECT_EQ(typed.GetSelection(), 1);
        EXPECT_EQ(typed.GetCurrentIdentifier(), 7);
        EXPECT_EQ(typed.GetAsimEng(), &engine);
        EXPECT_TRUE(typed.GetAnalysisList().IsEmpty());
        for (int t = 0; t < Analyses::AnalysisTypeCount; ++t) {
            const Analyses::Analysis* a = typed.GetAnalysis(static_cast<T>(t));
            const bool wanted =
                std::find(row.held.begin(), row.held.end(), static_cast<T>(t)) != row.held.end();
            ASSERT_EQ(a != nullptr, wanted) << t;
            if (a) {
                EXPECT_EQ(a->toPropertyItem().GetField(),
                          source.GetAnalysis(static_cast<T>(t))->toPropertyItem().GetField());
            }
        }
    }
}

// An operating point that notes how many node-list locks the engine holds when it updates.
class LockProbe : public Analyses::Op {
public:
    explicit LockProbe(CASimulationEngine& engine) : engine_(engine) {}
    void UpdateAnalysisNodeList() override { seen.push_back(engine_.GetUpdateLockCount()); }
    std::vector<int> seen;

private:
    CASimulationEngine& engine_;
};

class CountingEngine : public CASimulationEngine {
public:
    void UpdateAnalysisNodeList() override {
        seen.push_back(GetUpdateLockCount());
        CASimulationEngine::UpdateAnalysisNodeList();
    }
    std::vector<int> seen;
};

TEST(AnalysesCollection, NodeListsAreBuiltOnceThenEveryEntryUpdatesUnderTheLock) {
    CountingEngine engine;
    Analyses set(&engine);
    LockProbe first(engine), second(engine);
    set.GetAnalysisList().AddProxy(Proxy(&first, 0));
    set.GetAnalysisList().AddProxy(Proxy(&second, 0));
    set.updateNodeLists();
    EXPECT_EQ(engine.seen, std::vector<int>{0});
    EXPECT_EQ(first.seen, std::vector<int>{1});
    EXPECT_EQ(second.seen, std::vector<int>{1});
    EXPECT_EQ(engine.GetUpdateLockCount(), 0);
}

TEST(AnalysesCollection, RunListReadsAsOneHeadingPerEntryInOrder) {
    Analyses set(nullptr);
    ASSERT_EQ(set.fromPropertyItem(SetOf("ANALYSIS_LIST:list{USER:list{ANALYSIS:list{"
                                         "USER_CMD:string{echo a}}} RUN:list{}}"),
                                   1),
              1);
    CTreeCtrl tree;
    EXPECT_EQ(set.toReadableText(tree, nullptr), nullptr);
    EXPECT_EQ(tree.ToText(), "User Defined Analysis\n"
                             "  Plot title: User Defined Analysis\n"
                             "  Analysis settings\n"
                             "  Representation as SPICE commands\n"
                             "    begin-scope page User Defined Analysis\n"
                             "    echo a\n"
                             "    end-scope\n"
                             "Run Circuit Directly\n"
                             "  Plot title: Run Circuit Directly\n"
                             "  Analysis settings\n"
                             "  Representation as SPICE commands\n"
                             "    run\n");
}

TEST(AnalysesCollection, RandomStreamsTakeTheSequenceInOrderAndFollowANewMasterSeed) {
    Random::SetMasterSeed(77);
    Analyses set(nullptr);
    const uint64_t first = set.GetRandStream(-10).Next();
    const uint64_t last = set.GetRandStream(200).Next();
    EXPECT_EQ(&set.GetRandStream(-11), &set.GetRandStream(-10)) << "clamped to the ends";
    EXPECT_EQ(&set.GetRandStream(201), &set.GetRandStream(200));
    EXPECT_NE(&set.GetRandStream(-9), &set.GetRandStream(-10));

    // A copy carries the streams' states on.
    Analyses copy(set);
    EXPECT_EQ(copy.GetRandStream(0).Next(), set.GetRandStream(0).Next());

    // Stream n + 10 is the (n + 11)-th stream of the sequence after the seed.
    Random::SetMasterSeed(77);
    std::vector<Random> sequence;
    sequence.reserve(211);
    for (int i = 0; i < 211; ++i)
        sequence.emplace_back();
    EXPECT_EQ(sequence.front().Next(), first);
    EXPECT_EQ(sequence.back().Next(), last);

    // A collection built before the seed was set draws what one built after it draws.
    Analyses early(nullptr);
    Random::SetMasterSeed(77);
    EXPECT_EQ(early.GetRandStream(-10).Next(), first);
    EXPECT_EQ(early.GetRandStream(200).Next(), last);
    Random::SetMasterSeed(Random::kDefaultMasterSeed);
}

} // namespace
