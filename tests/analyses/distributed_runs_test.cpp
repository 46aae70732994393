// Runs made through a distributor, in any order and in any process, merge into exactly the
// results of the runs made one after the other here; a failed run counts as a failed command.
#include "analyses/compound/psweep.h"
#include "engine/run_distributor.h"
#include "engine/run_tape.h"
#include "tests/analyses/wcmc_fixture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

using canal_test::ScriptedAnswer;
using canal_test::ScriptedEngine;
using canal_test::ScriptedPlot;
using namespace wcmc_test;

namespace {

// Makes every job first, last to first, then hands the outcomes over in order: the merge must
// not care in which order the runs were made. Jobs listed in `fail` come back failed.
class BackwardsDistributor final : public CRunDistributor {
public:
    explicit BackwardsDistributor(std::set<size_t> fail = {}) : fail_(std::move(fail)) {}

    bool Map(size_t count, const Job& job, const Take& take) override {
        std::vector<CRunOutcome> outcomes(count);
        for (size_t i = count; i-- > 0;) {
            if (fail_.count(i)) {
                outcomes[i].error = "worker ended by signal 9";
                continue;
            }
            outcomes[i].bytes = job(i);
            outcomes[i].ok = true;
        }
        ++maps;
        for (size_t i = 0; i < count; ++i)
            if (!take(i, outcomes[i]))
                break;
        return true;
    }
    int Width() const override { return 4; }
    int maps = 0;

private:
    std::set<size_t> fail_;
};

// Makes and hands over `taken` jobs in order, then reports a stop, as a Ctrl-C would.
class StoppingDistributor final : public CRunDistributor {
public:
    explicit StoppingDistributor(size_t taken) : taken_(taken) {}
    bool Map(size_t count, const Job& job, const Take& take) override {
        for (size_t i = 0; i < count && i < taken_; ++i)
            if (!take(i, CRunOutcome{true, job(i), {}}))
                return true;
        return count <= taken_;
    }

private:
    size_t taken_;
};

// Everything a run leaves on the engine's pages, numbers bit for bit.
std::string PagesText(const ScriptedEngine& engine) {
    std::string text;
    const auto number = [&](double v) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%a ", v);
        text += buffer;
    };
    for (const CGrapherPage& page : engine.GetGrapherPages()) {
        text += "page " + page.GetTitle().str() + " x " + page.GetXAxisName().str() + "\n";
        for (const CGrapherTrace& trace : page.GetTraces()) {
            text += trace.name.str() + ":";
            for (size_t i = 0; i < trace.x.size(); ++i) {
                number(trace.x[i]);
                number(trace.re[i]);
                if (trace.IsComplex())
                    number(trace.im[i]);
            }
            text += "\n";
        }
        for (const ChartLog& log : page.GetChartLogs())
            text += log.ToText() + "\n";
        for (const CGrapherChart& chart : page.GetCharts())
            for (const auto& row : chart.rows) {
                for (const CString& cell : row)
                    text += cell.str() + ",";
                text += "\n";
            }
    }
    return text;
}

// A worst-case (flag 1) or Monte Carlo analysis of 6 runs over a transient, made on a fresh
// engine through `distributor` (may be null); the engine's pages as text.
std::string WcMcPages(int worstCase, CRunDistributor* distributor,
                      ScriptedEngine::Script script = PeakFromParameters) {
    ScriptedEngine engine;
    FillCircuit(engine.Circuit());
    TestCollection analyses;
    analyses.SetAsimEng(&engine);
    engine.SetRunDistributor(distributor);
    engine.SetScript(std::move(script));
    Random::SetMasterSeed(99);
    WcMcAnalysis analysis(&analyses, worstCase);
    EXPECT_EQ(analysis.fromPropertyList(CPropertyList(
                  CString("AnalysisType:int{2} OutputVariable:string{v(out)} NumRuns:int{6} " +
                          UniqueR1AndLotBf()))),
              1);
    const AnalysisSinkScope sink(engine, &analysis);
    EXPECT_EQ(analysis.ExecuteAnalysis(nullptr), 1);
    return PagesText(engine);
}

TEST(DistributedRuns, MonteCarloAndWorstCaseMergedFromRunsMadeBackwardsEqualTheRunsMadeInOrder) {
    for (const int worstCase : {0, 1}) {
        const std::string inOrder = WcMcPages(worstCase, nullptr);
        BackwardsDistributor backwards;
        EXPECT_EQ(WcMcPages(worstCase, &backwards), inOrder) << worstCase;
        EXPECT_EQ(backwards.maps, 1) << "the random or tolerance runs went out in one map";
        CInProcessDistributor here;
        EXPECT_EQ(WcMcPages(worstCase, &here), inOrder) << worstCase;
    }
    // The output really did follow the drawn values: the runs differ from each other.
    EXPECT_NE(WcMcPages(0, nullptr).find("Run #6"), std::string::npos);
}

