// Plot axes: fitting ranges, mapping values and placing ticks.
#include "report/axis.h"

#include "report/numbers.h"

#include <algorithm>
#include <cmath>

namespace report {

namespace {

/// The largest 1-2-5 step no larger than about span / target.
double NiceStep(double span, int target) {
    double raw = span / std::max(target, 1);
    double mag = std::pow(10.0, std::floor(std::log10(raw)));
    double f = raw / mag;
    double nice = f < 1.5 ? 1.0 : f < 3.5 ? 2.0 : f < 7.5 ? 5.0 : 10.0;
    return nice * mag;
}

/// Steps for an angle axis: whole fractions of a half turn read best.
double DegreeStep(double span, int target) {
    double raw = span / std::max(target, 1);
    for (double step : {1.0, 5.0, 15.0, 30.0, 45.0, 90.0, 180.0})
        if (step >= raw * 0.75)
            return step;
    return 360.0 * std::ceil(raw / 360.0);
}

std::vector<Tick> TicksWithStep(double lo, double hi, double step) {
    std::vector<Tick> ticks;
    if (!std::isfinite(lo) || !std::isfinite(hi) || !(hi > lo) || !(step > 0.0) ||
        !std::isfinite(step))
        return ticks;
    double first = std::ceil(lo / step - 1e-9);
    double last = std::floor(hi / step + 1e-9);
    for (double k = first; k <= last && ticks.size() < 100; k += 1.0) {
        double v = k * step;
        if (std::fabs(v) < step * 1e-9)
            v = 0.0;
        ticks.push_back({v, FormatEngineering(v, 4), true});
    }
    return ticks;
}

/// A range of no width: widened around the value so that it still shows.
void WidenFlatRange(bool log, double& lo, double& hi) {
    if (log) {
        lo /= std::sqrt(10.0);
        hi *= std::sqrt(10.0);
    } else if (lo == 0.0) {
        lo = -1.0;
        hi = 1.0;
    } else {
        double d = std::fabs(lo) * 0.1;
        lo -= d;
        hi += d;
    }
}

} // namespace

std::vector<Tick> LinearTicks(double lo, double hi, int target) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !(hi > lo))
        return {};
    return TicksWithStep(lo, hi, NiceStep(hi - lo, target));
}

std::vector<Tick> LogTicks(double lo, double hi) {
    std::vector<Tick> ticks;
    if (!(lo > 0.0) || !(hi > lo) || !std::isfinite(hi))
        return ticks;
    const double eps = 1e-9;
    int d0 = static_cast<int>(std::ceil(std::log10(lo) - eps));
    int d1 = static_cast<int>(std::floor(std::log10(hi) + eps));
    int decades = d1 - d0 + 1;
    if (decades >= 2) {
        int stride = std::max(1, (decades + 9) / 10);
        bool minors = decades <= 6;
        for (int d = static_cast<int>(std::floor(std::log10(lo) + eps)); d <= d1; ++d) {
            double base = std::pow(10.0, d);
            if (d >= d0 && (d - d0) % stride == 0)
                ticks.push_back({base, FormatEngineering(base, 3), true});
            if (!minors)
                continue;
            for (int m = 2; m <= 9; ++m) {
                double v = m * base;
                if (v >= lo * (1 - eps) && v <= hi * (1 + eps))
                    ticks.push_back({v, std::string(), false});
            }
        }
        std::sort(ticks.begin(), ticks.end(),
                  [](const Tick& a, const Tick& b) { return a.value < b.value; });
        return ticks;
    }
    // Less than two decades in view: label 1, 2 and 5 of each decade.
    for (int d = static_cast<int>(std::floor(std::log10(lo))) - 1; d <= d1 + 1; ++d) {
        double base = std::pow(10.0, d);
        for (int m : {1, 2, 5}) {
            double v = m * base;
            if (v >= lo * (1 - eps) && v <= hi * (1 + eps))
                ticks.push_back({v, FormatEngineering(v, 3), true});
        }
    }
    if (ticks.size() < 2)
        return LinearTicks(lo, hi, 4);
    return ticks;
}

bool IsLogScale(std::string_view scale) {
    return scale == "log" || scale == "dec" || scale == "oct";
}

bool Scale::Usable(double v) const {
    return std::isfinite(v) && (!log || v > 0.0);
}

double Scale::Frac(double v) const {
    const auto t = [this](double u) { return log ? std::log10(u) : u; };
    return (t(v) - t(lo)) / (t(hi) - t(lo));
}

double Scale::Step(double span, int target) const {
    return degrees && span >= 10.0 ? DegreeStep(span, target) : NiceStep(span, target);
}

void FitScale(Scale& s, const std::vector<const std::vector<double>*>& data, const Axis* axis,
              bool roundOut, int target) {
    if (axis && axis->hasRange && s.Usable(axis->min) && s.Usable(axis->max) &&
        axis->min < axis->max) {
        s.lo = axis->min;
        s.hi = axis->max;
        return;
    }
    double lo = INFINITY, hi = -INFINITY;
    for (const auto* values : data)
        for (double v : *values)
            if (s.Usable(v)) {
                lo = std::min(lo, v);
                hi = std::max(hi, v);
            }
    if (lo > hi) {
        s.lo = s.log ? 1.0 : 0.0;
        s.hi = s.log ? 10.0 : 1.0;
        return;
    }
    if (lo == hi || (s.log ? std::log10(hi) - std::log10(lo) < 1e-9
                           : (hi - lo) <= 1e-12 * std::max(std::fabs(lo), std::fabs(hi))))
        WidenFlatRange(s.log, lo, hi);
    if (roundOut) {
        if (s.log) {
            lo = std::pow(10.0, std::floor(std::log10(lo) + 1e-9));
            hi = std::pow(10.0, std::ceil(std::log10(hi) - 1e-9));
        } else {
            double step = s.Step(hi - lo, target);
            lo = std::floor(lo / step + 1e-9) * step;
            hi = std::ceil(hi / step - 1e-9) * step;
        }
    }
    s.lo = lo;
    s.hi = hi;
}

std::vector<Tick> TicksFor(const Scale& s, int target) {
    if (s.log)
        return LogTicks(s.lo, s.hi);
    return TicksWithStep(s.lo, s.hi, s.Step(s.hi - s.lo, target));
}

} // namespace report
