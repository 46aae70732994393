// Trace width: pin-current vectors, the largest current per pin and the copper width it needs.
#pragma once

#include "platform/cstring.h"

/// Splits a simulator vector name of the form
/// "<x><component>.pinvoltage<v...>[--<pin>]...#branch" (the sense source the
/// host puts in series with every component pin). Returns 1 and fills the
/// outputs (null ones are skipped) when `name` is a pin current, else 0 and
/// leaves them alone. Without "--" the pin is "$0".
int ParsePinCurrentVectorName(const CString& name, CString* component, CString* pin,
                              CString* source = nullptr);

/// Cross-section in square mils that carries `amperes` (by magnitude) with a
/// temperature rise of `tempRise` degrees Celsius above ambient.
double TraceCrossSectionArea(double amperes, double tempRise);
/// Copper thickness in mils of a weight in ounces per square foot, linear in
/// the standard table and extrapolated from its end segments below 0.125 oz
/// and above 14 oz.
double TraceCopperThickness(double ounces);
/// Minimum trace width in mils: the area over the thickness.
double TraceWidthMils(double amperes, double tempRise, double ounces);

/// The largest current through one component pin during a transient run.
class TraceWidthData {
public:
    TraceWidthData() = default;

    /// Takes the names from a pin-current vector name; 0 (record unchanged)
    /// when the name is not one.
    int FromVectorName(const CString& vectorName);

    const CString& GetVectorName() const { return vectorName_; }
    const CString& GetComponent() const { return component_; }
    const CString& GetPin() const { return pin_; }
    /// Amperes, never negative.
    double GetMaxCurrent() const { return maxCurrent_; }
    void SetMaxCurrent(double amperes) { maxCurrent_ = amperes; }

    /// One data point at `time` seconds: the magnitude of `amperes` replaces
    /// the maximum when it is not smaller, and always at time 0, so that a
    /// rerun in the same record starts afresh.
    void AddPoint(double time, double amperes);

    /// The result line, e.g. "Component:r1  ,Pin #2,Trace Width = 1.1 mils I=0.5".
    /// The component name is padded with blanks to `nameWidth` characters so
    /// that the lines of one log line up.
    CString toLogLine(double tempRise, double ounces, int nameWidth = 0) const;

private:
    CString vectorName_;
    double maxCurrent_ = 0.0;
    CString component_;
    CString pin_;
};
