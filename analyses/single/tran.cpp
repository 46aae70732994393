// Transient analysis: step rules, command text, persistence and readable summary.
#include "analyses/single/tran.h"

#include "platform/resources.h"

#include <cmath>

namespace {

constexpr int kHAxis = Analyses::AnalysisNodes::HAxis;
constexpr double kMaxPoints = 2000000000.0;
constexpr double kDefaultStep = 1e-5;

CString Number(double v) {
    return CString::Formatted("%lg", v);
}

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

const char* IcWord(TranAnalysis::IC ic) {
    switch (ic) {
    case TranAnalysis::DcOp:
        return "dcop";
    case TranAnalysis::ZeroIc:
        return "zero_ic";
    case TranAnalysis::Uic:
        return "uic";
    case TranAnalysis::AutoIc:
        return "auto_ic";
    }
    return "";
}

unsigned IcText(TranAnalysis::IC ic) {
    switch (ic) {
    case TranAnalysis::DcOp:
        return IDS_TRAN_IC_DCOP;
    case TranAnalysis::ZeroIc:
        return IDS_TRAN_IC_ZERO;
    case TranAnalysis::Uic:
        return IDS_TRAN_IC_USER;
    case TranAnalysis::AutoIc:
        break;
    }
    return IDS_TRAN_IC_AUTO;
}

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
        cmd += "-param hrange " + Number(range.GetMin()) + " " + Number(range.GetMax()) + "; ";
    if (instrument_)
        cmd += "save ; ";
    cmd += "tran ";
    cmd += " -env-options ";
    const double x = CommandStep();
    cmd += Number(calcTstep_ ? x : tstep_) + " ";
    cmd += Number(tstop_) + " ";
    cmd += Number(tstart_) + " ";
    if (tmaxMode_ == Explicit || tmaxMode_ == Points)
        cmd += Number(tmax_) + " ";
    else if (tmaxMode_ == Calculate)
        cmd += Number(x) + " ";
    if (ic_ != DcOp)
        cmd += CString(IcWord(ic_)) + " ";
    if (calcTstep_ && tmaxMode_ == Calculate)
        cmd += "auto_tstep ";
    if (tmaxMode_ == Calculate)
        cmd += "auto_tmax ";
    return cmd;
}

CPropertyList TranAnalysis::toPropertyList() const {
    CPropertyList list;
    if (calcTstep_)
        list.AddItem(CPropertyItem("TSTEP", "calculate"));
    else
        list.AddItem(CPropertyItem("TSTEP", tstep_));
    list.AddItem(CPropertyItem("TSTOP", tstop_));
    list.AddItem(CPropertyItem("TSTART", tstart_));
    switch (tmaxMode_) {
    case NotUsed:
        list.AddItem(CPropertyItem("TMAX", "not_used"));
        break;
    case Explicit:
        list.AddItem(CPropertyItem("TMAX", tmax_));
        break;
    case Points:
        list.AddItem(CPropertyItem("TPOINTS", static_cast<long>(tpoints_)));
        break;
    case Calculate:
        list.AddItem(CPropertyItem("TMAX", "calculate"));
        break;
    }
    list.AddItem(CPropertyItem("USE_AUTO_TIME_STEP", static_cast<long>(useAutoTmax_)));
    list.AddItem(CPropertyItem("IC", IcWord(ic_)));
    return list;
}

