// Ranges that grow by added points, and the four plot axes of a page.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"

/// A [min, max] range; "null" (empty) until the first point is added.
class CANAL_EXPORT CMinMax {
public:
    CMinMax() = default;
    CMinMax(double a, double b) {
        Add(a);
        Add(b);
    }

    bool IsNull() const { return null_; }
    void Reset() {
        null_ = true;
        min_ = max_ = 0.0;
    }
    void Add(double v);
    double GetMin() const { return min_; }
    double GetMax() const { return max_; }
    /// Set one end; on a null range both ends take the value.
    void SetMin(double v);
    void SetMax(double v);

    friend bool operator==(const CMinMax&, const CMinMax&) = default;

private:
    bool null_ = true;
    double min_ = 0.0;
    double max_ = 0.0;
};

/// Four axis ranges (indexed 0..3 like AxisPosition), a flag and four further
/// per-axis scale values (ScaleType, 4 = not set).
class CANAL_EXPORT CGrapherAxes {
public:
    CGrapherAxes() { Reset(); }

    /// Ranges null, flag 0, scale values 4.
    void Reset();
    CMinMax& GetRange(int axis) { return ranges_[axis]; }
    const CMinMax& GetRange(int axis) const { return ranges_[axis]; }
    int GetFlag() const { return flag_; }
    void SetFlag(int f) { flag_ = f; }
    int GetScale(int axis) const { return scales_[axis]; }
    void SetScale(int axis, int scale) { scales_[axis] = scale; }

    friend bool operator==(const CGrapherAxes&, const CGrapherAxes&) = default;

private:
    CMinMax ranges_[4];
    int flag_ = 0;
    int scales_[4] = {4, 4, 4, 4};
};
