// The plot-event protocol: which events reach the callbacks, what the host is
// answered, and the stop poll.
#include "engine/plot_event_sink.h"
#include "tests/support/scripted_engine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct TestCollection : Analyses {};

// A compound analysis in miniature: records its callbacks and answers as told.
class RecordingAnalysis : public CPlotEventSink {
public:
    explicit RecordingAnalysis(const Analyses* owner)
        : CPlotEventSink("Recording", "Recording Event Sink", owner) {}

    int answer = 1;
    std::vector<std::string> calls;

private:
    int OUTpBeginPlot(const CSpiceArgs& args) override {
        calls.push_back("begin " + args.GetPlotInfo()->name.str());
        return answer;
    }
    int OUTpData(const CSpiceArgs&) override {
        calls.push_back("data");
        return answer;
    }
    int OUTendPlot(const CSpiceArgs& args) override {
        calls.push_back("end " + args.GetPlotInfo()->name.str());
        return answer;
    }
};

int Send(CEventSink& sink, CEventSource* source, long id, const IITVariant& value) {
    const EventData data{id, value};
    return sink.HandleEventIndirect(source, &data);
}

} // namespace

TEST(PlotEventSink, CallsBackOnlyForMatchingArgumentsAndAnswersByTheResult) {
    RecordingAnalysis analysis(nullptr);
    CEventSource source("host");
    CSpicePlotInfo plot;
    plot.name = "tran1";
    CSpiceDataRow row;
    const CSpiceArgs begin(CSpiceArgs::BeginPlot, &plot);
    const CSpiceArgs data(CSpiceArgs::Data, &row);
    const CSpiceArgs end(CSpiceArgs::EndPlot, &plot);

    // A callback above 0 means "go on": the host is answered 0; 0 or less means "abort": 1.
    for (const int answer : {1, 0, -3}) {
        analysis.answer = answer;
        for (const auto& [id, args] : {std::pair{4004L, &begin}, {4005L, &data}, {4006L, &end}})
            EXPECT_EQ(Send(analysis, &source, id, args), answer > 0 ? 0 : 1) << id << answer;
    }
    EXPECT_EQ(analysis.calls.size(), 9u);
    EXPECT_EQ(std::vector<std::string>(analysis.calls.begin(), analysis.calls.begin() + 3),
              (std::vector<std::string>{"begin tran1", "data", "end tran1"}));

    // Mismatched kinds, missing payloads, no source, event data or variant, and ids outside
    // 4004-4007 answer 0 and never reach the analysis.
    analysis.calls.clear();
    const CSpiceArgs noPayload(CSpiceArgs::BeginPlot, nullptr);
    const std::tuple<CEventSource*, long, IITVariant> ignored[] = {
        {&source, 4004, &data},        {&source, 4004, &noPayload},     {&source, 4005, &begin},
        {&source, 4006, &data},        {&source, 4004, IITVariant(5L)}, {nullptr, 4004, &begin},
        {&source, 4004, IITVariant()}, {&source, 4003, &begin},         {&source, 4008, &data}};
    for (const auto& [from, id, value] : ignored)
        EXPECT_EQ(Send(analysis, from, id, value), 0) << id;
    EXPECT_EQ(analysis.HandleEventIndirect(&source, nullptr), 0);
    EXPECT_TRUE(analysis.calls.empty());
}

TEST(PlotEventSink, StopPollStopsTheSessionWhenTheEngineSaysSo) {
    canal_test::ScriptedEngine engine;
    TestCollection analyses;
    analyses.SetAsimEng(&engine);
    RecordingAnalysis analysis(&analyses);
    CEventSource source("host");
    const CSpiceArgs poll(CSpiceArgs::StopPoll, &engine.Session());

    engine.StopAfterPolls(1);
    EXPECT_EQ(Send(analysis, &source, 4007, &poll), 0);
    EXPECT_FALSE(analysis.IsStopRequested());
    EXPECT_TRUE(engine.StoppedSessions().empty());

    EXPECT_EQ(Send(analysis, &source, 4007, &poll), 0) << "then passed on like any event";
    EXPECT_TRUE(analysis.IsStopRequested());
    EXPECT_EQ(engine.StoppedSessions(), std::vector<CSpiceSession*>{&engine.Session()});

    // A poll with other arguments, or for an analysis without a collection, asks nobody.
    CSpiceDataRow row;
    const CSpiceArgs data(CSpiceArgs::Data, &row);
    EXPECT_EQ(Send(analysis, &source, 4007, &data), 0);
    RecordingAnalysis orphan(nullptr);
    EXPECT_EQ(Send(orphan, &source, 4007, &poll), 0);
    EXPECT_FALSE(orphan.IsStopRequested());
    EXPECT_EQ(engine.StopPolls(), 2);
    EXPECT_TRUE(analysis.calls.empty());
}
