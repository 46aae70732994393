// AC analysis: sweep arguments, axis options, persistence and readable summary.
#include "analyses/single/ac.h"

#include "platform/resources.h"

namespace {

constexpr int kVAxis = Analyses::AnalysisNodes::VAxis;
constexpr int kHAxis = Analyses::AnalysisNodes::HAxis;

const char* VariationWord(AcAnalysis::Variation v) {
    switch (v) {
    case AcAnalysis::Decade:
        return "dec";
    case AcAnalysis::Octave:
        return "oct";
    case AcAnalysis::Linear:
        return "lin";
    }
    return "";
}

CString Number(double v) {
    return CString::Formatted("%lg", v);
}

} // namespace

AcAnalysis::AcAnalysis(const Analyses* main) : main_(main) {
    reset();
}

void AcAnalysis::reset() {
    variation_ = Decade;
    npointsPerVariation_ = 10.0;
    scale_[kVAxis] = ST_LOG;
    scale_[1] = ST_NONE;
    scale_[2] = ST_NONE;
    scale_[kHAxis] = ST_LOG;
    // The ranges must be null first, so that the frequency axis becomes exactly [fstart, fstop].
    axes_.Reset();
    SetFstart(1.0);
    SetFstop(1e10);
}

void AcAnalysis::SetVariation(Variation v) {
    variation_ = v;
    switch (v) {
    case Octave:
        scale_[kHAxis] = ST_OCT;
        break;
    case Linear:
        scale_[kHAxis] = ST_LIN;
        break;
    default:
        scale_[kHAxis] = ST_LOG;
        break;
    }
}

void AcAnalysis::SetFstart(double f) {
    fstart_ = f;
    axes_.GetRange(kHAxis).SetMin(f);
}

void AcAnalysis::SetFstop(double f) {
    fstop_ = f;
    axes_.GetRange(kHAxis).SetMax(f);
}

CString AcAnalysis::GetACArguments() const {
    CString args;
    switch (variation_) {
    case Decade:
        args += "dec ";
        break;
    case Octave:
        args += "oct ";
        break;
    case Linear:
        args += "lin ";
        break;
    }
    args += Number(npointsPerVariation_) + " ";
    args += Number(fstart_) + " ";
    args += Number(fstop_) + " ";
    return args;
}

CString AcAnalysis::GetAxisCmd() const {
    // Only the vertical and the frequency axis belong to a sweep; the second
    // pair of axes is the plot set-up's business.
    static constexpr int axes[] = {kVAxis, kHAxis};
    CString cmd;
    for (int a : axes)
        if (scale_[a] != ST_NONE)
            cmd += CString("-param ") + Analyses::AnalysisNodes::ScaleWord(a) + " " +
                   ScaleTypeText(scale_[a]) + "; ";
    for (int a : axes) {
        const CMinMax& r = axes_.GetRange(a);
        if (!r.IsNull())
            cmd += CString("-param ") + Analyses::AnalysisNodes::RangeWord(a) + " " +
                   Number(r.GetMin()) + " " + Number(r.GetMax()) + "; ";
    }
    return cmd;
}

CString AcAnalysis::toNutmegCommand() const {
    CString cmd = GetAxisCmd();
    cmd += "ac ";
    cmd += " -env-options ";
    cmd += GetACArguments();
    return cmd;
}

void AcAnalysis::writeAxisItems(CPropertyList& list) const {
    for (int a = 0; a < 4; ++a)
        if (scale_[a] != ST_NONE)
            list.AddItem(
                CPropertyItem(Analyses::AnalysisNodes::ScaleWord(a), static_cast<long>(scale_[a])));
    for (int a = 0; a < 4; ++a) {
        const CMinMax& r = axes_.GetRange(a);
        if (!r.IsNull()) {
            list.AddItem(CPropertyItem(Analyses::AnalysisNodes::RangeWord(a), r.GetMin()));
            list.AddItem(CPropertyItem(Analyses::AnalysisNodes::RangeWord(a), r.GetMax()));
        }
    }
}

bool AcAnalysis::readAxisItem(const CPropertyItem& item) {
    const CString& label = item.GetLabel();
    for (int a = 0; a < 4; ++a) {
        if (label == Analyses::AnalysisNodes::ScaleWord(a)) {
            if (item.GetTypeOfValue() == CPropertyItem::Int)
                scale_[a] = static_cast<ScaleType>(item.GetInt());
            return true;
        }
        if (label == Analyses::AnalysisNodes::RangeWord(a)) {
            // The two stored values of a range rebuild its minimum and maximum.
            if (item.GetTypeOfValue() == CPropertyItem::Double)
                axes_.GetRange(a).Add(item.GetDouble());
            return true;
        }
    }
    return false;
}

