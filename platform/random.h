// Random streams with our own generator and transforms, so that draws are the
// same on every platform and standard library for one seed.
#pragma once

#include "canal/export.h"

#include <cstdint>

class CANAL_EXPORT Random {
public:
    /// Takes the next seed of the process-wide seed sequence (see SetMasterSeed).
    Random();
    /// n != 0 seeds with n; n == 0 behaves like the default constructor.
    explicit Random(long n);

    /// Uniform over [low, high).
    double UnifReal(double low, double high);
    /// Gaussian with the given mean and standard deviation.
    double Normal(double mean, double sigma);
    /// Raw 64-bit output of the generator.
    uint64_t Next();

    /// The master seed a process starts with, so that runs without a seed of their own
    /// still repeat.
    static constexpr uint64_t kDefaultMasterSeed = 0x63616E616C2D6D63ULL;

    /// Restarts the process-wide seed sequence; streams created afterwards
    /// repeat exactly for the same master seed.
    static void SetMasterSeed(uint64_t seed);
    static uint64_t GetMasterSeed();
    /// Counts SetMasterSeed calls. Streams made before the last call (class-wide
    /// ones made at start-up, say) compare it to know they must be made again.
    static uint64_t GetSeedGeneration();

private:
    void Seed(uint64_t seed);
    // 64-bit Mersenne twister state (MT19937-64), implemented here.
    uint64_t mt_[312];
    int index_ = 313;
    bool haveSpare_ = false;
    double spare_ = 0.0;
};
