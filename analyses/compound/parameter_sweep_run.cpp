// Parameter and temperature sweeps: the walk over the swept values, the inner runs and their
// plot callbacks.
#include "analyses/compound/parameter_sweep.h"

#include "analyses/compound/psweep.h"
#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"
#include "platform/resources.h"

#include <algorithm>
#include <vector>

namespace {

// Points the engine's event sink at `sink` for a scope and puts the previous one back, so
// that a nested sweep receives the plots of its own runs and its outer sweep those of its.
class SinkSwap {
public:
    SinkSwap(CASimulationEngine& engine, CEventSink* sink)
        : engine_(engine), previous_(engine.GetAnalysisEventSink()) {
        engine_.SetAnalysisEventSink(sink);
    }
    ~SinkSwap() { engine_.SetAnalysisEventSink(previous_); }
    SinkSwap(const SinkSwap&) = delete;
    SinkSwap& operator=(const SinkSwap&) = delete;

private:
    CASimulationEngine& engine_;
    CEventSink* previous_;
};

// The words of an iplot list: the output variables the inner runs are to plot.
std::vector<CString> Words(const CString& text) {
    std::vector<CString> words;
    const std::string& s = text.str();
    size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t'))
            ++i;
        size_t j = i;
        while (j < s.size() && s[j] != ' ' && s[j] != '\t')
            ++j;
        if (j > i)
            words.emplace_back(s.substr(i, j - i));
        i = j;
    }
    return words;
}

// The vectors of `plot` to collect: those the iplot list names, in its order, else every
// vector but the scale.
std::vector<int> WantedVectors(const CSpicePlotInfo& plot, const CString& iplot) {
    std::vector<int> wanted;
    const auto add = [&](int i) {
        if (i >= 0 && i != plot.scaleIndex &&
            std::find(wanted.begin(), wanted.end(), i) == wanted.end())
            wanted.push_back(i);
    };
    const std::vector<CString> names = Words(iplot);
    if (names.empty()) {
        for (size_t i = 0; i < plot.vectorNames.size(); ++i)
            add(static_cast<int>(i));
    } else {
        for (const CString& name : names)
            add(plot.FindVector(name));
    }
    return wanted;
}

} // namespace

CString ParameterSweep::GetTraceName(int n) const {
    return n >= 0 && n < GetNumTraces() ? traceNames_[static_cast<size_t>(n)] : CString();
}

CString ParameterSweep::QuantityName(const CSPICEdevMember& member,
                                     const CSPICEparam& parameter) const {
    if (sweepType_ == TemperatureSweep)
        return GetResourceString(IDS_PSWEEP_TEMPERATURE);
    const CString name = sweepType_ == ModelSweep ? member.GetModelName() : member.GetName();
    return name + "[" + parameter.GetName() + "]";
}

CPropertyItem ParameterSweep::PresentValue(CSPICEdevMember& member,
                                           const CSPICEparam& parameter) const {
    if (!parameter.GetValue().IsEmpty() || sweepType_ == TemperatureSweep || !member.IsResolved())
        return parameter.GetValue();
    // A record without a value: the circuit's own value is the one to put back.
    const std::optional<CSPICEparam> live = member.FindParameter(parameter.GetName());
    return live ? live->GetValue() : parameter.GetValue();
}

void ParameterSweep::SetSelectedParameter(const CSPICEdevMember& member,
                                          const CSPICEparam& parameter, CPropertyItem value) {
    CASimulationEngine* engine = GetEventOwner() ? GetEventOwner()->GetAsimEng() : nullptr;
    if (!engine)
        return;
    if (sweepType_ == TemperatureSweep) {
        const CString text = value.GetValue();
        engine->RunSimulatorCommand(text.IsEmpty() ? CString("set -temp") : "set temp = " + text);
        return;
    }
    CInstrumentInterface* snapIn = engine->GetSimulatorSnapIn();
    if (!snapIn)
        return;
    if (sweepType_ == ModelSweep) {
        const CStringArray names = {member.GetDeviceName(), member.GetModelName(),
                                    parameter.GetName()};
        snapIn->SetProperty(SNAPIN_MODEL_PARAMETER, IITVariant(names), IITVariant(value), nullptr);
    } else {
        const CStringArray names = {member.GetDeviceName(), member.GetModelName(), member.GetName(),
                                    parameter.GetName()};
        snapIn->SetProperty(SNAPIN_INSTANCE_PARAMETER, IITVariant(names), IITVariant(value),
                            nullptr);
    }
}

