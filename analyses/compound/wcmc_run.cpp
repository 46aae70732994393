// Worst case and Monte Carlo runs: parameter sets, one run, and the plot callbacks.
#include "analyses/compound/wcmc_analysis.h"

#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"

#include <cmath>

namespace {

// Holds the list's removal lock for a walk that may outlast one ForEach.
class RemovalLock {
public:
    explicit RemovalLock(CopiableSList<WcMcTolSpec>& list) : list_(list) { list_.lock_remove(); }
    ~RemovalLock() { list_.unlock_remove(); }
    RemovalLock(const RemovalLock&) = delete;
    RemovalLock& operator=(const RemovalLock&) = delete;

private:
    CopiableSList<WcMcTolSpec>& list_;
};

} // namespace

bool WcMcAnalysis::Varies(const WcMcTolSpec& tol) const {
    switch (vary_) {
    case VaryDeviceOnly:
        return tol.GetLotNum() == WcMcTolSpec::Unique;
    case VaryLotOnly:
        return tol.GetLotNum() != WcMcTolSpec::Unique;
    default:
        return true;
    }
}

void WcMcAnalysis::SetRunParameters(int random) {
    RemovalLock lock(tolSpecs_);
    tolSpecs_.ForEach([&](WcMcTolSpec& t) {
        if (random && Varies(t))
            t.SetNewRandomValue();
        else
            t.SetOriginalValue();
    });
}

void WcMcAnalysis::PushRunParameters() {
    RemovalLock lock(tolSpecs_);
    tolSpecs_.ForEach([](WcMcTolSpec& t) { t.PushValue(); });
}

void WcMcAnalysis::PopRunParameters() {
    RemovalLock lock(tolSpecs_);
    tolSpecs_.ForEach([](WcMcTolSpec& t) { t.PopValue(); });
}

void WcMcAnalysis::SetOnSimulator() {
    CASimulationEngine* engine = GetEngine();
    CInstrumentInterface* snapIn = engine ? engine->GetSimulatorSnapIn() : nullptr;
    RemovalLock lock(tolSpecs_);
    tolSpecs_.ForEach(
        [&](const WcMcTolSpec& t) { t.SetOnSimulator(snapIn, WcMcTolSpec::Current); });
}

CString WcMcAnalysis::GetParametersString() const {
    CString text;
    tolSpecs_.ForEach([&](const WcMcTolSpec& t) {
        if (!text.IsEmpty())
            text += "; ";
        text += t.GetMemberName() + " " + t.GetParameterName() + " = " +
                FormatNumber(t.GetValue(WcMcTolSpec::Current));
    });
    return text;
}

WcMcAnalysis::ParameterSet WcMcAnalysis::CurrentValues() const {
    ParameterSet values;
    tolSpecs_.ForEach(
        [&](const WcMcTolSpec& t) { values.push_back(t.GetValue(WcMcTolSpec::Current)); });
    return values;
}

void WcMcAnalysis::ApplyValues(const ParameterSet& values) {
    RemovalLock lock(tolSpecs_);
    size_t i = 0;
    tolSpecs_.ForEach([&](WcMcTolSpec& t) {
        if (i < values.size())
            t.SetValue(values[i], WcMcTolSpec::Current);
        ++i;
    });
}

void WcMcAnalysis::PrepareTolerances() {
    RemovalLock lock(tolSpecs_);
    // Nominal values are fixed before any run changes the circuit.
    tolSpecs_.ForEach([](WcMcTolSpec& t) {
        t.TakeNominalFromCircuit();
        t.GetWcMcRunData().Reset();
    });
}

CString WcMcAnalysis::RunCommand() const {
    switch (analysisType_) {
    case WcMcDcOp:
        return "op;";
    case WcMcAc:
        return ac_.toNutmegCommand();
    default:
        return tran_.toNutmegCommand();
    }
}

WcMcMeasurement WcMcAnalysis::Measurement(const WcMcCurve* nominal) const {
    WcMcMeasurement m;
    m.function = function_;
    m.threshold = functionThreshold_;
    m.useRange = useRange_;
    m.rangeXLow = rangeXLow_;
    m.rangeXHigh = rangeXHigh_;
    m.nominal = nominal;
    return m;
}

std::vector<WcMcAnalysis::ParameterSet> WcMcAnalysis::DrawMcParameterSets() {
    const int n = numRuns_ < 0 ? 0 : numRuns_;
    std::vector<ParameterSet> sets;
    sets.reserve(static_cast<size_t>(n) + 1);
    SetRunParameters(0);
    sets.push_back(CurrentValues());
    for (int run = 1; run <= n; ++run) {
        SetRunParameters(1);
        sets.push_back(CurrentValues());
    }
    return sets;
}

