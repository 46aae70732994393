// Fourier analysis: derived transient run, fourier statement, persistence and summary.
#include "analyses/single/four.h"

#include "analyses/core/analysis_nodes.h"
#include "analyses/core/property_reader.h"
#include "platform/resources.h"

#include <cctype>
#include <cmath>

namespace {

CString Number(double v) {
    return CString::Formatted("%lg", v);
}

} // namespace

Analyses::Four::Four(const Analyses* main) : Analysis(main), tran_(main) {
    Four::reset();
}

void Analyses::Four::reset() {
    Analysis::reset();
    // The LCM and GCD estimates belong to the circuit's sources, not to the
    // settings, so they survive a reset.
    fmaxSet_ = 0;
    fmax_ = 0.0;
    fundFreqSet_ = 0;
    fundFreq_ = 1000.0;
    numFreqs_ = 9;
    useTran_ = 0;
    tstop_ = 0.0;
    usePointsPerPeriod_ = 0;
    pointsPerPeriod_ = 10.0;
    useDegPoly_ = 0;
    degPoly_ = 1;
    variation_ = ST_LIN;
    displayPhase_ = 0;
    lineGraph_ = 1;
    normalized_ = 0;
    plot_ = GraphAndChart;
    tran_.reset();
}

int Analyses::Four::CanSimulate() const {
    if (!Analysis::CanSimulate())
        return 0;
    if (!fundFreqSet_)
        return 0;
    if (!(tstop_ > 0) && !useTran_)
        return 0;
    return pointsPerPeriod_ >= 2.0 / (numFreqs_ + 1) ? 1 : 0;
}

CString Analyses::Four::ExplainWhyCannotSimulate() {
    CString why = Analysis::ExplainWhyCannotSimulate();
    if (!why.IsEmpty())
        return why;
    if (!fundFreqSet_)
        return GetResourceString(IDS_FOUR_SET_FUNDAMENTAL);
    if (!(tstop_ > 0) && !useTran_)
        return GetResourceString(IDS_FOUR_STOP_POSITIVE);
    const double minimum = 2.0 / (numFreqs_ + 1);
    if (pointsPerPeriod_ >= minimum)
        return "";
    // The settings page shows either points per period or a sampling rate;
    // the limit is given in the unit the user is looking at.
    const double limit = usePointsPerPeriod_ ? minimum : minimum * (numFreqs_ + 1) * fundFreq_;
    return GetResourceString(IDS_FOUR_SAMPLING_LIMIT) + Number(limit);
}

long Analyses::Four::toNutmegCommandMask() const {
    // An outside harness asking for its special file type would keep the plot
    // set-up (-3); this product has no such harness, so it is always left out.
    return -7;
}

double Analyses::Four::GetGridSize() const {
    const double n = numFreqs_ + 1;
    const double interval = 2 / fundFreq_;
    const double rate = pointsPerPeriod_ * n * fundFreq_;
    return std::pow(2.0, std::ceil(std::log2(rate * interval)));
}

TranAnalysis Analyses::Four::GetRunTran() const {
    TranAnalysis run(tran_);
    if (useTran_)
        return run;
    const double n = numFreqs_ + 1;
    const double interval = 2 / fundFreq_;
    const double before = tstop_ - interval;
    const double step = 1 / (pointsPerPeriod_ * n * fundFreq_);
    // Two periods ending at the stop time; a stop time shorter than that runs
    // the two periods from zero.
    run.SetTstart(before >= 0 ? before : 0.0);
    run.SetTstop(before >= 0 ? tstop_ : interval);
    run.SetTstep(step, 0, 0);
    run.SetTmax(step, 0, 0);
    run.SetCalc_tstep(0);
    run.SetTmax_mode(TranAnalysis::Explicit, step);
    return run;
}

CString Analyses::Four::OutputList() const {
    const CString names = GetAnalysisNodes().GetNodesString(256, 0);
    CString list;
    int i = 0;
    const int length = names.GetLength();
    while (i < length) {
        while (i < length && names[i] == ' ')
            ++i;
        if (i >= length)
            break;
        const int start = i;
        while (i < length && names[i] != ' ')
            ++i;
        const CString name = names.Mid(start, i - start);
        // A bare number would be read as a value, not as the node of that name.
        if (std::isdigit(static_cast<unsigned char>(name[0])))
            list += "V(" + name + ")";
        else
            list += name;
        list += " ";
    }
    return list;
}

CString Analyses::Four::toNutmegCommandHelper() const {
    const CString outputs = OutputList();
    CString cmd = "save all; ";
    cmd += GetRunTran().toNutmegCommand() + "; ";
    cmd += CString::Formatted("set nfreqs = %u; ", static_cast<unsigned>(numFreqs_ + 1));
    cmd += CString::Formatted("set polydegree = %u; ",
                              static_cast<unsigned>(useDegPoly_ ? degPoly_ : 1));
    cmd += CString::Formatted("set fourgridsize = %u; ", static_cast<unsigned>(GetGridSize()));
    cmd += "save all; ";
    cmd += "iplot " + outputs + "; ";
    if (variation_ != ST_NONE)
        cmd += CString("-param ") + AnalysisNodes::ScaleWord(AnalysisNodes::VAxis) + " " +
               ScaleTypeText(variation_) + "; ";
    cmd += "-param hrange 0 0 ;";
    cmd += "fourier ";
    if (displayPhase_)
        cmd += "/+phase ";
    // Deliberately crossed: the line-graph switch is what selects the bar flag.
    if (lineGraph_)
        cmd += "/bar ";
    if (normalized_)
        cmd += "/norm ";
    if (plot_ == Graph)
        cmd += "/plot /nochart ";
    else if (plot_ == GraphAndChart)
        cmd += "/plot ";
    cmd += Number(fundFreq_) + " " + outputs + "; ";
    // Later runs in the same session must not inherit this run's interpolation.
    cmd += "set nfreqs = 9; ";
    cmd += "set polydegree = 1; ";
    cmd += CString::Formatted("set fourgridsize = %lg; ", 200.0);
    return cmd;
}

