// Monte Carlo statistics: mean and spread of the measured value and of its x position.
#pragma once

#include "analyses/compound/wcmc_run_data.h"

#include <span>

/// Mean and population standard deviation over the nominal and the random runs.
struct WcMcStatistics {
    double meanY = 0.0;
    double deviationY = 0.0;
    double meanX = 0.0;
    double deviationX = 0.0;
    int validRuns = 0; ///< records that added to the sums
};

/// Statistics over records 0 to `numRuns` (the nominal run and the random
/// runs; the repeated worst run after them is not counted). Invalid records
/// add nothing to the sums, yet the divisor is always numRuns + 1, so a run
/// that never met its function pulls the mean towards 0. Records beyond the
/// end of `runs` count as invalid; numRuns < 0 gives all zeros.
WcMcStatistics ComputeMcStatistics(std::span<const WcMcRunData> runs, int numRuns);
