// Trace width: vector naming, per-pin maxima, and the area and thickness of copper.
#include "analyses/compound/trace_width_math.h"

#include "platform/resources.h"

#include <cmath>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace {

constexpr std::string_view kPinMarker = ".pinvoltage";
constexpr const char* kBranchMarker = "#branch";
constexpr std::string_view kPinSeparator = "--";

// Copper weight (oz per square foot) against thickness (mils).
struct WeightThickness {
    double ounces;
    double mils;
};
constexpr WeightThickness kThickness[] = {
    {0.125, 0.2}, {0.25, 0.36}, {0.375, 0.52}, {0.5, 0.7}, {0.75, 1.0}, {1.0, 1.4},   {2.0, 2.8},
    {3.0, 4.2},   {4.0, 5.6},   {5.0, 7.0},    {6.0, 8.4}, {7.0, 9.8},  {10.0, 14.0}, {14.0, 19.6},
};

} // namespace

int ParsePinCurrentVectorName(const CString& name, CString* component, CString* pin,
                              CString* source) {
    const int marker = name.Find(kPinMarker.data());
    if (marker < 0)
        return 0;
    const int after = marker + static_cast<int>(kPinMarker.size());
    const CString rest = name.Mid(after);
    if (rest.IsEmpty() || (rest[0] != 'v' && rest[0] != 'V'))
        return 0;
    const int branch = rest.Find(kBranchMarker);
    if (branch < 0)
        return 0;

    CString sourceName = rest.Left(branch);
    CString pinName = "$0";
    const int separator = sourceName.Find(kPinSeparator.data());
    if (separator >= 0) {
        pinName = sourceName.Mid(separator + static_cast<int>(kPinSeparator.size()));
        sourceName = sourceName.Left(separator);
    }
    // The leading letter is the simulator's instance prefix, not part of the name users know.
    if (component)
        *component = marker > 0 ? name.Mid(1, marker - 1) : CString();
    if (pin)
        *pin = pinName;
    if (source)
        *source = sourceName;
    return 1;
}

double TraceCrossSectionArea(double amperes, double tempRise) {
    // The design-standard fit I = 0.024 * dT^0.44 * A^0.725, solved for A (exponent 1 / 0.725).
    return std::pow(std::fabs(amperes) / (0.024 * std::pow(tempRise, 0.44)), 1.3793103448275863);
}

double TraceCopperThickness(double ounces) {
    constexpr size_t n = std::size(kThickness);
    size_t upper = n - 1; // above the table: extrapolate the last segment
    for (size_t i = 0; i < n; ++i) {
        if (kThickness[i].ounces >= ounces) {
            upper = i == 0 ? 1 : i;
            break;
        }
    }
    const WeightThickness& a = kThickness[upper - 1];
    const WeightThickness& b = kThickness[upper];
    return (ounces - a.ounces) * (b.mils - a.mils) / (b.ounces - a.ounces) + a.mils;
}

double TraceWidthMils(double amperes, double tempRise, double ounces) {
    return TraceCrossSectionArea(amperes, tempRise) / TraceCopperThickness(ounces);
}

int TraceWidthData::FromVectorName(const CString& vectorName) {
    CString component;
    CString pin;
    if (!ParsePinCurrentVectorName(vectorName, &component, &pin))
        return 0;
    vectorName_ = vectorName;
    component_ = component;
    pin_ = pin;
    maxCurrent_ = 0.0;
    return 1;
}

void TraceWidthData::AddPoint(double time, double amperes) {
    const double m = std::fabs(amperes);
    if (time != 0.0 && m < maxCurrent_)
        return;
    maxCurrent_ = m;
}

CString TraceWidthData::toLogLine(double tempRise, double ounces, int nameWidth) const {
    CString line = GetResourceString(IDS_TW_COMPONENT) + component_ + " ";
    const int pad = nameWidth - component_.GetLength();
    if (pad > 0)
        line += CString(' ', pad);
    line += ",";
    line += GetResourceString(IDS_TW_PIN) + pin_ + ",";
    line += GetResourceString(IDS_TW_WIDTH) +
            CString::Formatted("%lg", TraceWidthMils(maxCurrent_, tempRise, ounces));
    line += GetResourceString(IDS_TW_MILS);
    line += GetResourceString(IDS_TW_CURRENT) + CString::Formatted("%lg", maxCurrent_);
    return line;
}
