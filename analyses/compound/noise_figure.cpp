// Noise figure analysis: the request, the noise run, the two spectra and the result log.
#include "analyses/compound/noise_figure.h"

#include "analyses/compound/noise_figure_result.h"
#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <cstddef>

namespace {

constexpr const char* kOutputSpectrum = "onoise_spectrum";
constexpr const char* kInputSpectrum = "inoise_spectrum";

/// Stores the row's value at `index` in `value`; -1 or a short row leaves it alone.
void TakeValue(const CSpiceDataRow& row, int index, double& value) {
    if (index >= 0 && static_cast<size_t>(index) < row.real.size())
        value = row.real[static_cast<size_t>(index)];
}

} // namespace

Analyses::NoiseFigure::NoiseFigure(const Analyses* main)
    : AnalysisIdentity(main),
      CPlotEventSink("NoiseFigureAnalysis", "Noise Figure Event Sink", main) {
    // The node choosers list components rather than plain variables, as for noise.
    GetAnalysisNodes().SetMode(1);
    reset();
}

void Analyses::NoiseFigure::reset() {
    Ac::reset();
    filterInputSource_ = filterOutputNode_ = filterReferenceNode_ = NF_NONE;
    inputSource_.Empty();
    outputNode_.Empty();
    referenceNode_.Empty();
    SetFrequency(1e9);
    temperature_ = 300.15;
}

void Analyses::NoiseFigure::SetFrequency(double hz) {
    frequency_ = hz;
    SetFstart(hz);
    SetFstop(hz);
}

const Analyses::NoiseFigure* Analyses::NoiseFigure::GetMainAnalysis() const {
    const Analyses* main = GetMainAnalyses();
    return main ? KindCast<NoiseFigure>(main->GetAnalysis(AnalysisType::NoiseFigure)) : nullptr;
}

int Analyses::NoiseFigure::LoadFromMainAnalysis() {
    const NoiseFigure* main = GetMainAnalysis();
    if (!main)
        return 0;
    if (main != this)
        fromPropertyListHelper(main->toPropertyListHelper());
    return 1;
}

CString Analyses::NoiseFigure::toNutmegCommandHelper() const {
    return "orvo " + GetAnalysisNickname() + " " + toPropertyListHelper().GetList() + "; ";
}

CString Analyses::NoiseFigure::toNutmegCommandSetup() const {
    // The dialect's temperatures are kelvin; "set -temp" gives the circuit its own back.
    return "set temp=" + FormatNumber(temperature_) + " ; " + CommandHead("noise") +
           VoltageVector(outputNode_, referenceNode_, true) + ConvertNullToGround(inputSource_) +
           " " + GetACArguments() + "; set -temp";
}

int Analyses::NoiseFigure::ExecuteAnalysis() {
    const Analyses* main = GetMainAnalyses();
    if (!main)
        return 0;
    CASimulationEngine& engine = *main->GetAsimEng();

    SetStopRequested(false);
    outputNoise_ = inputNoise_ = 0.0;
    outputIndex_ = inputIndex_ = -1;
    const int ran = engine.SilentExecuteSimulatorCommand(toNutmegCommandSetup());
    const int figure = NoiseFigureResult(outputNoise_, inputNoise_, resultText_);

    CGrapherPage& page = engine.OpenGrapherPage();
    page.SetTitle(GetResourceString(IDS_NAME_NOISE_FIGURE));
    ChartLog& log = page.AddChartLog(GetResourceString(IDS_NF_RESULTS));
    log.AddLine(resultText_);
    log.AddLine(GetResourceString(IDS_NF_OUTPUT_NOISE) + FormatNumber(outputNoise_));
    log.AddLine(GetResourceString(IDS_NF_INPUT_NOISE) + FormatNumber(inputNoise_));
    engine.ReleaseGrapherPage();
    return ran && figure && !IsStopRequested() ? 1 : 0;
}

int Analyses::NoiseFigure::OUTpBeginPlot(const CSpiceArgs& args) {
    const CSpicePlotInfo& plot = *args.GetPlotInfo();
    if (plot.type != AT_NOISE)
        return 1;
    outputNoise_ = inputNoise_ = 0.0;
    outputIndex_ = plot.FindVector(kOutputSpectrum);
    inputIndex_ = plot.FindVector(kInputSpectrum);
    return 1;
}

int Analyses::NoiseFigure::OUTpData(const CSpiceArgs& args) {
    const CSpiceDataRow& row = *args.GetDataRow();
    TakeValue(row, outputIndex_, outputNoise_);
    TakeValue(row, inputIndex_, inputNoise_);
    return 1;
}

int Analyses::NoiseFigure::OUTendPlot(const CSpiceArgs& /*args*/) {
    outputIndex_ = inputIndex_ = -1;
    return 1;
}

std::span<const PropertyKeys::Key<Analyses::NoiseFigure>> Analyses::NoiseFigure::Keys() {
    using PropertyKeys::Field;
    static constexpr PropertyKeys::Key<NoiseFigure> keys[] = {
        Field<&NoiseFigure::filterInputSource_>("NodeFilterInputRefSource"),
        Field<&NoiseFigure::filterOutputNode_>("NodeFilterOutputNode"),
        Field<&NoiseFigure::filterReferenceNode_>("NodeFilterReferenceNode"),
        Field<&NoiseFigure::inputSource_>("InputRefSource"),
        Field<&NoiseFigure::outputNode_>("OutputNode"),
        Field<&NoiseFigure::referenceNode_>("ReferenceNode"),
        FrequencySweepKey<NoiseFigure>(),
        // After the sweep, so that the stored frequency is the sweep's single point.
        Field<&NoiseFigure::frequency_, &NoiseFigure::SetFrequency>("Frequency"),
        Field<&NoiseFigure::temperature_>("Temperature"),
    };
    return keys;
}

void Analyses::NoiseFigure::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    InsertNameLine(log, parent, IDS_NOISE_INPUT_REF_SOURCE, inputSource_);
    InsertNameLine(log, parent, IDS_NOISE_OUTPUT_NODE, outputNode_);
    InsertNameLine(log, parent, IDS_NOISE_REFERENCE_NODE, referenceNode_);
    InsertLine(log, parent, IDS_NF_FREQUENCY, FormatNumber(frequency_));
    InsertLine(log, parent, IDS_NF_TEMPERATURE, FormatNumber(temperature_));
}

int ExecuteNoiseFigureCommand(CASimulationEngine& engine, Analyses* analyses,
                              const CPropertyList& record) {
    Analyses::NoiseFigure analysis(analyses);
    const AnalysisSinkScope sink(engine, &analysis);
    analysis.fromPropertyListHelper(record);
    return analysis.ExecuteAnalysis();
}
