// Sweep variation: setters with their side effects, the walk, persistence and summary.
#include "analyses/compound/sweep_variation.h"

#include "platform/resources.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

constexpr double kMinLogBound = 1e-12;  // smallest logarithmic bound; also "reached the stop"
constexpr double kZeroForRatio = 1e-30; // below this a value is zero when forming a ratio
constexpr double kMinIncrement = 1e-32; // smallest usable linear step
constexpr int kMaxVisitedIndex = 50;    // 51 points at most, whatever the counts say

CString Number(double v) {
    return CString::Formatted("%lg", v);
}

bool IsLogarithmic(SweepVariation::Variation v) {
    return v == SweepVariation::dec || v == SweepVariation::oct;
}

double AtLeastLogBound(double v) {
    v = std::fabs(v);
    return v < kMinLogBound ? kMinLogBound : v;
}

unsigned KindNameId(SweepVariation::Variation v) {
    switch (v) {
    case SweepVariation::lin:
        return IDS_SWEEP_LINEAR;
    case SweepVariation::oct:
        return IDS_SWEEP_OCTAVE;
    case SweepVariation::list:
        return IDS_SWEEP_LIST;
    default:
        return IDS_SWEEP_DECADE;
    }
}

const char* KindWord(SweepVariation::Variation v) {
    switch (v) {
    case SweepVariation::lin:
        return "lin ";
    case SweepVariation::oct:
        return "oct ";
    case SweepVariation::list:
        return "list ";
    default:
        return "dec ";
    }
}

} // namespace

SweepVariation::SweepVariation() {
    reset();
}

void SweepVariation::reset() {
    start_ = 0.0;
    stop_ = 0.0;
    increment_ = 0.0;
    numPoints_ = 0.0;
    numListItems_ = 0;
    outOfRange_ = 0;
}

void SweepVariation::SetStart(double s) {
    start_ = s;
    if (IsLogarithmic(variation_)) {
        start_ = AtLeastLogBound(s);
        if (stop_ < start_)
            stop_ = start_;
    }
    SetNumPoints(numPoints_);
}

void SweepVariation::SetStop(double s) {
    stop_ = s;
    if (IsLogarithmic(variation_)) {
        stop_ = AtLeastLogBound(s);
        // The start follows the stop down, where SetStart pushes the stop up:
        // the value being edited always wins.
        if (stop_ < start_)
            start_ = stop_;
    }
    SetNumPoints(numPoints_);
}

void SweepVariation::SetNumPoints(double n) {
    numPoints_ = n;
    if (variation_ == lin) {
        const double span = stop_ - start_;
        if (std::fabs(span) == 0.0) {
            numPoints_ = 1.0;
            increment_ = 0.0;
            return;
        }
        if (numPoints_ <= 1.0)
            numPoints_ = 2.0;
        increment_ = span / (numPoints_ - 1.0);
    } else if (IsLogarithmic(variation_)) {
        start_ = AtLeastLogBound(start_);
        stop_ = std::fabs(stop_);
        if (stop_ < start_)
            stop_ = start_;
        const double factor = variation_ == dec ? 10.0 : 2.0;
        numPoints_ = 1.0;
        for (double x = start_; x < stop_; x *= factor)
            numPoints_ += 1.0;
    }
}

void SweepVariation::SetIncrement(double inc) {
    increment_ = inc;
    if (variation_ != lin)
        return;
    increment_ = std::fabs(inc);
    if (increment_ <= 0.0)
        numPoints_ = 1.0;
    else
        numPoints_ = std::trunc(std::fabs(stop_ - start_) / std::fabs(inc) + 1.0);
    if (stop_ - start_ < 0.0)
        increment_ = -std::fabs(inc);
}

CPropertyList SweepVariation::toPropertyList() const {
    CPropertyList out;
    out.AddItem(CPropertyItem("Variation", static_cast<long>(variation_)));
    out.AddItem(CPropertyItem("Start", start_));
    out.AddItem(CPropertyItem("Stop", stop_));
    out.AddItem(CPropertyItem("NumItems", numPoints_));
    const int count = numListItems_ < 0 ? 0 : std::min(numListItems_, kMaxListItems);
    out.AddItem(CPropertyItem("List", list_.data(), count));
    return out;
}

int SweepVariation::fromPropertyList(const CPropertyList& in) {
    int result = 1;
    for (const CPropertyItem& item : in) {
        const CString& label = item.GetLabel();
        const CPropertyItem::Type type = item.GetTypeOfValue();
        if (label == "Variation") {
            if (type == CPropertyItem::Int)
                variation_ = static_cast<Variation>(item.GetInt());
        } else if (label == "Start") {
            if (type == CPropertyItem::Double)
                start_ = item.GetDouble();
        } else if (label == "Stop") {
            if (type == CPropertyItem::Double)
                stop_ = item.GetDouble();
        } else if (label == "NumItems") {
            // Start and stop are read first in every stored record, so the
            // derived increment (or count) comes out of the recomputation.
            if (type == CPropertyItem::Double)
                SetNumPoints(item.GetDouble());
        } else if (label == "List") {
            const int count = item.GetArrayCount();
            if (type == CPropertyItem::Array && count < kMaxListItems) {
                numListItems_ = count;
                item.WriteToArray(list_.data());
            }
        } else {
            result = 0;
        }
    }
    return result;
}

