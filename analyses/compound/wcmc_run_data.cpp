// WcMcRunData: reset and the sign rule the worst case steers by.
#include "analyses/compound/wcmc_run_data.h"

#include <cmath>

void WcMcRunData::Reset() {
    *this = WcMcRunData();
}

int WcMcRunData::GetComplexSign(double magnitude, double phase) {
    constexpr double kHalfPi = 1.5707963267948966;
    if (phase == 0.0) {
        if (magnitude > 0.0)
            return 1;
        return magnitude < 0.0 ? -1 : 0;
    }
    // A complex sensitivity counts by the side of the imaginary axis it lies
    // on; one exactly on the axis neither helps nor hurts.
    if (magnitude == 0.0)
        return 0;
    const double a = std::fabs(phase);
    if (a < kHalfPi)
        return 1;
    return a > kHalfPi ? -1 : 0;
}
