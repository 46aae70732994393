// Transient analysis: step rules, command text, persistence and readable summary.
#include "analyses/single/tran.h"

#include "analyses/core/analysis_text.h"
#include "platform/resources.h"

#include <cmath>

namespace {

constexpr int kHAxis = Analyses::AnalysisNodes::HAxis;
constexpr double kMaxPoints = 2000000000.0;
constexpr double kDefaultStep = 1e-5;

/// Truncates toward zero, held inside the stored 32-bit range so that an
/// open-ended instrument run (tstop 1e30) cannot overflow the count.
int32_t TruncatedCount(double r) {
    if (std::isnan(r))
        return 0;
    if (r >= kMaxPoints)
        return static_cast<int32_t>(kMaxPoints);
    if (r <= -kMaxPoints)
        return -static_cast<int32_t>(kMaxPoints);
    return static_cast<int32_t>(r);
}

struct IcRow {
    TranAnalysis::IC value;
    const char* word; ///< stored word, and the command word except for dcop
    unsigned text;
};
constexpr IcRow kIcs[] = {
    {TranAnalysis::DcOp, "dcop", IDS_TRAN_IC_DCOP},
    {TranAnalysis::ZeroIc, "zero_ic", IDS_TRAN_IC_ZERO},
    {TranAnalysis::Uic, "uic", IDS_TRAN_IC_USER},
    {TranAnalysis::AutoIc, "auto_ic", IDS_TRAN_IC_AUTO},
};

// The modes stored as words; the others store a number.
struct TMaxRow {
    TranAnalysis::TMaxMode value;
    const char* word;
};
constexpr TMaxRow kTMaxWords[] = {
    {TranAnalysis::NotUsed, "not_used"},
    {TranAnalysis::Calculate, "calculate"},
};

constexpr const char* kCalculate = "calculate";

} // namespace

TranAnalysis::TranAnalysis(const Analyses* main) : main_(main) {
    axes_.Reset();
    instrument_ = 0;
    reset();
}

void TranAnalysis::reset() {
    axes_.Reset();
    calcTstep_ = 1;
    SetTstart(0.0);
    SetTstop(instrument_ ? 1e30 : 0.001);
    tmax_ = tstep_ = kDefaultStep;
    tmaxMode_ = Calculate;
    fixedStep_ = -1.0;
    useAutoTmax_ = 0;
    ic_ = AutoIc;
    // The reciprocal of the default step as a literal: the product truncates
    // to 99 rather than 100 for the default span, and stored circuits expect that.
    tpoints_ = TruncatedCount(Span() * 99999.99999999999);
}

void TranAnalysis::reset_for_instrument(int keep) {
    instrument_ = 1;
    useAutoTmax_ = 0;
    if (keep) {
        // Keep what the user set, except a maximum step no instrument can sample with.
        if (tmax_ > 100)
            tmax_ = tstep_ = 0.001;
    } else {
        axes_.Reset();
        calcTstep_ = 1;
        SetTstart(0.0);
        SetTstop(1e30);
        tmaxMode_ = Calculate;
        ic_ = AutoIc;
        tmax_ = tstep_ = kDefaultStep;
        fixedStep_ = -1.0;
    }
    tpoints_ = TruncatedCount(Span() / tmax_);
}

void TranAnalysis::SetTstart(double t) {
    tstart_ = t;
    axes_.GetRange(kHAxis).SetMin(t);
}

void TranAnalysis::SetTstop(double t) {
    tstop_ = t;
    axes_.GetRange(kHAxis).SetMax(t);
}

long TranAnalysis::PointsForStep(double step) const {
    if (step < 1e-100)
        return 2;
    if (step >= 1e100)
        return static_cast<long>(kMaxPoints);
    const double r = Span() / step;
    if (r < 2)
        return 2;
    if (r >= kMaxPoints)
        return static_cast<long>(kMaxPoints);
    return static_cast<long>(r);
}

double TranAnalysis::StepForPoints(double n) const {
    if (n < 1e-100)
        return Span() * 1e-100;
    if (n >= 1e100)
        return 1e100;
    return Span() / n;
}

void TranAnalysis::SetTstep(double v, int alsoTmax, int recount) {
    tstep_ = v;
    if (alsoTmax)
        tmax_ = v;
    if (recount)
        tpoints_ = static_cast<int32_t>(PointsForStep(tmax_));
}

