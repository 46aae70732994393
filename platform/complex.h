// CComplex: one complex value of AC plot data (real and imaginary part).
#pragma once

#include <complex>

using CComplex = std::complex<double>;