WcMcRunResult WcMcAnalysis::ExecuteRun(const ParameterSet& values, const CString& label,
                                       const WcMcCurve* nominal) {
    WcMcRunResult result;
    result.data.runLabel = label;
    result.curve.name = label;
    ApplyValues(values);
    result.data.description = GetParametersString();
    CASimulationEngine* engine = GetEngine();
    if (!engine)
        return result;
    SetOnSimulator();
    engine->SetStatusBarAnalysisText(label);
    engine->SetStatusBarAnalysisUnits(GetXAxisUnitString());

    live_.mode = Live::Measure;
    live_.result = &result;
    live_.nominal = nominal;
    live_.output = WcMcOutput(outputVariable_);
    live_.plotHasOutput = false;
    result.commandResult = engine->RunSimulatorCommand(RunCommand());
    live_.mode = Live::Idle;
    live_.result = nullptr;
    live_.nominal = nullptr;
    return result;
}

bool WcMcAnalysis::IsWorseRun(const WcMcRunData& candidate, const WcMcRunData* worst) const {
    if (!candidate.valid)
        return false;
    if (!worst || !worst->valid)
        return true;
    return GetFilterSign() * (candidate.y - worst->y) > 0.0;
}

int WcMcAnalysis::ProcessRunDataPoint(WcMcRunData* data, int index, double x, double* real,
                                      CComplex* complex) {
    return Measurement(live_.nominal).ProcessRunDataPoint(data, index, x, real, complex);
}

int WcMcAnalysis::OUTpBeginPlot(const CSpiceArgs& args) {
    live_.plot = *args.GetPlotInfo();
    if (live_.mode == Live::Measure) {
        live_.plotHasOutput = live_.output.Bind(live_.plot);
    } else if (live_.mode == Live::Sensitivity) {
        live_.sensVectors.clear();
        tolSpecs_.ForEach([&](const WcMcTolSpec& t) {
            live_.sensVectors.push_back(live_.plot.FindVector(t.GetSensitivityVectorName()));
        });
        live_.sensDistance.assign(live_.sensVectors.size(), 0.0);
    }
    return 1;
}

int WcMcAnalysis::OUTpData(const CSpiceArgs& args) {
    const CSpiceDataRow& row = *args.GetDataRow();
    const double x = row.GetScaleValue(live_.plot);
    if (CASimulationEngine* engine = GetEngine()) {
        engine->SetStatusBarAnalysisTime(x);
        engine->UpdateStatusBarAnalysisData(0);
    }

    if (live_.mode == Live::Measure && live_.plotHasOutput && live_.result) {
        CComplex value;
        bool isComplex = false;
        if (!live_.output.Value(row, value, isComplex))
            return 1;
        WcMcRunResult& result = *live_.result;
        if (isComplex) {
            ProcessRunDataPoint(&result.data, 0, x, nullptr, &value);
            result.curve.AddPoint(x, value);
        } else {
            double re = value.real();
            ProcessRunDataPoint(&result.data, 0, x, &re, nullptr);
            result.curve.AddPoint(x, re);
        }
    } else if (live_.mode == Live::Sensitivity) {
        // An AC sensitivity has a value per frequency: the one nearest the
        // nominal run's measurement counts, the first of equals.
        size_t i = 0;
        tolSpecs_.ForEach([&](WcMcTolSpec& t) {
            const int k = i < live_.sensVectors.size() ? live_.sensVectors[i] : -1;
            if (k >= 0 && static_cast<size_t>(k) < row.real.size()) {
                const auto index = static_cast<size_t>(k);
                const bool isComplex =
                    index < live_.plot.vectorIsComplex.size() && live_.plot.vectorIsComplex[index];
                const double distance = std::fabs(x - live_.sensAtX);
                WcMcRunData& data = t.GetWcMcRunData();
                if (!data.valid || distance < live_.sensDistance[i]) {
                    double re = row.real[index];
                    CComplex c(re, index < row.imag.size() ? row.imag[index] : 0.0);
                    double y = 0.0;
                    double phase = 0.0;
                    WcMcPointValue(0, isComplex ? nullptr : &re, isComplex ? &c : nullptr, y,
                                   phase);
                    data.x = x;
                    data.y = y;
                    data.phase = phase;
                    data.valid = 1;
                    live_.sensDistance[i] = distance;
                }
            }
            ++i;
        });
    }
    return 1;
}

int WcMcAnalysis::OUTendPlot(const CSpiceArgs& /*args*/) {
    live_.plotHasOutput = false;
    return 1;
}