void TranAnalysis::SetTmax(double v, int alsoTstep, int recount) {
    tmax_ = v;
    if (alsoTstep)
        tstep_ = v;
    if (recount)
        tpoints_ = static_cast<int32_t>(PointsForStep(v));
}

void TranAnalysis::SetTpoints(long n, int recomputeTmax, int alsoTstep) {
    tpoints_ = TruncatedCount(static_cast<double>(n < 2 ? 2 : n));
    if (recomputeTmax)
        tmax_ = StepForPoints(tpoints_);
    if (alsoTstep)
        tstep_ = tmax_;
}

double TranAnalysis::CommandStep() const {
    if (fixedStep_ > 0)
        return fixedStep_;
    const double span = Span();
    double x = span;
    if (calcTstep_ && tmaxMode_ != Calculate) {
        x = tmaxMode_ == NotUsed ? span * 0.02 : tmax_;
        if (x > 1e20 && tmax_ == kDefaultStep)
            x = tstep_;
    } else if (span > 1e20 && (tmax_ < 1e20 || tmax_ == kDefaultStep)) {
        // An open-ended run cannot use its span as a step.
        x = tstep_;
    }
    return x;
}

CString TranAnalysis::toNutmegCommand() const {
    CString cmd;
    const CMinMax& range = axes_.GetRange(kHAxis);
    if (!range.IsNull())
        cmd += "-param hrange " + FormatNumber(range.GetMin()) + " " +
               FormatNumber(range.GetMax()) + "; ";
    if (instrument_)
        cmd += "save ; ";
    cmd += CommandHead("tran");
    const double x = CommandStep();
    cmd += FormatNumber(calcTstep_ ? x : tstep_) + " ";
    cmd += FormatNumber(tstop_) + " ";
    cmd += FormatNumber(tstart_) + " ";
    if (tmaxMode_ == Explicit || tmaxMode_ == Points)
        cmd += FormatNumber(tmax_) + " ";
    else if (tmaxMode_ == Calculate)
        cmd += FormatNumber(x) + " ";
    if (ic_ != DcOp)
        cmd += CString(WordOf(kIcs, ic_)) + " ";
    if (calcTstep_ && tmaxMode_ == Calculate)
        cmd += "auto_tstep ";
    if (tmaxMode_ == Calculate)
        cmd += "auto_tmax ";
    return cmd;
}

std::span<const PropertyKeys::Key<TranAnalysis>> TranAnalysis::Keys() {
    using PropertyKeys::Field;
    using Key = PropertyKeys::Key<TranAnalysis>;
    static constexpr Key keys[] = {
        {"TSTEP",
         [](const TranAnalysis& t, const char* label, CPropertyList& list) {
             list.AddItem(t.calcTstep_ ? CPropertyItem(label, kCalculate)
                                       : CPropertyItem(label, t.tstep_));
         },
         [](TranAnalysis& t, const CPropertyItem& item) {
             if (item.GetTypeOfValue() == CPropertyItem::Double) {
                 t.tstep_ = item.GetDouble();
                 t.calcTstep_ = 0;
             } else if (item.GetTypeOfValue() == CPropertyItem::String &&
                        item.GetString() == kCalculate) {
                 t.calcTstep_ = 1;
             }
             return true;
         }},
        // The stop time is taken as stored: nothing in this program imposes another one.
        Field<&TranAnalysis::tstop_, &TranAnalysis::SetTstop>("TSTOP"),
        Field<&TranAnalysis::tstart_, &TranAnalysis::SetTstart>("TSTART"),
        // A count of points is stored under its own key instead.
        {"TMAX",
         [](const TranAnalysis& t, const char* label, CPropertyList& list) {
             if (t.tmaxMode_ == Explicit)
                 list.AddItem(CPropertyItem(label, t.tmax_));
             else if (const TMaxRow* row = RowOfValue(kTMaxWords, t.tmaxMode_))
                 list.AddItem(CPropertyItem(label, row->word));
         },
         [](TranAnalysis& t, const CPropertyItem& item) {
             if (item.GetTypeOfValue() == CPropertyItem::Double) {
                 t.tmax_ = item.GetDouble();
                 t.tmaxMode_ = Explicit;
             } else if (item.GetTypeOfValue() == CPropertyItem::String) {
                 if (const TMaxRow* row = RowOfWord(kTMaxWords, item.GetString()))
                     t.tmaxMode_ = row->value;
                 // Without a stored value the maximum step starts at the plotting increment.
                 t.tmax_ = t.tstep_;
             }
             return true;
         }},
        {"TPOINTS",
         [](const TranAnalysis& t, const char* label, CPropertyList& list) {
             if (t.tmaxMode_ == Points)
                 list.AddItem(CPropertyItem(label, static_cast<long>(t.tpoints_)));
         },
         [](TranAnalysis& t, const CPropertyItem& item) {
             if (item.GetTypeOfValue() == CPropertyItem::Int) {
                 t.tpoints_ = static_cast<int32_t>(item.GetInt());
                 t.tmaxMode_ = Points;
             }
             return true;
         }},
        {"USE_AUTO_TIME_STEP",
         [](const TranAnalysis& t, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, static_cast<long>(t.useAutoTmax_)));
         },
         [](TranAnalysis& t, const CPropertyItem& item) {
             if (item.GetTypeOfValue() == CPropertyItem::Int) {
                 t.useAutoTmax_ = static_cast<int>(item.GetInt());
                 if (t.useAutoTmax_ == 1 && t.calcTstep_ == 1)
                     t.tstep_ = t.tmax_;
             }
             return true;
         }},
        {"IC",
         [](const TranAnalysis& t, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, WordOf(kIcs, t.ic_)));
         },
         [](TranAnalysis& t, const CPropertyItem& item) {
             const IcRow* row = item.GetTypeOfValue() == CPropertyItem::String
                                    ? RowOfWord(kIcs, item.GetString())
                                    : nullptr;
             if (row)
                 t.ic_ = row->value;
             return true;
         }},
    };
    return keys;
}

