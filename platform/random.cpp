// Random streams: a 64-bit Mersenne twister, its uniform and Gaussian
// transforms, and the process-wide seed sequence.
#include "platform/random.h"

#include <cmath>
#include <mutex>

namespace {

constexpr int kN = 312;
constexpr int kM = 156;
constexpr uint64_t kMatrixA = 0xB5026F5AA96619E9ULL;
constexpr uint64_t kUpperMask = 0xFFFFFFFF80000000ULL;
constexpr uint64_t kLowerMask = 0x7FFFFFFFULL;

// Master seed and the number of seeds handed out since it was set; one mutex
// keeps the pair consistent when streams are made on several threads.
struct SeedSequence {
    std::mutex mutex;
    uint64_t master = Random::kDefaultMasterSeed;
    uint64_t issued = 0;
    uint64_t generation = 0;
};

SeedSequence& Sequence() {
    static SeedSequence seq;
    return seq;
}

// splitmix64: neighbouring counter values give unrelated seeds, so consecutive
// streams do not start from similar twister states.
uint64_t SplitMix64(uint64_t x) {
    uint64_t z = x;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

uint64_t NextSequenceSeed() {
    auto& seq = Sequence();
    std::lock_guard lk(seq.mutex);
    ++seq.issued;
    return SplitMix64(seq.master + seq.issued * 0x9E3779B97F4A7C15ULL);
}

} // namespace

Random::Random() {
    Seed(NextSequenceSeed());
}

Random::Random(long n) {
    if (n == 0)
        Seed(NextSequenceSeed());
    else
        Seed(static_cast<uint64_t>(n));
}

void Random::Seed(uint64_t seed) {
    mt_[0] = seed;
    for (int i = 1; i < kN; ++i)
        mt_[i] =
            6364136223846793005ULL * (mt_[i - 1] ^ (mt_[i - 1] >> 62)) + static_cast<uint64_t>(i);
    index_ = kN;
    haveSpare_ = false;
    spare_ = 0.0;
}

uint64_t Random::Next() {
    if (index_ >= kN) {
        if (index_ > kN) // never seeded; the constructors always seed, but be safe
            Seed(5489ULL);
        int i = 0;
        for (; i < kN - kM; ++i) {
            const uint64_t x = (mt_[i] & kUpperMask) | (mt_[i + 1] & kLowerMask);
            mt_[i] = mt_[i + kM] ^ (x >> 1) ^ ((x & 1ULL) ? kMatrixA : 0ULL);
        }
        for (; i < kN - 1; ++i) {
            const uint64_t x = (mt_[i] & kUpperMask) | (mt_[i + 1] & kLowerMask);
            mt_[i] = mt_[i + (kM - kN)] ^ (x >> 1) ^ ((x & 1ULL) ? kMatrixA : 0ULL);
        }
        const uint64_t x = (mt_[kN - 1] & kUpperMask) | (mt_[0] & kLowerMask);
        mt_[kN - 1] = mt_[kM - 1] ^ (x >> 1) ^ ((x & 1ULL) ? kMatrixA : 0ULL);
        index_ = 0;
    }
    uint64_t x = mt_[index_++];
    x ^= (x >> 29) & 0x5555555555555555ULL;
    x ^= (x << 17) & 0x71D67FFFEDA60000ULL;
    x ^= (x << 37) & 0xFFF7EEE000000000ULL;
    x ^= x >> 43;
    return x;
}

double Random::UnifReal(double low, double high) {
    // The top 53 bits fill a double's mantissa exactly: u lies in [0, 1).
    const double u = static_cast<double>(Next() >> 11) * 0x1.0p-53;
    return low + (high - low) * u;
}

double Random::Normal(double mean, double sigma) {
    // Marsaglia's polar method yields two deviates per accepted pair; the
    // second is kept in standard units for the next call.
    if (haveSpare_) {
        haveSpare_ = false;
        return mean + sigma * spare_;
    }
    double v1 = 0.0, v2 = 0.0, s = 0.0;
    do {
        v1 = UnifReal(-1.0, 1.0);
        v2 = UnifReal(-1.0, 1.0);
        s = v1 * v1 + v2 * v2;
    } while (s >= 1.0 || s == 0.0);
    const double factor = std::sqrt(-2.0 * std::log(s) / s);
    spare_ = v2 * factor;
    haveSpare_ = true;
    return mean + sigma * v1 * factor;
}

void Random::SetMasterSeed(uint64_t seed) {
    auto& seq = Sequence();
    std::lock_guard lk(seq.mutex);
    seq.master = seed;
    seq.issued = 0;
    ++seq.generation;
}

uint64_t Random::GetMasterSeed() {
    auto& seq = Sequence();
    std::lock_guard lk(seq.mutex);
    return seq.master;
}

uint64_t Random::GetSeedGeneration() {
    auto& seq = Sequence();
    std::lock_guard lk(seq.mutex);
    return seq.generation;
}