void ParameterSweep::OpenPage(CASimulationEngine& engine, const CString& quantity) {
    page_ = &engine.OpenGrapherPage();
    page_->SetKeepPageOpen(groupAllTraces_);
    if (level_ == 1) {
        CString title = Analyses::Analysis::s_GetDefaultReadableName(static_cast<int>(GetType()));
        // One page per value: each page says which value it shows.
        if (!groupAllTraces_)
            title += ": " + iterLabel_;
        page_->SetTitle(title);
        page_->SetFontName(GetResourceString(IDS_PSWEEP_FONT));
        runLog_ = &page_->AddChartLog(title);
    }
    switch (analysisType_) {
    case InnerSweep:
        break; // the innermost level knows what the x axis is
    case InnerAc:
        page_->SetXAxis(GetResourceString(IDS_PSWEEP_AXIS_FREQUENCY), GetXAxisUnitString());
        break;
    case InnerTran:
        page_->SetXAxis(GetResourceString(IDS_PSWEEP_AXIS_TIME), GetXAxisUnitString());
        break;
    default:
        // One point per run: the swept value is the x.
        page_->SetXAxis(quantity, sweepType_ == TemperatureSweep
                                      ? GetResourceString(IDS_PSWEEP_UNIT_KELVIN)
                                      : CString());
        break;
    }
}

void ParameterSweep::FinishPage(CASimulationEngine& engine) {
    engine.UpdateStatusBarAnalysisData(1);
    page_->SetKeepPageOpen(0);
    engine.ReleaseGrapherPage();
    page_ = nullptr;
    runLog_ = nullptr;
}

int ParameterSweep::RunInner(CASimulationEngine& engine, long* counter) {
    // Only the plots of the inner run are results; a temperature change is not one.
    const auto run = [&](const CString& command) {
        collecting_ = true;
        const int result = engine.RunSimulatorCommand(command);
        collecting_ = false;
        collected_.clear();
        return result;
    };
    switch (analysisType_) {
    case InnerOp:
        return run("op;");
    case InnerAc:
        return run(ac_.toNutmegCommand());
    case InnerTran:
        return run(tran_.toNutmegCommand());
    case InnerSweep: {
        if (!nested_)
            return 0;
        nested_->runLog_ = runLog_;
        const int result = nested_->ExecuteAnalysis(currentLabel_, counter);
        // The nested level received the stop poll; the whole sweep stops.
        if (nested_->IsStopRequested())
            SetStopRequested(true);
        return result;
    }
    }
    return 0;
}