TEST(DistributedRuns, AFailedMonteCarloRunIsAFailedCommandAndTheOthersStand) {
    // Run 3 (job 2) fails in its worker; made here, the same run fails as a command.
    BackwardsDistributor failing({2});
    const std::string failed = WcMcPages(0, &failing);
    int command = 0;
    const std::string inOrder =
        WcMcPages(0, nullptr, [&](const CString& c, const ScriptedEngine& e) {
            ScriptedAnswer answer = PeakFromParameters(c, e);
            if (command++ == 3) // the nominal run is command 0
                answer = ScriptedAnswer{0, {}};
            return answer;
        });
    EXPECT_EQ(failed, inOrder);
    EXPECT_NE(failed.find("Run #3: no valid measurement (the simulator reported a failure)"),
              std::string::npos)
        << failed;
}

TEST(DistributedRuns, AStopKeepsTheRunsMergedAndSkipsTheRestAndTheRepeatedWorstRun) {
    StoppingDistributor stopAfterTwo(2);
    const std::string stopped = WcMcPages(0, &stopAfterTwo);
    EXPECT_NE(stopped.find("Runs made: 3\nStopped on request before Run #3\n"), std::string::npos)
        << stopped;
    EXPECT_NE(stopped.find("\n2,Run #2,"), std::string::npos);
    EXPECT_EQ(stopped.find("\n3,"), std::string::npos) << "no later run and no repeated worst run";
    // The traces merged are those the same runs made in order leave.
    const std::string traces = stopped.substr(0, stopped.find("Monte Carlo Results"));
    EXPECT_EQ(WcMcPages(0, nullptr).rfind(traces, 0), 0u) << traces;
}

// A resistance sweep of three values over a temperature sweep of two, each an operating
// point, made on a fresh engine through `distributor`; its result, counter and pages.
struct SweepOutcome {
    int result = 0;
    long counter = 0;
    std::string pages;
};

SweepOutcome NestedSweep(CRunDistributor* distributor, int failOnCommand = -1) {
    ScriptedEngine engine;
    FillCircuit(engine.Circuit());
    Analyses analyses{&engine};
    engine.SetRunDistributor(distributor);
    // Every run answers with a plot that tells the temperature and resistance set.
    double temperature = 300.15;
    int commands = 0;
    const auto plot = [](double out, double current) {
        ScriptedPlot p;
        p.vectors = {"v(out)", "i(v1)"};
        p.rows = {{out, current}};
        return p;
    };
    engine.SetScript([&](const CString& command, const ScriptedEngine& e) {
        ScriptedAnswer answer;
        if (command.view().starts_with("set "))
            temperature = command.view().starts_with("set temp = ")
                              ? std::atof(command.c_str() + 11)
                              : 300.15;
        else
            answer.plots.push_back(plot(temperature + R1(e), -0.001 * temperature));
        if (commands++ == failOnCommand)
            answer = ScriptedAnswer{0, {}};
        return answer;
    });
    ParameterSweep& sweep = analyses.GetPsweep().GetParameterSweep();
    EXPECT_EQ(sweep.fromPropertyList(CPropertyList(
                  CString("AnalysisType:int{3} InstToSweep:list{name:string{r1}} "
                          "InstParamToSweep:list{name:string{resistance} value:double{1000}} "
                          "DeviceSweep:list{Variation:int{3} List:array{1000 2000 3000}}"))),
              1);
    EXPECT_EQ(sweep.GetNestedSweep()->fromPropertyList(
                  CPropertyList(CString("SweepType:int{2} AnalysisType:int{0} "
                                        "TemperatureSweep:list{Variation:int{3} "
                                        "List:array{250 350}}"))),
              1);
    SweepOutcome outcome;
    outcome.counter = 5;
    outcome.result = sweep.ExecuteAnalysis(nullptr, &outcome.counter);
    outcome.pages = PagesText(engine);
    return outcome;
}

TEST(DistributedRuns, NestedSweepMergedFromOuterValuesMadeBackwardsEqualsTheWalkInOrder) {
    const SweepOutcome inOrder = NestedSweep(nullptr);
    ASSERT_EQ(inOrder.result, 1);
    EXPECT_EQ(inOrder.counter, 5 + 9);
    EXPECT_NE(inOrder.pages.find("SWEEP#12: r1[resistance]=3000"), std::string::npos)
        << inOrder.pages;

    BackwardsDistributor backwards;
    const SweepOutcome merged = NestedSweep(&backwards);
    EXPECT_EQ(merged.result, 1);
    EXPECT_EQ(merged.counter, inOrder.counter);
    EXPECT_EQ(merged.pages, inOrder.pages);
    EXPECT_EQ(backwards.maps, 1) << "only the outermost level is distributed";

    // The second outer value's first inner run fails in order; through the distributor its
    // job fails: both walks end there, after that value's line, the third value never made.
    // Commands 0-4 are the first outer value's; 5 sets the temperature, 6 is the run.
    const SweepOutcome failedInOrder = NestedSweep(nullptr, 6);
    BackwardsDistributor failing({1});
    const SweepOutcome failed = NestedSweep(&failing);
    EXPECT_EQ(failedInOrder.result, 0);
    EXPECT_EQ(failed.result, 0);
    EXPECT_EQ(failed.pages, failedInOrder.pages);
    EXPECT_NE(failed.pages.find("A simulator command failed; the sweep stopped."),
              std::string::npos);
    EXPECT_EQ(failed.pages.find("r1[resistance]=3000"), std::string::npos);
}

