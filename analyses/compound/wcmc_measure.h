// Worst-case / Monte Carlo measurement: what one output point contributes to a run's result.
#pragma once

#include "analyses/compound/wcmc_run_data.h"

#include "platform/complex.h"

#include <vector>

/// Magnitude (or the real value itself) and phase in radians of element
/// `index` of a data point; `complex` wins when both are given. A purely
/// imaginary value has phase +-pi/2 by the sign of its imaginary part, a purely
/// real one 0 or pi by the sign of its real part, and 0 has phase 0.
/// Returns 0 (and leaves y and phase alone) when there is no data or index < 0.
int WcMcPointValue(int index, const double* real, const CComplex* complex, double& y,
                   double& phase);
/// The phase rule of WcMcPointValue for one value, in radians.
double WcMcPhase(const CComplex& c);

/// y at x on the straight line through (x0, y0) and (x1, y1); y0 when x0 == x1.
double LinearInterp(double x0, double y0, double x1, double y1, double x);
/// The same for real and imaginary parts.
CComplex LinearInterp(double x0, const CComplex& y0, double x1, const CComplex& y1, double x);
/// The magnitude at x, interpolated linearly between the two magnitudes.
double ModulusInterp(double x0, const CComplex& y0, double x1, const CComplex& y1, double x);

/// A run's output curve kept for comparison: x ascending (time, frequency),
/// y the value or, for complex data, its magnitude.
class WcMcCurve {
public:
    void Clear();
    void AddPoint(double x, double y);
    /// Adds element `index` of a data point (see WcMcPointValue); 0 when there was none.
    int AddDataPoint(int index, double x, const double* real, const CComplex* complex);
    int GetCount() const { return static_cast<int>(x_.size()); }
    /// y at x, linear between neighbouring points and held at the end values
    /// outside the curve; 0 for an empty curve.
    double ValueAt(double x) const;

private:
    std::vector<double> x_;
    std::vector<double> y_;
};

/// What a worst-case or Monte Carlo run measures on its output curve, fed one
/// data point at a time. Functions: 0 the maximum, 1 the minimum, 2 the first
/// rise through the threshold, 3 the first fall through it, 4 the greatest
/// deviation from the nominal run's curve. Ties keep the earlier point.
struct WcMcMeasurement {
    int function = 0;       ///< WcMcAnalysis::WcMcFunction value
    double threshold = 0.0; ///< level of the edge functions
    int useRange = 0;       ///< non-zero: points with x outside [rangeXLow, rangeXHigh] are ignored
    double rangeXLow = 0.0;
    double rangeXHigh = 1.0;
    /// Function 4 only; borrowed, must outlive the run. Null (or empty) for the
    /// nominal run itself, whose deviation is 0 everywhere.
    const WcMcCurve* nominal = nullptr;

    /// Takes element `index` of one data point at x into `data` (borrowed).
    /// Returns 1 when the point was considered, 0 when it was ignored (out of
    /// range, no data, unknown function).
    int ProcessRunDataPoint(WcMcRunData* data, int index, double x, const double* real,
                            const CComplex* complex) const;
};