int ParameterSweep::ExecuteAnalysis(const char* text, long* counter) {
    outerLabel_ = text ? text : "";
    stopFlag_ = 0;
    SetStopRequested(false);
    const Analyses* owner = GetEventOwner();
    if (!owner)
        return 0;
    long localCounter = 0;
    if (!counter)
        counter = &localCounter;
    CASimulationEngine& engine = *owner->GetAsimEng();
    const SinkSwap sink(engine, this);

    const size_t type = Index(sweepType_);
    CSPICEdevMember member = members_[type];
    const CSPICEparam parameter = params_[type];
    const CPropertyItem remembered = PresentValue(member, parameter);
    const CString quantity = QuantityName(member, parameter);
    // Every level opens the page it fills (the engine's open page) when it first needs it;
    // the outermost also forgets what an earlier run left.
    page_ = nullptr;
    if (level_ == 1)
        runLog_ = nullptr;
    traceNames_.clear();
    firstTraceOfIter_ = 0;

    int result = 1;
    // One value of the walk, and what it adds to the page; false ends the walk.
    const auto step = [&](double value) {
        ++*counter;
        currentValue_ = value;
        iterLabel_ =
            sweepType_ == TemperatureSweep
                ? GetResourceString(IDS_PSWEEP_TEMP_LABEL) + FormatNumber(currentValue_)
                : GetResourceString(IDS_PSWEEP_SWEEP_LABEL) + CString::Formatted("%ld", *counter);
        SetSelectedParameter(member, parameter, CPropertyItem("value", currentValue_));
        currentLabel_ = quantity + "=" + FormatNumber(currentValue_);
        if (!outerLabel_.IsEmpty())
            currentLabel_ = outerLabel_ + ", " + currentLabel_;

        if (!page_)
            OpenPage(engine, quantity);
        if (runLog_)
            runLog_->AddEntry(iterLabel_ + ": " + currentLabel_, level_);
        firstTraceOfIter_ = GetNumTraces();
        engine.SetStatusBarAnalysisTime(currentValue_);
        engine.UpdateStatusBarAnalysisData(0);

        const int ran = RunInner(engine, counter);
        bool goOn = true;
        if (IsStopRequested()) {
            result = 0;
            if (level_ == 1 && runLog_)
                runLog_->AddEntry(GetResourceString(IDS_PSWEEP_LOG_STOPPED), level_);
        } else if (!ran) {
            result = 0;
            if (level_ == 1 && runLog_)
                runLog_->AddEntry(GetResourceString(IDS_PSWEEP_LOG_FAILED), level_);
            goOn = false;
        }
        if (level_ == 1 && !groupAllTraces_ && page_)
            FinishPage(engine);
        return goOn && !stopFlag_ && !IsStopRequested();
    };

    // Each value of this level, with everything nested under it, may be made in another
    // process: a copy of this sweep sets the value there and runs the inner analysis; the
    // walk itself, with its labels, counters and pages, is made here, in order.
    std::vector<double> values;
    for (SweepVariationIterator it(variations_[type]); it; ++it)
        values.push_back(*it);
    const bool finished = engine.MapRuns(
        values.size(),
        [&](size_t i) {
            ParameterSweep copy(*this);
            const SinkSwap copySink(engine, &copy);
            long unused = 0;
            copy.SetSelectedParameter(member, parameter, CPropertyItem("value", values[i]));
            (void)copy.RunInner(engine, &unused);
        },
        [&](size_t i) { return step(values[i]); });
    if (!finished) {
        SetStopRequested(true);
        result = 0;
        if (level_ == 1 && runLog_)
            runLog_->AddEntry(GetResourceString(IDS_PSWEEP_LOG_STOPPED), level_);
    }

    SetSelectedParameter(member, parameter, remembered);
    if (level_ == 1 && page_)
        FinishPage(engine);
    page_ = nullptr;
    collected_.clear();
    stopFlag_ = 1;
    return result;
}

int ParameterSweep::OUTpBeginPlot(const CSpiceArgs& args) {
    collected_.clear();
    const CSpicePlotInfo* plot = args.GetPlotInfo();
    if (!plot || !collecting_ || !page_ || !GetEventOwner())
        return 1;
    plot_ = *plot;
    realPlot_ = 1;
    const CString iplot = GetEventOwner()->GetAsimEng()->GetIPlot();
    // An operating point gives one value per run: its traces run over the swept values and
    // are named without this level's value.
    const bool overValues = analysisType_ == InnerOp;
    const CString& label = overValues ? outerLabel_ : currentLabel_;
    for (const int vector : WantedVectors(plot_, iplot)) {
        CString name = plot_.vectorNames[static_cast<size_t>(vector)];
        if (!label.IsEmpty())
            name += ", " + label;
        CGrapherTrace* trace = overValues ? page_->FindTrace(name) : nullptr;
        if (!trace) {
            trace = &page_->AddTrace(name);
            traceNames_.push_back(name);
        }
        collected_.push_back(Collected{vector, trace});
        if (static_cast<size_t>(vector) < plot_.vectorIsComplex.size() &&
            plot_.vectorIsComplex[static_cast<size_t>(vector)])
            realPlot_ = 0;
    }
    return 1;
}

int ParameterSweep::OUTpData(const CSpiceArgs& args) {
    const CSpiceDataRow* row = args.GetDataRow();
    if (!row)
        return 1;
    const double x = analysisType_ == InnerOp ? currentValue_ : row->GetScaleValue(plot_);
    for (const Collected& c : collected_) {
        const auto i = static_cast<size_t>(c.vector);
        if (i >= row->real.size())
            continue;
        const bool complex = i < plot_.vectorIsComplex.size() && plot_.vectorIsComplex[i];
        if (complex)
            c.trace->AddPoint(x, CComplex(row->real[i], i < row->imag.size() ? row->imag[i] : 0));
        else
            c.trace->AddPoint(x, row->real[i]);
    }
    if (const Analyses* owner = GetEventOwner()) {
        CASimulationEngine* engine = owner->GetAsimEng();
        engine->SetStatusBarAnalysisTime(currentValue_);
        engine->UpdateStatusBarAnalysisData(0);
    }
    return 1;
}

int ParameterSweep::OUTendPlot(const CSpiceArgs&) {
    collected_.clear();
    return 1;
}
