// Ranges grown point by point, and the reset of a page's axes.
#include "platform/minmax.h"

#include <cmath>

void CMinMax::Add(double v) {
    // A NaN would poison both ends for good; it carries no position anyway.
    if (std::isnan(v))
        return;
    if (null_) {
        min_ = max_ = v;
        null_ = false;
        return;
    }
    if (v < min_)
        min_ = v;
    if (v > max_)
        max_ = v;
}

void CMinMax::SetMin(double v) {
    if (null_) {
        min_ = max_ = v;
        null_ = false;
    } else {
        min_ = v;
    }
}

void CMinMax::SetMax(double v) {
    if (null_) {
        min_ = max_ = v;
        null_ = false;
    } else {
        max_ = v;
    }
}

void CGrapherAxes::Reset() {
    for (auto& r : ranges_)
        r.Reset();
    flag_ = 0;
    for (auto& s : scales_)
        s = 4;
}
