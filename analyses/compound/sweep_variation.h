// Sweep variation: the values one level of a parameter or temperature sweep steps through.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"
#include "platform/property.h"
#include "platform/treelog.h"

#include <array>
#include <cstdint>

/// A decade, linear or octave progression between a start and a stop value, or
/// an explicit list of up to 256 values. Plain value class; the setters keep
/// start, stop, increment and point count consistent with each other.
class CANAL_EXPORT SweepVariation {
public:
    /// Persisted as the integer; also indexes the point-count label of the summary.
    enum Variation : int32_t { dec = 0, lin = 1, oct = 2, list = 3 };
    static constexpr int kMaxListItems = 256;

    SweepVariation();

    /// Zeroes start, stop, increment, point count, list count and the
    /// out-of-range flag; the kind and the list values stay.
    void reset();

    Variation GetVariation() const { return variation_; }
    /// Stores the kind only; nothing is recomputed.
    void SetVariation(Variation v) { variation_ = v; }

    double GetStart() const { return start_; }
    double GetStop() const { return stop_; }
    double GetIncrement() const { return increment_; }
    double GetNumPoints() const { return numPoints_; }

    /// Logarithmic walks keep a positive start (at least 1e-12) and push the
    /// stop up to it; every kind then recomputes the point count or increment.
    void SetStart(double s);
    /// Logarithmic walks keep a positive stop (at least 1e-12) and pull the
    /// start down to it; then as SetStart.
    void SetStop(double s);
    /// Linear: at least two points unless start equals stop, and the increment
    /// follows. Logarithmic: `n` is discarded and the count is one point per
    /// decade (octave) from the start, plus the stop when it falls between.
    void SetNumPoints(double n);
    /// Linear: the point count follows, and the increment takes the direction
    /// from start to stop. Other kinds only store it.
    void SetIncrement(double inc);

    int GetNumListItems() const { return numListItems_; }
    /// No bounds check: callers keep the count at most 256.
    void SetNumListItems(int n) { numListItems_ = n; }
    /// No bounds check: `n` must be below 256.
    double GetNthListItem(int n) const { return list_[static_cast<size_t>(n)]; }
    void SetNthListItem(int n, double v) { list_[static_cast<size_t>(n)] = v; }

    /// Set by an iterator whose logarithmic walk left its range while points remained.
    int IsOutOfRange() const { return outOfRange_; }

    /// "Variation", "Start", "Stop", "NumItems", "List", in this order.
    CPropertyList toPropertyList() const;
    /// Reads over the current values (callers reset first when absent keys are
    /// to take defaults). 1 when every key was known, else 0; reading goes on
    /// past unknown keys and skips values of the wrong type.
    int fromPropertyList(const CPropertyList& list);
    /// The kind word and the values, each "%lg" and followed by a blank,
    /// e.g. "lin 1 10 1 ".
    CString toString() const;
    /// Writes the summary under `parent` (borrowed; null for the top level).
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;

private:
    friend class SweepVariationIterator;

    int32_t outOfRange_ = 0;
    Variation variation_ = lin;
    double start_ = 0.0;
    double stop_ = 0.0;
    double increment_ = 0.0; ///< signed from start towards stop (linear walks)
    double numPoints_ = 0.0; ///< kept as a floating value, as stored records hold it
    std::array<double, kMaxListItems> list_{};
    int32_t numListItems_ = 0;
};

/// Walks the values of a copy of a SweepVariation, so editing the source does
/// not disturb a running walk. At most 51 values are ever visited.
/// Use: `for (SweepVariationIterator it(v); it; ++it) use(*it);`
class CANAL_EXPORT SweepVariationIterator {
public:
    explicit SweepVariationIterator(const SweepVariation& v);

    /// Back to the first value.
    void reset();
    /// Non-zero while the current value is to be used. A logarithmic walk that
    /// passes its stop (or reaches 0) sets the copy's out-of-range flag.
    operator int() const;
    double operator*() const { return current_; }
    SweepVariationIterator& operator++();

    /// The iterator's own copy, with the out-of-range flag of this walk.
    const SweepVariation& GetSweepVariation() const { return variation_; }
    int GetIndex() const { return index_; }

private:
    bool Ascending() const { return variation_.start_ <= variation_.stop_; }

    // The validity test is const for the caller but records leaving the range.
    mutable SweepVariation variation_;
    double current_ = 0.0;
    int32_t index_ = 0;
};
