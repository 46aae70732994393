// Random streams: generator reference values, seeding, and the shape of draws.
#include "platform/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <thread>
#include <vector>

namespace {

std::vector<uint64_t> Draw(Random& r, int n) {
    std::vector<uint64_t> out;
    for (int i = 0; i < n; ++i)
        out.push_back(r.Next());
    return out;
}

} // namespace

TEST(Random, GeneratorIsTheReference64BitMersenneTwister) {
    // Published check values: the first and the 10000th output for seed 5489.
    Random r(5489);
    EXPECT_EQ(r.Next(), 14514284786278117030ULL);
    uint64_t v = 0;
    for (int i = 1; i < 10000; ++i)
        v = r.Next();
    EXPECT_EQ(v, 9981545732273789042ULL);
}

TEST(Random, SeedSequenceRepeatsForOneMasterSeedAndGivesDistinctStreams) {
    const auto streams = [](uint64_t master) {
        Random::SetMasterSeed(master);
        Random a, b, c(0); // zero takes the next sequence seed, like the default
        return std::vector<std::vector<uint64_t>>{Draw(a, 8), Draw(b, 8), Draw(c, 8)};
    };
    const auto first = streams(42);
    EXPECT_EQ(Random::GetMasterSeed(), 42u);
    EXPECT_EQ(std::set<std::vector<uint64_t>>(first.begin(), first.end()).size(), 3u);
    EXPECT_EQ(streams(42), first);
    EXPECT_NE(streams(43)[0], first[0]);

    // An explicit seed ignores the sequence.
    Random::SetMasterSeed(1);
    Random s1(12345);
    Random::SetMasterSeed(2);
    Random s2(12345), neg(-7), pos(7);
    EXPECT_EQ(Draw(s1, 8), Draw(s2, 8));
    EXPECT_NE(Draw(neg, 4), Draw(pos, 4));

    // Streams made on several threads all differ.
    Random::SetMasterSeed(99);
    constexpr int kThreads = 4, kPerThread = 200;
    std::vector<std::vector<uint64_t>> firsts(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&firsts, t] {
            for (int i = 0; i < kPerThread; ++i)
                firsts[t].push_back(Random().Next());
        });
    std::set<uint64_t> all;
    for (int t = 0; t < kThreads; ++t) {
        threads[t].join();
        all.insert(firsts[t].begin(), firsts[t].end());
    }
    EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kPerThread));
}

TEST(Random, UnifRealStaysInItsIntervalWithTheRightMean) {
    Random r(2024);
    constexpr int kN = 200000;
    double sum = 0.0, lo = 1e300, hi = -1e300;
    for (int i = 0; i < kN; ++i) {
        const double v = r.UnifReal(2.0, 5.0);
        sum += v;
        lo = std::min(lo, v);
        hi = std::max(hi, v);
    }
    EXPECT_TRUE(lo >= 2.0 && lo < 2.01) << lo;
    EXPECT_TRUE(hi < 5.0 && hi > 4.99) << hi;
    EXPECT_NEAR(sum / kN, 3.5, 0.01); // standard error about 0.002
    EXPECT_EQ(r.UnifReal(1.25, 1.25), 1.25);
    const double rev = r.UnifReal(5.0, 2.0);
    EXPECT_TRUE(rev <= 5.0 && rev > 2.0) << rev;
}

TEST(Random, NormalHasTheRequestedMeanAndDeviationAndUsesTheSpareDeviate) {
    Random r(77);
    constexpr int kN = 200000;
    const double mean = 10.0, sigma = 2.0;
    double sum = 0.0, sumSq = 0.0;
    int withinOneSigma = 0;
    for (int i = 0; i < kN; ++i) {
        const double v = r.Normal(mean, sigma);
        sum += v;
        sumSq += v * v;
        withinOneSigma += std::fabs(v - mean) < sigma;
    }
    const double m = sum / kN;
    EXPECT_NEAR(m, mean, 0.03);                              // standard error about 0.0045
    EXPECT_NEAR(std::sqrt(sumSq / kN - m * m), sigma, 0.03); // standard error about 0.0032
    EXPECT_NEAR(static_cast<double>(withinOneSigma) / kN, 0.6827, 0.01);
    EXPECT_EQ(r.Normal(3.5, 0.0), 3.5);

    Random a(31337), b(31337);
    const double x1 = b.Normal(0.0, 1.0);
    const double x2 = b.Normal(0.0, 1.0);
    EXPECT_NE(x1, x2);
    EXPECT_EQ(a.Normal(0.0, 1.0), x1);
    // The spare is kept in standard units, so mean and sigma of the next call apply to it.
    EXPECT_DOUBLE_EQ(a.Normal(5.0, 2.0), 5.0 + 2.0 * x2);
    EXPECT_EQ(a.Next(), b.Next()) << "the second draw consumed no generator output";
}