// Plays `tape` against a sink that writes down what it receives.
struct ListeningSink : CEventSink {
    int HandleEventIndirect(CEventSource*, const EventData* data) override {
        const CSpiceArgs* args = data->value.GetSpiceArgsPtr();
        heard += std::to_string(data->id);
        if (const CSpiceDataRow* row = args ? args->GetDataRow() : nullptr) {
            for (const double v : row->real)
                heard += " " + std::to_string(v);
            heard += " /" + std::to_string(row->imag.size());
            for (const double v : row->imag) {
                uint64_t bits = 0;
                std::memcpy(&bits, &v, sizeof bits);
                heard += " " + std::to_string(bits);
            }
        } else if (const CSpicePlotInfo* plot = args ? args->GetPlotInfo() : nullptr) {
            heard += " " + plot->name.str() + " " + std::to_string(plot->vectorNames.size()) + " " +
                     std::to_string(plot->scaleIndex) +
                     (plot->vectorIsComplex.back() ? " complex" : " real");
        }
        heard += "\n";
        return 0;
    }
    std::string heard;
};

TEST(RunTape, PlaysBackEventsAnswersAndMessagesExactlyAndFailsPastItsEnd) {
    CSpicePlotInfo plot;
    plot.name = "ac1";
    plot.vectorNames = {"frequency", "v(out)"};
    plot.vectorIsComplex = {false, true};
    plot.scaleIndex = 0;
    CSpiceDataRow row;
    row.real = {1.0, 0.1};
    row.imag = {0.0, -0.0}; // a negative zero is not a zero: it must come back as itself
    CSpiceDataRow realRow;
    realRow.real = {2.0, 0.2};
    const CSpiceArgs begin(CSpiceArgs::BeginPlot, &plot), data(CSpiceArgs::Data, &row),
        real(CSpiceArgs::Data, &realRow), end(CSpiceArgs::EndPlot, &plot),
        poll(CSpiceArgs::StopPoll, nullptr);

    ListeningSink direct;
    CRunTape tape;
    for (const auto& [id, args] :
         std::vector<std::pair<long, const CSpiceArgs*>>{{EVENT_BEGIN_PLOT, &begin},
                                                         {EVENT_PLOT_DATA, &data},
                                                         {EVENT_STOP_POLL, &poll},
                                                         {EVENT_PLOT_DATA, &real},
                                                         {EVENT_END_PLOT, &end}}) {
        const EventData event{id, IITVariant(args)};
        tape.RecordEvent(event);
        if (id != EVENT_STOP_POLL) // stop polls are answered where the runs are merged
            direct.HandleEventIndirect(nullptr, &event);
    }
    tape.RecordAnswer(1);
    tape.RecordMessage("no such vector");
    tape.RecordAnswer(0);

    CRunTape played = CRunTape::FromBytes(tape.ToBytes());
    ListeningSink sink;
    std::vector<std::string> notes;
    const auto note = [&](const CString& m) { notes.push_back(m.str()); };
    EXPECT_EQ(played.PlayCommand(&sink, note), 1);
    EXPECT_EQ(sink.heard, direct.heard);
    EXPECT_TRUE(notes.empty());
    EXPECT_EQ(played.PlayCommand(&sink, note), 0);
    EXPECT_EQ(notes, std::vector<std::string>{"no such vector"});
    EXPECT_TRUE(played.AtEnd());
    EXPECT_EQ(played.PlayCommand(&sink, note), 0) << "past its end every command fails";

    // Cut short inside a row: what came before is played, then the command fails.
    const std::string& bytes = tape.ToBytes();
    CRunTape cut = CRunTape::FromBytes(std::string_view(bytes).substr(0, bytes.size() / 2));
    ListeningSink partial;
    EXPECT_EQ(cut.PlayCommand(&partial, note), 0);
    EXPECT_EQ(partial.heard, direct.heard.substr(0, partial.heard.size()));
    EXPECT_LT(partial.heard.size(), direct.heard.size());

    CRunTape failed = CRunTape::Failed("worker ended by signal 11");
    notes.clear();
    EXPECT_EQ(failed.PlayCommand(nullptr, note), 0);
    EXPECT_EQ(failed.PlayCommand(nullptr, note), 0);
    EXPECT_EQ(notes, std::vector<std::string>{"worker ended by signal 11"});
}

} // namespace