CString SweepVariation::toString() const {
    CString text = KindWord(variation_);
    if (variation_ == list) {
        for (int i = 0; i < numListItems_ && i < kMaxListItems; ++i)
            text += Number(list_[static_cast<size_t>(i)]) + " ";
    } else {
        text += Number(start_) + " ";
        text += Number(stop_) + " ";
        text += Number(increment_) + " ";
    }
    return text;
}

void SweepVariation::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    _TREEITEM* kind = log.InsertItem(
        CTreeLog::Normal,
        GetResourceString(IDS_SWEEP_TYPE) + GetResourceString(KindNameId(variation_)), parent);
    if (variation_ == list) {
        for (int i = 0; i < numListItems_ && i < kMaxListItems; ++i)
            log.InsertItem(CTreeLog::Normal, Number(list_[static_cast<size_t>(i)]), kind);
        return;
    }
    // Indexed by the raw kind: a linear walk reads "per octave" and an octave
    // walk plain "Number of points". Stored summaries read that way; keep it.
    static constexpr unsigned kPointLabels[] = {IDS_SWEEP_POINTS_PER_DECADE,
                                                IDS_SWEEP_POINTS_PER_OCTAVE, IDS_SWEEP_NUM_POINTS};
    const auto index = static_cast<unsigned>(variation_);
    const CString label =
        index < std::size(kPointLabels) ? GetResourceString(kPointLabels[index]) : CString();
    log.InsertItem(CTreeLog::Normal, label + ": " + Number(numPoints_), parent);
    log.InsertItem(CTreeLog::Normal, GetResourceString(IDS_SWEEP_START) + Number(start_), parent);
    log.InsertItem(CTreeLog::Normal, GetResourceString(IDS_SWEEP_STOP) + Number(stop_), parent);
}

SweepVariationIterator::SweepVariationIterator(const SweepVariation& v) : variation_(v) {
    reset();
}

void SweepVariationIterator::reset() {
    index_ = 0;
    if (variation_.variation_ == SweepVariation::list) {
        if (variation_.numListItems_ > 0)
            current_ = variation_.list_[0];
    } else {
        current_ = variation_.start_;
    }
}

SweepVariationIterator::operator int() const {
    if (index_ < 0 || index_ > kMaxVisitedIndex)
        return 0;
    const SweepVariation& v = variation_;
    if (v.variation_ == SweepVariation::list)
        return index_ < v.numListItems_ ? 1 : 0;
    if (v.numPoints_ <= index_)
        return 0;
    switch (v.variation_) {
    case SweepVariation::dec:
    case SweepVariation::oct:
        if (v.stop_ < current_ || current_ <= 0.0) {
            variation_.outOfRange_ = 1;
            return 0;
        }
        return 1;
    case SweepVariation::lin:
        if (v.numPoints_ >= 2.0 && std::fabs(v.increment_) < kMinIncrement)
            return 0;
        if (Ascending())
            return current_ > v.stop_ ? 0 : 1;
        return current_ < v.stop_ ? 0 : 1;
    default:
        return 0;
    }
}

SweepVariationIterator& SweepVariationIterator::operator++() {
    ++index_;
    const SweepVariation& v = variation_;
    if (v.variation_ == SweepVariation::list) {
        if (index_ < v.numListItems_ && index_ < SweepVariation::kMaxListItems)
            current_ = v.list_[static_cast<size_t>(index_)];
        return *this;
    }

    const double previous = current_;
    switch (v.variation_) {
    case SweepVariation::dec:
        current_ *= 10.0;
        break;
    case SweepVariation::lin:
        current_ += v.increment_;
        break;
    case SweepVariation::oct:
        current_ += current_;
        break;
    default:
        index_ = -1;
        break;
    }

    // An overshooting step lands exactly on the stop, so every walk ends there.
    const bool ascending = Ascending();
    if ((ascending && current_ > v.stop_) || (!ascending && current_ < v.stop_))
        current_ = v.stop_;

    // When the point just used was the stop, step beyond it so that the next
    // validity test ends the walk even if the point count is stale.
    double ratio = 1.0;
    if (previous == v.stop_)
        ratio = 1.0;
    else if (std::fabs(previous) > kZeroForRatio)
        ratio = v.stop_ / previous;
    else if (std::fabs(v.stop_) > kZeroForRatio)
        ratio = previous / v.stop_;
    if (std::fabs(ratio - 1.0) < kMinLogBound)
        current_ = ascending ? v.stop_ + 1.0 : v.stop_ - 1.0;
    return *this;
}
