// Worst-case / Monte Carlo measurement: point values, interpolation and the five functions.
#include "analyses/compound/wcmc_measure.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

enum Function { kMax = 0, kMin = 1, kRiseEdge = 2, kFallEdge = 3, kDeviation = 4 };

void Store(WcMcRunData& data, double x, double y, double phase) {
    data.x = x;
    data.y = y;
    data.phase = phase;
    data.valid = 1;
}

void StorePrevious(WcMcRunData& data, double x, double y, double phase) {
    data.previousX = x;
    data.previousY = y;
    data.previousPhase = phase;
    data.havePrevious = 1;
}

// An edge is a true crossing: the previous point at or on the near side of the
// threshold, this one beyond it. A curve that starts beyond the threshold has
// not crossed it there.
bool Crosses(int function, double previous, double y, double threshold) {
    if (function == kRiseEdge)
        return previous <= threshold && y > threshold;
    return previous >= threshold && y < threshold;
}

void MeasureEdge(const WcMcMeasurement& m, WcMcRunData& data, double x, double y, double phase,
                 const CComplex* value) {
    if (data.valid)
        return;
    if (!data.havePrevious || !Crosses(m.function, data.previousY, y, m.threshold)) {
        StorePrevious(data, x, y, phase);
        return;
    }
    // Crosses() guarantees y != previousY, so the inverse interpolation is defined.
    const double xc = LinearInterp(data.previousY, data.previousX, y, x, m.threshold);
    if (!value) {
        Store(data, xc, LinearInterp(data.previousX, data.previousY, x, y, xc), 0.0);
        return;
    }
    const CComplex before = std::polar(1.0, data.previousPhase) * data.previousY;
    Store(data, xc, ModulusInterp(data.previousX, before, x, *value, xc),
          WcMcPhase(LinearInterp(data.previousX, before, x, *value, xc)));
}

} // namespace

double WcMcPhase(const CComplex& c) {
    const double re = c.real();
    const double im = c.imag();
    if (re == 0.0) {
        if (im == 0.0)
            return 0.0;
        return im > 0.0 ? std::numbers::pi / 2 : -std::numbers::pi / 2;
    }
    // atan2 would give -pi for a negative real with a negative zero imaginary part.
    if (im == 0.0)
        return re > 0.0 ? 0.0 : std::numbers::pi;
    return std::atan2(im, re);
}

int WcMcPointValue(int index, const double* real, const CComplex* complex, double& y,
                   double& phase) {
    if (index < 0)
        return 0;
    if (complex) {
        const CComplex& c = complex[index];
        y = std::sqrt(c.real() * c.real() + c.imag() * c.imag());
        phase = WcMcPhase(c);
        return 1;
    }
    if (real) {
        y = real[index];
        phase = 0.0;
        return 1;
    }
    return 0;
}

double LinearInterp(double x0, double y0, double x1, double y1, double x) {
    if (x1 == x0)
        return y0;
    return y0 + (x - x0) * (y1 - y0) / (x1 - x0);
}

CComplex LinearInterp(double x0, const CComplex& y0, double x1, const CComplex& y1, double x) {
    return {LinearInterp(x0, y0.real(), x1, y1.real(), x),
            LinearInterp(x0, y0.imag(), x1, y1.imag(), x)};
}

double ModulusInterp(double x0, const CComplex& y0, double x1, const CComplex& y1, double x) {
    return LinearInterp(x0, std::abs(y0), x1, std::abs(y1), x);
}

void WcMcCurve::Clear() {
    x_.clear();
    y_.clear();
}

void WcMcCurve::AddPoint(double x, double y) {
    x_.push_back(x);
    y_.push_back(y);
}

int WcMcCurve::AddDataPoint(int index, double x, const double* real, const CComplex* complex) {
    double y = 0.0;
    double phase = 0.0;
    if (!WcMcPointValue(index, real, complex, y, phase))
        return 0;
    AddPoint(x, y);
    return 1;
}

double WcMcCurve::ValueAt(double x) const {
    if (x_.empty())
        return 0.0;
    if (x <= x_.front())
        return y_.front();
    if (x >= x_.back())
        return y_.back();
    // x_.front() < x < x_.back(), so both neighbours exist and differ in x.
    const auto upper = std::upper_bound(x_.begin(), x_.end(), x);
    const size_t i = static_cast<size_t>(upper - x_.begin());
    return LinearInterp(x_[i - 1], y_[i - 1], x_[i], y_[i], x);
}

int WcMcMeasurement::ProcessRunDataPoint(WcMcRunData* data, int index, double x, const double* real,
                                         const CComplex* complex) const {
    if (!data)
        return 0;
    if (useRange && (x < rangeXLow || x > rangeXHigh))
        return 0;
    double y = 0.0;
    double phase = 0.0;
    if (!WcMcPointValue(index, real, complex, y, phase))
        return 0;

    switch (function) {
    case kMax:
        if (!data->valid || y > data->y)
            Store(*data, x, y, phase);
        return 1;
    case kMin:
        if (!data->valid || y < data->y)
            Store(*data, x, y, phase);
        return 1;
    case kRiseEdge:
    case kFallEdge:
        MeasureEdge(*this, *data, x, y, phase, complex ? &complex[index] : nullptr);
        return 1;
    case kDeviation: {
        const bool haveNominal = nominal && nominal->GetCount() > 0;
        const double deviation = haveNominal ? std::fabs(y - nominal->ValueAt(x)) : 0.0;
        if (!data->valid || deviation > data->y)
            Store(*data, x, deviation, 0.0);
        return 1;
    }
    default:
        return 0;
    }
}
