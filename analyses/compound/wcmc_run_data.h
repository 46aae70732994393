// WcMcRunData: the measurement of one worst-case / Monte Carlo run, or one tolerance's sensitivity.
#pragma once

#include "platform/cstring.h"

/// One run's result: what was measured (y as magnitude and phase, at x) and
/// the point before it, which the edge functions interpolate from. Plain value.
struct WcMcRunData {
    CString runLabel;    ///< e.g. "Run #3"
    CString description; ///< the run's parameter values
    double x = 0.0;      ///< where the value was measured (s, Hz, or 0 for an operating point)
    double y = 0.0;      ///< the measured value (a magnitude for complex data)
    double phase = 0.0;  ///< radians; 0 for real data
    int valid = 0;       ///< non-zero once the function found its value
    double previousX = 0.0;
    double previousY = 0.0;
    double previousPhase = 0.0;
    int havePrevious = 0;

    /// Empties both strings and zeroes every number and flag.
    void Reset();

    /// Sign of a value given as magnitude and phase (radians). With phase 0 the
    /// magnitude's own sign; otherwise 0 for a zero magnitude, +1 when |phase|
    /// is below pi/2, -1 above it and 0 at exactly pi/2.
    static int GetComplexSign(double magnitude, double phase);
    int GetXSign() const { return GetComplexSign(x, 0.0); }
    int GetYSign() const { return GetComplexSign(y, phase); }
};
