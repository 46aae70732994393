// The ngspice engine on circuits a test writes, and an analysis stand-in that records the plot
// events it gets.
#pragma once

#include "analyses/core/analyses.h"
#include "engine/plot_event_sink.h"
#include "host/ngspice/engine.h"
#include "host/ngspice/session.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace canal_test {

#define EXPECT_REL(actual, expected, rel)                                                          \
    EXPECT_NEAR((actual), (expected), std::fabs(expected) * (rel))

/// A collection with nothing in it: what a compound analysis and the stop poll reach the
/// engine through.
class BareAnalyses : public Analyses {};

/// Records every plot event in order, with copies of the plots and rows.
class RecordingSink : public CPlotEventSink {
public:
    struct Plot {
        CSpicePlotInfo info;
        std::vector<std::vector<double>> re, im;
        bool ended = false;
    };

    explicit RecordingSink(const Analyses* owner) : CPlotEventSink("test", "recorder", owner) {}

    int HandleEventIndirect(CEventSource* source, const EventData* data) override {
        if (data)
            ids.push_back(data->id);
        return CPlotEventSink::HandleEventIndirect(source, data);
    }

    /// The values of vector `name` of plot `p` (real parts), empty when there is none.
    std::vector<double> Values(std::size_t p, const char* name) const {
        std::vector<double> values;
        if (p >= plots.size())
            return values;
        const int i = plots[p].info.FindVector(name);
        if (i < 0)
            return values;
        for (const auto& row : plots[p].re)
            values.push_back(row[static_cast<std::size_t>(i)]);
        return values;
    }
    /// The first value of vector `name` of the last plot; NaN when missing.
    double Last(const char* name) const {
        const std::vector<double> v = Values(plots.size() - 1, name);
        return v.empty() ? NAN : v.front();
    }

    std::vector<long> ids;
    std::vector<Plot> plots;
    int abortAfterRows = -1; ///< answer "abort" to the row with this index

private:
    int OUTpBeginPlot(const CSpiceArgs& args) override {
        plots.push_back({*args.GetPlotInfo(), {}, {}, false});
        return 1;
    }
    int OUTpData(const CSpiceArgs& args) override {
        plots.back().re.push_back(args.GetDataRow()->real);
        plots.back().im.push_back(args.GetDataRow()->imag);
        return abortAfterRows >= 0 && static_cast<int>(plots.back().re.size()) > abortAfterRows ? 0
                                                                                                : 1;
    }
    int OUTendPlot(const CSpiceArgs&) override {
        plots.back().ended = true;
        return 1;
    }
};

/// An engine with a circuit, a collection and a recorder wired as a running analysis would be.
class EngineTest : public ::testing::Test {
protected:
    EngineTest() {
        analyses_.SetAsimEng(&engine_);
        engine_.SetAnalysisEventSink(&sink_);
    }
    ~EngineTest() override { engine_.SetAnalysisEventSink(nullptr); }

    /// Loads the netlist (title first; ".end" is added).
    void Load(const std::vector<std::string>& lines) {
        std::string error;
        ASSERT_TRUE(engine_.LoadCircuitLines(lines, error)) << error;
    }

    /// Runs one inner command; fails the test when the engine refuses it.
    void Silent(const std::string& command) {
        ASSERT_EQ(engine_.SilentExecuteSimulatorCommand(CString(command)), 1)
            << command << ": " << engine_.LastError();
    }

    int SetInstance(const char* device, const char* model, const char* instance, const char* param,
                    double value) {
        return engine_.GetSimulatorSnapIn()->SetProperty(
            SNAPIN_INSTANCE_PARAMETER, IITVariant(CStringArray{device, model, instance, param}),
            IITVariant(CPropertyItem(param, value)), nullptr);
    }
    int SetModel(const char* device, const char* model, const char* param, double value) {
        return engine_.GetSimulatorSnapIn()->SetProperty(
            SNAPIN_MODEL_PARAMETER, IITVariant(CStringArray{device, model, param}),
            IITVariant(CPropertyItem(param, value)), nullptr);
    }

    host::NgSpiceEngine engine_{host::NgSpiceSession::Get()};
    BareAnalyses analyses_;
    RecordingSink sink_{&analyses_};
};

} // namespace canal_test
