// Monte Carlo statistics over the run records, in run order.
#include "analyses/compound/wcmc_statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

WcMcStatistics ComputeMcStatistics(std::span<const WcMcRunData> runs, int numRuns) {
    WcMcStatistics s;
    if (numRuns < 0)
        return s;
    const size_t end = std::min(runs.size(), static_cast<size_t>(numRuns) + 1);
    const double divisor = static_cast<double>(numRuns) + 1.0;

    double sumY = 0.0;
    double sumX = 0.0;
    for (size_t i = 0; i < end; ++i) {
        if (!runs[i].valid)
            continue;
        sumY += runs[i].y;
        sumX += runs[i].x;
        ++s.validRuns;
    }
    s.meanY = sumY / divisor;
    s.meanX = sumX / divisor;

    double squaresY = 0.0;
    double squaresX = 0.0;
    for (size_t i = 0; i < end; ++i) {
        if (!runs[i].valid)
            continue;
        squaresY += (s.meanY - runs[i].y) * (s.meanY - runs[i].y);
        squaresX += (s.meanX - runs[i].x) * (s.meanX - runs[i].x);
    }
    s.deviationY = std::sqrt(squaresY / divisor);
    s.deviationX = std::sqrt(squaresX / divisor);
    return s;
}
