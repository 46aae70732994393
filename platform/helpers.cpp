// Statement splitting, engineering notation, GCD/LCM of frequencies, ground
// naming, machine memory and the millisecond tick.
#include "platform/helpers.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <unistd.h>

void DivideStringIntoStatements(const CString& text, CStringArray& out) {
    out.clear();
    const std::string_view s = text.view();
    size_t start = 0;
    unsigned depth = 0;
    bool quoted = false;
    for (size_t k = 0; k < s.size(); ++k) {
        const char c = s[k];
        if (quoted) {
            if (c == '"')
                quoted = false;
            continue;
        }
        if (c == '\\') {
            // Property strings write their braces as "\{" and "\}"; those must
            // not open or close anything. Other escapes (file paths) pass as is.
            if (k + 1 < s.size() && (s[k + 1] == '{' || s[k + 1] == '}' || s[k + 1] == '\\'))
                ++k;
            continue;
        }
        if (c == '{') {
            ++depth;
        } else if (c == '}') {
            if (depth > 0)
                --depth;
        } else if (depth == 0) {
            // Quotes count only outside records: a string value may hold a
            // lone '"', and it must not swallow the record's closing brace.
            if (c == '"') {
                quoted = true;
            } else if (c == ';') {
                out.emplace_back(std::string(s.substr(start, k - start)));
                start = k + 1;
            }
        }
    }
    out.emplace_back(std::string(s.substr(start)));
}

namespace {

// Exact powers of ten up to 1e22 are representable, so scaling by one of them
// rounds once: 0.0015 * 1000 is exactly 1.5.
double ScaleByPowerOfTen(double v, int exponent) {
    // Subnormal values need more than 1e308; those scale in two steps.
    int rest = std::abs(exponent);
    while (rest > 0) {
        const int part = std::min(rest, 300);
        const double p = std::pow(10.0, part);
        v = exponent < 0 ? v * p : v / p;
        rest -= part;
    }
    return v;
}

const char* PrefixFor(int exponent) {
    static const char* const prefixes[] = {"f", "p", "n", "u", "m", "", "k", "M", "G", "T"};
    const int index = exponent / 3 + 5;
    if (exponent % 3 != 0 || index < 0 || index > 9)
        return nullptr;
    return prefixes[index];
}

int FloorDiv3(int e) {
    return e >= 0 ? e / 3 * 3 : -((-e + 2) / 3 * 3);
}

} // namespace

void ExpandNumber(double value, const char* unit, double* mantissa, CString* prefixedUnit,
                  int engineering, int usePrefix) {
    const CString baseUnit(unit ? unit : "");
    if (value == 0 || !std::isfinite(value)) {
        if (mantissa)
            *mantissa = value;
        if (prefixedUnit)
            *prefixedUnit = baseUnit;
        return;
    }
    // Prefixes exist only for multiples of three, so asking for one implies
    // engineering steps.
    const bool threes = engineering || usePrefix;
    const int step = threes ? 3 : 1;
    int exponent = static_cast<int>(std::floor(std::log10(std::fabs(value))));
    if (threes)
        exponent = FloorDiv3(exponent);
    double m = ScaleByPowerOfTen(value, exponent);
    // log10 of an exact power of ten may land just below the integer.
    if (std::fabs(m) >= (threes ? 1000.0 : 10.0)) {
        exponent += step;
        m = ScaleByPowerOfTen(value, exponent);
    } else if (std::fabs(m) < 1.0) {
        exponent -= step;
        m = ScaleByPowerOfTen(value, exponent);
    }
    if (usePrefix) {
        // Beyond the table the mantissa grows instead: 5e15 is 5000 T.
        const int clamped = std::max(-15, std::min(12, exponent));
        if (clamped != exponent) {
            exponent = clamped;
            m = ScaleByPowerOfTen(value, exponent);
        }
    }
    if (mantissa)
        *mantissa = m;
    if (prefixedUnit) {
        if (usePrefix)
            *prefixedUnit = CString(PrefixFor(exponent)) + baseUnit;
        else if (exponent == 0)
            *prefixedUnit = baseUnit;
        else
            *prefixedUnit = CString::Formatted("e%d", exponent) + baseUnit;
    }
}

namespace {

/// Remainders smaller than this share of the larger frequency count as zero:
/// frequencies read from a netlist carry rounding noise.
constexpr double kRelativeTolerance = 1e-9;

} // namespace

double GCD(double a, double b) {
    a = std::fabs(a);
    b = std::fabs(b);
    if (!std::isfinite(a) || !std::isfinite(b))
        return 0;
    if (a < b)
        std::swap(a, b);
    if (b == 0)
        return a;
    const double tolerance = kRelativeTolerance * a;
    // Euclid on doubles; fmod is exact, and the bound on steps only guards
    // against incommensurable inputs that would otherwise crawl to the tolerance.
    for (int step = 0; step < 200; ++step) {
        const double r = std::fmod(a, b);
        if (r <= tolerance || b - r <= tolerance)
            return b;
        a = b;
        b = r;
    }
    return b;
}

double LCM(double a, double b) {
    const double g = GCD(a, b);
    if (g == 0)
        return 0;
    return std::fabs(a) / g * std::fabs(b);
}

CString ConvertNullToGround(const CString& name) {
    return name.IsEmpty() ? CString("$0") : name;
}

uint64_t GetTotalPhysicalMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || pageSize <= 0)
        return 0;
    return static_cast<uint64_t>(pages) * static_cast<uint64_t>(pageSize);
}

void GlobalMemoryStatus(MEMORYSTATUS* status) {
    if (status)
        status->dwTotalPhys = GetTotalPhysicalMemory();
}

uint32_t GetTickCount() {
    // Analyses ask once per data point of every run to throttle the status bar to 33 ms; the
    // coarse clock (a few milliseconds' resolution, like the tick count it stands in for) reads
    // a kernel variable instead of the time-stamp counter, which virtual machines may trap.
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    // Wraps after 49 days, like the tick count; callers only take differences.
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000u +
                                 static_cast<uint64_t>(now.tv_nsec) / 1000000u);
}