CPropertyList AcAnalysis::toPropertyList() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("VARIATION", CString(VariationWord(variation_))));
    list.AddItem(CPropertyItem("NPOINTS_PER_VARIATION", npointsPerVariation_));
    list.AddItem(CPropertyItem("FSTART", fstart_));
    list.AddItem(CPropertyItem("FSTOP", fstop_));
    writeAxisItems(list);
    return list;
}

int AcAnalysis::fromPropertyList(const CPropertyList& list) {
    int result = 1;
    for (const CPropertyItem& item : list) {
        const CString& label = item.GetLabel();
        const CPropertyItem::Type type = item.GetTypeOfValue();
        if (label == "VARIATION") {
            if (type != CPropertyItem::String)
                continue;
            // Loading also makes the vertical scale follow the sweep, which
            // SetVariation alone does not do; stored circuits rely on it.
            const CString word = item.GetString();
            if (word == "dec") {
                SetVariation(Decade);
                scale_[kVAxis] = ST_LOG;
            } else if (word == "oct") {
                SetVariation(Octave);
                scale_[kVAxis] = ST_OCT;
            } else if (word == "lin") {
                SetVariation(Linear);
                scale_[kVAxis] = ST_LIN;
            }
        } else if (label == "NPOINTS_PER_VARIATION") {
            if (type == CPropertyItem::Double)
                npointsPerVariation_ = item.GetDouble();
        } else if (label == "FSTART") {
            if (type == CPropertyItem::Double)
                SetFstart(item.GetDouble());
        } else if (label == "FSTOP") {
            if (type == CPropertyItem::Double)
                SetFstop(item.GetDouble());
        } else if (!readAxisItem(item)) {
            result = 0;
        }
    }
    return result;
}

void AcAnalysis::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    unsigned typeText = IDS_AC_DECADE;
    unsigned pointsText = IDS_AC_POINTS_PER_DECADE;
    if (variation_ == Octave) {
        typeText = IDS_AC_OCTAVE;
        pointsText = IDS_AC_POINTS_PER_OCTAVE;
    } else if (variation_ == Linear) {
        typeText = IDS_AC_LINEAR;
        pointsText = IDS_AC_POINTS;
    }
    log.InsertItem(CTreeLog::Normal,
                   GetResourceString(IDS_AC_SWEEP_TYPE) + GetResourceText(typeText), parent);
    log.InsertItem(CTreeLog::Normal,
                   GetResourceString(pointsText) + ": " + Number(npointsPerVariation_), parent);
    log.InsertItem(CTreeLog::Normal, GetResourceString(IDS_AC_FSTART) + Number(fstart_), parent);
    log.InsertItem(CTreeLog::Normal, GetResourceString(IDS_AC_FSTOP) + Number(fstop_), parent);
    AxisScalesToReadableText(log, parent, scale_, axes_);
}

_TREEITEM* AcAnalysis::freqToReadableText(CTreeLog& log, _TREEITEM* parent) const {
    _TREEITEM* item =
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_AC_FREQUENCY_PARAMETERS), parent);
    AxisScalesToReadableText(log, parent, scale_, axes_);
    return item;
}

_TREEITEM* AcAnalysis::freqToReadableText(CTreeCtrl& ctrl, _TREEITEM* parent) const {
    CTreeLog log("", "", &ctrl);
    return freqToReadableText(log, parent);
}

const AcAnalysis* AcAnalysis::GetMainAnalysis() const {
    if (!main_)
        return nullptr;
    // Every kind that owns a sweep derives from Analyses::Ac, so the cast only
    // fails when the collection has no analysis of this kind.
    const auto* ac = dynamic_cast<const Analyses::Ac*>(main_->GetAnalysis(GetType()));
    return ac ? &ac->GetAcAnalysis() : nullptr;
}

int AcAnalysis::LoadFromMainAnalysis() {
    const AcAnalysis* main = GetMainAnalysis();
    if (!main)
        return 0;
    // Copied through the record, not by assignment, so the collection pointer
    // and the kind of this object stay its own.
    fromPropertyList(main->toPropertyList());
    return 1;
}

Analyses::Ac::Ac() : Analysis(), ac_(nullptr) {
    ++s_liveCount;
}

Analyses::Ac::Ac(const Analyses* main) : Analysis(main), ac_(main) {
    ++s_liveCount;
    Ac::reset();
}

Analyses::Ac::Ac(const Ac& other) : Analysis(other), ac_(other.ac_) {
    ++s_liveCount;
}

Analyses::Ac::~Ac() {
    --s_liveCount;
}

void Analyses::Ac::reset() {
    Analysis::reset();
    ac_.reset();
}
