// Trace width analysis: settings, the transient run, per-pin maxima and the result log.
#include "analyses/compound/trace_width.h"

#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"
#include "platform/resources.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace {

constexpr const char* kTranFileName = "tw_data_tran";
constexpr const char* kDataFileName = "tw_data";

bool IsDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

char Folded(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

/// Orders names as people count: digit runs by their value ("r2" before
/// "r10"), letters without regard to case; names equal that way fall back to
/// byte order, so the order is total and never depends on the input order.
int NaturalCompare(std::string_view a, std::string_view b) {
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (IsDigit(a[i]) && IsDigit(b[j])) {
            size_t ie = i;
            size_t je = j;
            while (ie < a.size() && IsDigit(a[ie]))
                ++ie;
            while (je < b.size() && IsDigit(b[je]))
                ++je;
            // Leading zeros do not change the value; one digit stays for a run of zeros.
            while (i + 1 < ie && a[i] == '0')
                ++i;
            while (j + 1 < je && b[j] == '0')
                ++j;
            if (ie - i != je - j)
                return ie - i < je - j ? -1 : 1;
            if (const int c = a.substr(i, ie - i).compare(b.substr(j, je - j)); c != 0)
                return c < 0 ? -1 : 1;
            i = ie;
            j = je;
            continue;
        }
        if (Folded(a[i]) != Folded(b[j]))
            return Folded(a[i]) < Folded(b[j]) ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size() || j < b.size())
        return i < a.size() ? 1 : -1;
    return a == b ? 0 : (a < b ? -1 : 1);
}

bool ComponentThenPin(const TraceWidthData& x, const TraceWidthData& y) {
    if (const int c = NaturalCompare(x.GetComponent().view(), y.GetComponent().view()); c != 0)
        return c < 0;
    return NaturalCompare(x.GetPin().view(), y.GetPin().view()) < 0;
}

/// The shortest text that reads back to the same double, for tables that
/// other programs read.
CString ShortestText(double value) {
    char buf[32];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
    return ec == std::errc() ? CString(buf, static_cast<int>(end - buf)) : CString();
}

/// `name` inside `folder`; "" when there is no folder.
std::string PathIn(const CString& folder, const char* name) {
    if (folder.IsEmpty())
        return {};
    return (std::filesystem::path(folder.str()) / name).string();
}

} // namespace

void TraceWidthAnalysis::RunFile::Open(const std::string& path) {
    out_.reset();
    if (path.empty())
        return;
    auto file = std::make_unique<std::ofstream>(path, std::ios::out | std::ios::trunc);
    if (*file)
        out_ = std::move(file);
}

TraceWidthAnalysis::TraceWidthAnalysis(const Analyses* main)
    : TranAnalysis(main), CPlotEventSink("TraceWidthAnalysis", "Trace Width Event Sink", main) {
    // The transient base reset itself while it was being built; now the whole object.
    reset();
}

void TraceWidthAnalysis::reset() {
    TranAnalysis::reset();
    setNodesUsingResults_ = 0;
    traceWeight_ = 1.0;
    maxTempAboveAmbient_ = 10.0;
}

CString TraceWidthAnalysis::toNutmegCommand() const {
    return "save all; iplot all; orvo " + GetAnalysisNickname() + " " + toPropertyList().GetList();
}

std::span<const PropertyKeys::Key<TraceWidthAnalysis>> TraceWidthAnalysis::Keys() {
    using PropertyKeys::Field;
    using Self = TraceWidthAnalysis;
    static constexpr PropertyKeys::Key<Self> keys[] = {
        {"Tran",
         [](const Self& a, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, a.TranAnalysis::toPropertyList()));
         },
         [](Self& a, const CPropertyItem& item) {
             if (item.GetTypeOfValue() == CPropertyItem::List)
                 a.TranAnalysis::fromPropertyList(item.GetPropertyList());
             return true;
         }},
        Field<&Self::maxTempAboveAmbient_>("MaxTempAboveAmbient"),
        Field<&Self::setNodesUsingResults_>("SetNodesUsingResults"),
        Field<&Self::traceWeight_>("TraceWeight"),
    };
    return keys;
}

CPropertyList TraceWidthAnalysis::toPropertyList() const {
    return PropertyKeys::Write(*this, Keys());
}

int TraceWidthAnalysis::fromPropertyList(const CPropertyList& list) {
    return PropertyKeys::Read(*this, list, Keys());
}

void TraceWidthAnalysis::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    TranAnalysis::toReadableText(log, parent);
    InsertLine(log, parent, IDS_TW_MAX_TEMP, FormatNumber(maxTempAboveAmbient_));
    InsertLine(log, parent, IDS_TW_WEIGHT, FormatNumber(traceWeight_));
    InsertLine(log, parent, IDS_TW_SET_NODES,
               GetResourceString(setNodesUsingResults_ ? IDS_TW_YES : IDS_TW_NO));
}

const TraceWidthAnalysis* TraceWidthAnalysis::GetMainAnalysis() const {
    return MainSettings<Analyses::TraceWidth>(GetMainAnalyses(),
                                              Analyses::AnalysisType::TraceWidth);
}

int TraceWidthAnalysis::LoadFromMainAnalysis() {
    return LoadSettingsFromMain(*this);
}

CASimulationEngine* TraceWidthAnalysis::Engine() const {
    const Analyses* main = GetMainAnalyses();
    return main ? main->GetAsimEng() : nullptr;
}