CPropertyList TranAnalysis::toPropertyList() const {
    return PropertyKeys::Write(*this, Keys());
}

int TranAnalysis::fromPropertyList(const CPropertyList& list) {
    // Unknown keys are passed over: the transient reader never fails.
    return PropertyKeys::Read(*this, list, Keys(), PropertyKeys::Unknown::Ignored);
}

void TranAnalysis::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    auto line = [&](unsigned label, const CString& value) {
        InsertLine(log, parent, label, value);
    };
    const CString automatic = GetResourceString(IDS_TRAN_AUTO_CALCULATED) + " (" +
                              GetResourceText(IDS_TRAN_LESS_THAN) + FormatNumber(Span()) + ")";

    const IcRow* ic = RowOfValue(kIcs, ic_);
    line(IDS_TRAN_INITIAL_CONDITIONS, GetResourceString(ic ? ic->text : IDS_TRAN_IC_AUTO));
    line(IDS_TRAN_TSTART, FormatNumber(tstart_));
    line(IDS_TRAN_TSTOP, FormatNumber(tstop_));

    CString step;
    if (!calcTstep_)
        step = FormatNumber(tstep_);
    else if (tmaxMode_ == Calculate)
        step = automatic;
    else if (tmaxMode_ == NotUsed)
        step = FormatNumber(Span() * 0.02);
    else
        step = FormatNumber(tmax_);
    line(IDS_TRAN_TSTEP, step);

    switch (tmaxMode_) {
    case NotUsed:
        line(IDS_TRAN_TMAX_DEFAULT, "");
        break;
    case Explicit:
        line(IDS_TRAN_TMAX, FormatNumber(tmax_));
        break;
    case Points:
        // The step, not the count, follows this label; existing reports show it so.
        line(IDS_TRAN_TIMEPOINTS, FormatNumber(tmax_));
        break;
    case Calculate:
        line(IDS_TRAN_TMAX, automatic);
        break;
    }
    if (useAutoTmax_)
        line(IDS_TRAN_AUTO_TMAX, "");
}

const TranAnalysis* TranAnalysis::GetMainAnalysis() const {
    return MainSettings<Analyses::Tran>(main_, GetType());
}

int TranAnalysis::LoadFromMainAnalysis() {
    return LoadSettingsFromMain(*this);
}

void Analyses::Tran::reset_for_instrument(int keep) {
    if (!keep)
        Analysis::reset();
    GetSettings().reset_for_instrument(keep);
}

long Analyses::Tran::checkError() {
    long errors = static_cast<long>(GetAcceptErrors());
    if (GetTmax() < GetTstep())
        errors |= 2;
    return errors;
}
