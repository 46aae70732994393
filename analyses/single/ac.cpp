// AC analysis: sweep arguments, axis options, persistence and readable summary.
#include "analyses/single/ac.h"

#include "analyses/core/analysis_text.h"
#include "platform/resources.h"

#include <type_traits>

namespace {

constexpr int kVAxis = Analyses::AnalysisNodes::VAxis;
constexpr int kHAxis = Analyses::AnalysisNodes::HAxis;

struct VariationRow {
    AcAnalysis::Variation value;
    const char* word;    ///< stored and command word
    ScaleType scale;     ///< the frequency axis scale that goes with it
    unsigned name;       ///< readable name
    unsigned pointsName; ///< readable label of the point count
};
constexpr VariationRow kVariations[] = {
    {AcAnalysis::Decade, "dec", ST_LOG, IDS_AC_DECADE, IDS_AC_POINTS_PER_DECADE},
    {AcAnalysis::Octave, "oct", ST_OCT, IDS_AC_OCTAVE, IDS_AC_POINTS_PER_OCTAVE},
    {AcAnalysis::Linear, "lin", ST_LIN, IDS_AC_LINEAR, IDS_AC_POINTS},
};

template <int A> using Axis = std::integral_constant<int, A>;

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
    const VariationRow* row = RowOfValue(kVariations, v);
    scale_[kHAxis] = row ? row->scale : ST_LOG;
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
    if (const VariationRow* row = RowOfValue(kVariations, variation_))
        args = CString(row->word) + " ";
    return args + FormatNumber(npointsPerVariation_) + " " + FormatNumber(fstart_) + " " +
           FormatNumber(fstop_) + " ";
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
                   FormatNumber(r.GetMin()) + " " + FormatNumber(r.GetMax()) + "; ";
    }
    return cmd;
}

CString AcAnalysis::toNutmegCommand() const {
    return GetAxisCmd() + CommandHead("ac") + GetACArguments();
}

std::span<const PropertyKeys::Key<AcAnalysis>> AcAnalysis::Keys() {
    using PropertyKeys::Field;
    using Key = PropertyKeys::Key<AcAnalysis>;
    // One integer per axis with a scale, then both ends of every set range
    // under the range word; axes in index order.
    auto scale = []<int A>(Axis<A>) -> Key {
        return {Analyses::AnalysisNodes::ScaleWord(A),
                [](const AcAnalysis& ac, const char* label, CPropertyList& list) {
                    if (ac.scale_[A] != ST_NONE)
                        list.AddItem(CPropertyItem(label, static_cast<long>(ac.scale_[A])));
                },
                [](AcAnalysis& ac, const CPropertyItem& item) {
                    if (item.GetTypeOfValue() == CPropertyItem::Int)
                        ac.scale_[A] = static_cast<ScaleType>(item.GetInt());
                    return true;
                }};
    };
    auto range = []<int A>(Axis<A>) -> Key {
        return {Analyses::AnalysisNodes::RangeWord(A),
                [](const AcAnalysis& ac, const char* label, CPropertyList& list) {
                    const CMinMax& r = ac.axes_.GetRange(A);
                    if (!r.IsNull()) {
                        list.AddItem(CPropertyItem(label, r.GetMin()));
                        list.AddItem(CPropertyItem(label, r.GetMax()));
                    }
                },
                // The two stored values of a range rebuild its minimum and maximum.
                [](AcAnalysis& ac, const CPropertyItem& item) {
                    if (item.GetTypeOfValue() == CPropertyItem::Double)
                        ac.axes_.GetRange(A).Add(item.GetDouble());
                    return true;
                }};
    };
    static const Key keys[] = {
        {"VARIATION",
         [](const AcAnalysis& ac, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, CString(WordOf(kVariations, ac.variation_))));
         },
         // Loading also makes the vertical scale follow the sweep, which
         // SetVariation alone does not do; stored circuits rely on it.
         [](AcAnalysis& ac, const CPropertyItem& item) {
             const VariationRow* row = item.GetTypeOfValue() == CPropertyItem::String
                                           ? RowOfWord(kVariations, item.GetString())
                                           : nullptr;
             if (row) {
                 ac.SetVariation(row->value);
                 ac.scale_[kVAxis] = row->scale;
             }
             return true;
         }},
        Field<&AcAnalysis::npointsPerVariation_>("NPOINTS_PER_VARIATION"),
        Field<&AcAnalysis::fstart_, &AcAnalysis::SetFstart>("FSTART"),
        Field<&AcAnalysis::fstop_, &AcAnalysis::SetFstop>("FSTOP"),
        scale(Axis<0>{}),
        scale(Axis<1>{}),
        scale(Axis<2>{}),
        scale(Axis<3>{}),
        range(Axis<0>{}),
        range(Axis<1>{}),
        range(Axis<2>{}),
        range(Axis<3>{}),
    };
    return keys;
}

CPropertyList AcAnalysis::toPropertyList() const {
    return PropertyKeys::Write(*this, Keys());
}

int AcAnalysis::fromPropertyList(const CPropertyList& list) {
    return PropertyKeys::Read(*this, list, Keys());
}

void AcAnalysis::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    const VariationRow* found = RowOfValue(kVariations, variation_);
    const VariationRow& row = found ? *found : kVariations[0];
    InsertLine(log, parent, IDS_AC_SWEEP_TYPE, GetResourceText(row.name));
    InsertLine(log, parent, row.pointsName, ": " + FormatNumber(npointsPerVariation_));
    InsertLine(log, parent, IDS_AC_FSTART, FormatNumber(fstart_));
    InsertLine(log, parent, IDS_AC_FSTOP, FormatNumber(fstop_));
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
    // Every kind that owns a sweep derives from Analyses::Ac.
    return MainSettings<Analyses::Ac>(main_, GetType());
}

int AcAnalysis::LoadFromMainAnalysis() {
    return LoadSettingsFromMain(*this);
}
