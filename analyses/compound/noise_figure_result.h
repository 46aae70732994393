// Noise figure result: the figure in decibels from the output and input noise of one point.
#pragma once

#include "platform/cstring.h"

/// From the output noise `outputNoise` and the input-referred noise
/// `inputNoise` of the same frequency: 20 log10 |o / i| printed "%lg" followed
/// by "db", or the text for a zero on either side. `text` receives the result
/// line; `figure` (optional) the value in dB when there is one.
/// Returns 1 when a figure was computed, 0 for the three texts without one.
int NoiseFigureResult(double outputNoise, double inputNoise, CString& text,
                      double* figure = nullptr);
