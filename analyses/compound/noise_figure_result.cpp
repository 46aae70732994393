// Noise figure result: exact zero tests, so tiny but real noise still gives a figure.
#include "analyses/compound/noise_figure_result.h"

#include "platform/resources.h"

#include <cmath>

int NoiseFigureResult(double outputNoise, double inputNoise, CString& text, double* figure) {
    if (outputNoise != 0.0 && inputNoise != 0.0) {
        const double db = 20.0 * std::log10(std::fabs(outputNoise / inputNoise));
        if (figure)
            *figure = db;
        text = CString::Formatted("%lg", db) + GetResourceString(IDS_NF_DB);
        return 1;
    }
    if (outputNoise == 0.0 && inputNoise == 0.0)
        text = GetResourceString(IDS_NF_BOTH_ZERO);
    else if (outputNoise == 0.0)
        text = GetResourceString(IDS_NF_NEGATIVE_INFINITY);
    else
        text = GetResourceString(IDS_NF_INFINITY);
    return 0;
}
