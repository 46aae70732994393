// CComplex: the complex value type of node values and AC plot data.
#pragma once

#include <complex>

using CComplex = std::complex<double>;
