// Fourier analysis: derived transient run, fourier statement, persistence and summary.
#include "analyses/single/four.h"

#include "analyses/core/analysis_nodes.h"
#include "analyses/core/analysis_text.h"
#include "platform/resources.h"

#include <cctype>
#include <cmath>

namespace {

struct PlotRow {
    Analyses::Four::Plot value;
    const char* word; ///< flags of the fourier statement
    unsigned text;
};
constexpr PlotRow kPlots[] = {
    {Analyses::Four::Chart, "", IDS_FOUR_PLOT_CHART},
    {Analyses::Four::Graph, "/plot /nochart ", IDS_FOUR_PLOT_GRAPH},
    {Analyses::Four::GraphAndChart, "/plot ", IDS_FOUR_PLOT_GRAPH_AND_CHART},
};

} // namespace

Analyses::Four::Four(const Analyses* main) : AnalysisIdentity(main), tran_(main) {
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
    return GetResourceString(IDS_FOUR_SAMPLING_LIMIT) + FormatNumber(limit);
}

long Analyses::Four::toNutmegCommandMask() const {
    // The fourier statement sets up its own plot and the run's vectors are
    // not written to a raw file, so the plot set-up and the write stay out.
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
    cmd += "set nfreqs = " + FormatCount(static_cast<unsigned>(numFreqs_ + 1)) + "; ";
    cmd +=
        "set polydegree = " + FormatCount(static_cast<unsigned>(useDegPoly_ ? degPoly_ : 1)) + "; ";
    cmd += "set fourgridsize = " + FormatCount(static_cast<unsigned>(GetGridSize())) + "; ";
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
    cmd += WordOf(kPlots, plot_);
    cmd += FormatNumber(fundFreq_) + " " + outputs + "; ";
    // Later runs in the same session must not inherit this run's interpolation.
    cmd += "set nfreqs = 9; ";
    cmd += "set polydegree = 1; ";
    cmd += "set fourgridsize = " + FormatNumber(200.0) + "; ";
    return cmd;
}

std::span<const PropertyKeys::Key<Analyses::Four>> Analyses::Four::Keys() {
    using PropertyKeys::Field;
    static constexpr PropertyKeys::Key<Four> keys[] = {
        Field<&Four::fundFreqSet_>("FundFreqSet"),
        Field<&Four::fundFreq_>("FundFreq"),
        Field<&Four::numFreqs_>("NumFreqs"),
        Field<&Four::useTran_>("UseTran"),
        Field<&Four::tstop_>("TStop"),
        {"Tran",
         [](const Four& f, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, f.tran_.toPropertyList()));
         },
         [](Four& f, const CPropertyItem& item) {
             if (item.GetTypeOfValue() == CPropertyItem::List)
                 f.tran_.fromPropertyList(item.GetPropertyList());
             return true;
         }},
        Field<&Four::usePointsPerPeriod_>("UseNumPointsPerPeriod"),
        Field<&Four::pointsPerPeriod_>("NumPointsPerPeriod"),
        Field<&Four::useDegPoly_>("UseDegPoly"),
        Field<&Four::degPoly_>("DegPoly"),
        Field<&Four::variation_>("Variation"),
        Field<&Four::displayPhase_>("DisplayPhase"),
        Field<&Four::lineGraph_>("LineGraph"),
        Field<&Four::normalized_>("Normalized"),
        Field<&Four::plot_>("Plot"),
    };
    return keys;
}

void Analyses::Four::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    auto line = [&](unsigned label, const CString& value) {
        InsertLine(log, parent, label, value);
    };
    line(IDS_FOUR_FUNDAMENTAL, FormatNumber(fundFreq_));
    line(IDS_FOUR_NUM_FREQS, FormatCount(static_cast<unsigned>(numFreqs_)));
    if (useTran_)
        tran_.toReadableText(log, parent);
    else
        line(IDS_FOUR_TSTOP, FormatNumber(tstop_));
    if (usePointsPerPeriod_)
        line(IDS_FOUR_POINTS_PER_PERIOD, FormatNumber(pointsPerPeriod_));
    if (useDegPoly_)
        line(IDS_FOUR_DEG_POLY, FormatCount(static_cast<unsigned>(degPoly_)));
    const ScaleType scales[4] = {variation_, ST_NONE, ST_NONE, ST_NONE};
    AxisScalesToReadableText(log, parent, scales, CGrapherAxes());
    if (displayPhase_)
        line(IDS_FOUR_DISPLAY_PHASE, "");
    if (lineGraph_)
        line(IDS_FOUR_LINE_GRAPH, "");
    if (normalized_)
        line(IDS_FOUR_NORMALIZED, "");
    if (const PlotRow* plot = RowOfValue(kPlots, plot_))
        line(plot->text, "");
}