int TraceWidthAnalysis::ExecuteAnalysis() {
    CASimulationEngine* engine = Engine();
    if (!engine)
        return 0;
    SetStopRequested(false);
    dataList_.RemoveAll();
    vectorIndex_.clear();
    const int ran = engine->SilentExecuteSimulatorCommand(TranAnalysis::toNutmegCommand());
    tranFile_.Close(); // a run the simulator cut short never ended its plot
    vectorIndex_.clear();

    CGrapherPage& page = engine->OpenGrapherPage();
    page.SetTitle(GetResourceString(IDS_NAME_TRACEWIDTH));
    ChartLog& log = page.AddChartLog(GetResourceString(IDS_TW_RESULTS));

    // The raw records in plot order, for comparing with the simulator's own vectors.
    RunFile dataFile;
    dataFile.Open(PathIn(engine->GetOutputFolder(), kDataFileName));
    std::vector<TraceWidthData> records;
    dataList_.ForEach([&](const TraceWidthData& d) {
        records.push_back(d);
        if (std::ofstream* out = dataFile.Get())
            *out << d.GetVectorName() << ' ' << FormatNumber(d.GetMaxCurrent()) << ' '
                 << d.GetComponent() << ' ' << d.GetPin() << '\n';
    });
    dataFile.Close();

    std::stable_sort(records.begin(), records.end(), ComponentThenPin);
    dataList_.RemoveAll();
    int nameWidth = 0;
    for (const TraceWidthData& d : records) {
        dataList_.Add(d);
        nameWidth = std::max(nameWidth, d.GetComponent().GetLength());
    }

    CGrapherChart& table = page.AddChart(GetResourceString(IDS_TW_TABLE));
    table.columns = {GetResourceString(IDS_TW_COLUMN_COMPONENT),
                     GetResourceString(IDS_TW_COLUMN_PIN), GetResourceString(IDS_TW_COLUMN_CURRENT),
                     GetResourceString(IDS_TW_COLUMN_WIDTH)};
    for (const TraceWidthData& d : records) {
        log.AddLine(d.toLogLine(maxTempAboveAmbient_, traceWeight_, nameWidth));
        const double width = TraceWidthMils(d.GetMaxCurrent(), maxTempAboveAmbient_, traceWeight_);
        table.rows.push_back(
            {d.GetComponent(), d.GetPin(), ShortestText(d.GetMaxCurrent()), ShortestText(width)});
    }
    if (setNodesUsingResults_)
        SetNodes(*engine);
    engine->ReleaseGrapherPage();
    return ran && !IsStopRequested() ? 1 : 0;
}

void TraceWidthAnalysis::SetNodes(CASimulationEngine& engine) const {
    CInstrumentInterface* snapIn = engine.GetSimulatorSnapIn();
    if (!snapIn)
        return;
    dataList_.ForEach([&](const TraceWidthData& d) {
        const CStringArray names{d.GetComponent(), d.GetPin()};
        const CPropertyItem width(
            "TraceWidth", TraceWidthMils(d.GetMaxCurrent(), maxTempAboveAmbient_, traceWeight_));
        snapIn->SetProperty(SNAPIN_TRACE_WIDTH, IITVariant(names), IITVariant(width), nullptr);
    });
}

int TraceWidthAnalysis::OUTpBeginPlot(const CSpiceArgs& args) {
    const CSpicePlotInfo& plot = *args.GetPlotInfo();
    if (CASimulationEngine* engine = Engine()) {
        engine->OpenGrapherPage().SetTitle(GetResourceString(IDS_NAME_TRACEWIDTH));
        tranFile_.Open(PathIn(engine->GetOutputFolder(), kTranFileName));
    }
    dataList_.RemoveAll();
    vectorIndex_.clear();
    scaleIndex_ = plot.scaleIndex;
    for (size_t i = 0; i < plot.vectorNames.size(); ++i) {
        TraceWidthData record;
        if (!record.FromVectorName(plot.vectorNames[i]))
            continue;
        dataList_.Add(record);
        vectorIndex_.push_back(static_cast<int>(i));
    }
    return 1;
}

int TraceWidthAnalysis::OUTpData(const CSpiceArgs& args) {
    const CSpiceDataRow& row = *args.GetDataRow();
    const auto valueAt = [&](int index, double& value) {
        if (index < 0 || static_cast<size_t>(index) >= row.real.size())
            return false;
        value = row.real[static_cast<size_t>(index)];
        return true;
    };
    double time = 0.0;
    valueAt(scaleIndex_, time);
    size_t i = 0;
    dataList_.ForEach([&](TraceWidthData& d) {
        double current = 0.0;
        if (i < vectorIndex_.size() && valueAt(vectorIndex_[i], current))
            d.AddPoint(time, current);
        ++i;
    });
    WriteMaxima();
    if (CASimulationEngine* engine = Engine()) {
        engine->SetStatusBarAnalysisTime(time);
        engine->UpdateStatusBarAnalysisData(0);
    }
    return 1;
}

int TraceWidthAnalysis::OUTendPlot(const CSpiceArgs& /*args*/) {
    if (std::ofstream* out = tranFile_.Get())
        *out << GetResourceText(IDS_TW_LAST_VALUES) << '\n';
    WriteMaxima();
    tranFile_.Close();
    return 1;
}

void TraceWidthAnalysis::WriteMaxima() {
    std::ofstream* out = tranFile_.Get();
    if (!out)
        return;
    dataList_.ForEach([&](const TraceWidthData& d) {
        *out << d.GetVectorName() << "  " << FormatNumber(d.GetMaxCurrent()) << '\n';
    });
}

int ExecuteTraceWidthCommand(CASimulationEngine& engine, Analyses* analyses,
                             const CPropertyList& record) {
    Analyses::TraceWidth analysis(analyses);
    TraceWidthAnalysis& run = analysis.GetTraceWidthAnalysis();
    const AnalysisSinkScope sink(engine, &run);
    run.fromPropertyList(record);
    return run.ExecuteAnalysis();
}