CPropertyList Analyses::Four::toPropertyListHelper() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("FundFreqSet", static_cast<long>(fundFreqSet_)));
    list.AddItem(CPropertyItem("FundFreq", fundFreq_));
    list.AddItem(CPropertyItem("NumFreqs", static_cast<long>(numFreqs_)));
    list.AddItem(CPropertyItem("UseTran", static_cast<long>(useTran_)));
    list.AddItem(CPropertyItem("TStop", tstop_));
    list.AddItem(CPropertyItem("Tran", tran_.toPropertyList()));
    list.AddItem(CPropertyItem("UseNumPointsPerPeriod", static_cast<long>(usePointsPerPeriod_)));
    list.AddItem(CPropertyItem("NumPointsPerPeriod", pointsPerPeriod_));
    list.AddItem(CPropertyItem("UseDegPoly", static_cast<long>(useDegPoly_)));
    list.AddItem(CPropertyItem("DegPoly", static_cast<long>(degPoly_)));
    list.AddItem(CPropertyItem("Variation", static_cast<long>(variation_)));
    list.AddItem(CPropertyItem("DisplayPhase", static_cast<long>(displayPhase_)));
    list.AddItem(CPropertyItem("LineGraph", static_cast<long>(lineGraph_)));
    list.AddItem(CPropertyItem("Normalized", static_cast<long>(normalized_)));
    list.AddItem(CPropertyItem("Plot", static_cast<long>(plot_)));
    return list;
}

int Analyses::Four::fromPropertyListHelper(const CPropertyList& list) {
    static constexpr PropertyReader::IntKey<Four, int32_t> ints[] = {
        {"FundFreqSet", &Four::fundFreqSet_},
        {"NumFreqs", &Four::numFreqs_},
        {"UseTran", &Four::useTran_},
        {"UseNumPointsPerPeriod", &Four::usePointsPerPeriod_},
        {"UseDegPoly", &Four::useDegPoly_},
        {"DegPoly", &Four::degPoly_},
        {"DisplayPhase", &Four::displayPhase_},
        {"LineGraph", &Four::lineGraph_},
        {"Normalized", &Four::normalized_},
    };
    static constexpr PropertyReader::DoubleKey<Four> numbers[] = {
        {"FundFreq", &Four::fundFreq_},
        {"TStop", &Four::tstop_},
        {"NumPointsPerPeriod", &Four::pointsPerPeriod_},
    };

    int result = 1;
    for (const CPropertyItem& item : list) {
        const CString& label = item.GetLabel();
        const CPropertyItem::Type type = item.GetTypeOfValue();
        bool known = PropertyReader::ApplyKnownKey(*this, item, ints, numbers);
        if (label == "Tran") {
            known = true;
            if (type == CPropertyItem::List)
                tran_.fromPropertyList(item.GetPropertyList());
        } else if (label == "Variation") {
            known = true;
            if (type == CPropertyItem::Int)
                variation_ = static_cast<ScaleType>(item.GetInt());
        } else if (label == "Plot") {
            known = true;
            if (type == CPropertyItem::Int)
                plot_ = static_cast<Plot>(item.GetInt());
        }
        if (!known)
            result = 0;
    }
    return result;
}

void Analyses::Four::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    auto line = [&](unsigned label, const CString& value) {
        log.InsertItem(CTreeLog::Normal, GetResourceString(label) + value, parent);
    };
    line(IDS_FOUR_FUNDAMENTAL, Number(fundFreq_));
    line(IDS_FOUR_NUM_FREQS, CString::Formatted("%u", static_cast<unsigned>(numFreqs_)));
    if (useTran_)
        tran_.toReadableText(log, parent);
    else
        line(IDS_FOUR_TSTOP, Number(tstop_));
    if (usePointsPerPeriod_)
        line(IDS_FOUR_POINTS_PER_PERIOD, Number(pointsPerPeriod_));
    if (useDegPoly_)
        line(IDS_FOUR_DEG_POLY, CString::Formatted("%u", static_cast<unsigned>(degPoly_)));
    const ScaleType scales[4] = {variation_, ST_NONE, ST_NONE, ST_NONE};
    AxisScalesToReadableText(log, parent, scales, CGrapherAxes());
    if (displayPhase_)
        line(IDS_FOUR_DISPLAY_PHASE, "");
    if (lineGraph_)
        line(IDS_FOUR_LINE_GRAPH, "");
    if (normalized_)
        line(IDS_FOUR_NORMALIZED, "");
    switch (plot_) {
    case Chart:
        line(IDS_FOUR_PLOT_CHART, "");
        break;
    case Graph:
        line(IDS_FOUR_PLOT_GRAPH, "");
        break;
    case GraphAndChart:
        line(IDS_FOUR_PLOT_GRAPH_AND_CHART, "");
        break;
    }
}