int TranAnalysis::fromPropertyList(const CPropertyList& list) {
    for (const CPropertyItem& item : list) {
        const CString& label = item.GetLabel();
        const CPropertyItem::Type type = item.GetTypeOfValue();
        if (label == "TSTEP") {
            if (type == CPropertyItem::Double) {
                tstep_ = item.GetDouble();
                calcTstep_ = 0;
            } else if (type == CPropertyItem::String && item.GetString() == "calculate") {
                calcTstep_ = 1;
            }
        } else if (label == "TSTOP") {
            // An outside harness may impose the stop time of a run; this product
            // has none, so the stored stop time always stands.
            if (type == CPropertyItem::Double)
                SetTstop(item.GetDouble());
        } else if (label == "TSTART") {
            if (type == CPropertyItem::Double)
                SetTstart(item.GetDouble());
        } else if (label == "TMAX") {
            if (type == CPropertyItem::Double) {
                tmax_ = item.GetDouble();
                tmaxMode_ = Explicit;
            } else if (type == CPropertyItem::String) {
                const CString word = item.GetString();
                if (word == "calculate")
                    tmaxMode_ = Calculate;
                else if (word == "not_used")
                    tmaxMode_ = NotUsed;
                // Without a stored value the maximum step starts at the plotting increment.
                tmax_ = tstep_;
            }
        } else if (label == "TPOINTS") {
            if (type == CPropertyItem::Int) {
                tpoints_ = static_cast<int32_t>(item.GetInt());
                tmaxMode_ = Points;
            }
        } else if (label == "USE_AUTO_TIME_STEP") {
            if (type == CPropertyItem::Int) {
                useAutoTmax_ = static_cast<int>(item.GetInt());
                if (useAutoTmax_ == 1 && calcTstep_ == 1)
                    tstep_ = tmax_;
            }
        } else if (label == "IC") {
            if (type == CPropertyItem::String) {
                const CString word = item.GetString();
                if (word == "dcop")
                    ic_ = DcOp;
                else if (word == "zero_ic")
                    ic_ = ZeroIc;
                else if (word == "uic")
                    ic_ = Uic;
                else if (word == "auto_ic")
                    ic_ = AutoIc;
            }
        }
    }
    return 1;
}

void TranAnalysis::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    auto line = [&](unsigned label, const CString& value) {
        log.InsertItem(CTreeLog::Normal, GetResourceString(label) + value, parent);
    };
    const CString automatic = GetResourceString(IDS_TRAN_AUTO_CALCULATED) + " (" +
                              GetResourceText(IDS_TRAN_LESS_THAN) + Number(Span()) + ")";

    line(IDS_TRAN_INITIAL_CONDITIONS, GetResourceString(IcText(ic_)));
    line(IDS_TRAN_TSTART, Number(tstart_));
    line(IDS_TRAN_TSTOP, Number(tstop_));

    CString step;
    if (!calcTstep_)
        step = Number(tstep_);
    else if (tmaxMode_ == Calculate)
        step = automatic;
    else if (tmaxMode_ == NotUsed)
        step = Number(Span() * 0.02);
    else
        step = Number(tmax_);
    line(IDS_TRAN_TSTEP, step);

    switch (tmaxMode_) {
    case NotUsed:
        line(IDS_TRAN_TMAX_DEFAULT, "");
        break;
    case Explicit:
        line(IDS_TRAN_TMAX, Number(tmax_));
        break;
    case Points:
        // The step, not the count, follows this label; existing reports show it so.
        line(IDS_TRAN_TIMEPOINTS, Number(tmax_));
        break;
    case Calculate:
        line(IDS_TRAN_TMAX, automatic);
        break;
    }
    if (useAutoTmax_)
        line(IDS_TRAN_AUTO_TMAX, "");
}

const TranAnalysis* TranAnalysis::GetMainAnalysis() const {
    if (!main_)
        return nullptr;
    const auto* tran = dynamic_cast<const Analyses::Tran*>(main_->GetAnalysis(GetType()));
    return tran ? &tran->GetTranAnalysis() : nullptr;
}

int TranAnalysis::LoadFromMainAnalysis() {
    const TranAnalysis* main = GetMainAnalysis();
    if (!main)
        return 0;
    fromPropertyList(main->toPropertyList());
    return 1;
}

Analyses::Tran::Tran() : Analysis(), tran_(nullptr) {
}

Analyses::Tran::Tran(const Analyses* main) : Analysis(main), tran_(main) {
    Tran::reset();
}

void Analyses::Tran::reset() {
    Analysis::reset();
    tran_.reset();
}

void Analyses::Tran::reset_for_instrument(int keep) {
    if (!keep)
        Analysis::reset();
    tran_.reset_for_instrument(keep);
}

long Analyses::Tran::checkError() {
    long errors = static_cast<long>(GetAcceptErrors());
    if (tran_.GetTmax() < tran_.GetTstep())
        errors |= 2;
    return errors;
}
