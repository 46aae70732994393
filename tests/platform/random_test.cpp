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
    // Published check value: the 10000th output for seed 5489.
    Random r(5489);
    uint64_t v = 0;
    for (int i = 0; i < 10000; ++i)
        v = r.Next();
    EXPECT_EQ(v, 9981545732273789042ULL);

    Random first(5489);
    EXPECT_EQ(first.Next(), 14514284786278117030ULL);
}

TEST(Random, SeedSequenceRepeatsForOneMasterSeedAndGivesDistinctStreams) {
    Random::SetMasterSeed(42);
    EXPECT_EQ(Random::GetMasterSeed(), 42u);
    Random a, b;
    Random c(0); // zero takes the next sequence seed, like the default
    const auto da = Draw(a, 8), db = Draw(b, 8), dc = Draw(c, 8);
    EXPECT_NE(da, db);
    EXPECT_NE(db, dc);
    EXPECT_NE(da, dc);

    Random::SetMasterSeed(42);
    Random a2, b2, c2;
    EXPECT_EQ(Draw(a2, 8), da);
    EXPECT_EQ(Draw(b2, 8), db);
    EXPECT_EQ(Draw(c2, 8), dc);

    Random::SetMasterSeed(43);
    Random other;
    EXPECT_NE(Draw(other, 8), da);

    // An explicit seed ignores the sequence.
    Random::SetMasterSeed(1);
    Random s1(12345);
    Random::SetMasterSeed(2);
    Random s2(12345);
    EXPECT_EQ(Draw(s1, 8), Draw(s2, 8));
    Random neg(-7);
    Random pos(7);
    EXPECT_NE(Draw(neg, 4), Draw(pos, 4));
}

TEST(Random, StreamsMadeOnSeveralThreadsAllDiffer) {
    Random::SetMasterSeed(99);
    constexpr int kThreads = 4, kPerThread = 200;
    std::vector<std::vector<uint64_t>> firsts(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&firsts, t] {
            for (int i = 0; i < kPerThread; ++i) {
                Random r;
                firsts[t].push_back(r.Next());
            }
        });
    for (auto& th : threads)
        th.join();
    std::set<uint64_t> all;
    for (const auto& f : firsts)
        all.insert(f.begin(), f.end());
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
    EXPECT_GE(lo, 2.0);
    EXPECT_LT(hi, 5.0);
    EXPECT_LT(lo, 2.01);
    EXPECT_GT(hi, 4.99);
    EXPECT_NEAR(sum / kN, 3.5, 0.01); // standard error about 0.002

    EXPECT_EQ(r.UnifReal(1.25, 1.25), 1.25);
    const double rev = r.UnifReal(5.0, 2.0);
    EXPECT_LE(rev, 5.0);
    EXPECT_GT(rev, 2.0);
}

TEST(Random, NormalHasTheRequestedMeanAndDeviation) {
    Random r(77);
    constexpr int kN = 200000;
    const double mean = 10.0, sigma = 2.0;
    double sum = 0.0, sumSq = 0.0;
    int withinOneSigma = 0;
    for (int i = 0; i < kN; ++i) {
        const double v = r.Normal(mean, sigma);
        sum += v;
        sumSq += v * v;
        if (std::fabs(v - mean) < sigma)
            ++withinOneSigma;
    }
    const double m = sum / kN;
    const double sd = std::sqrt(sumSq / kN - m * m);
    EXPECT_NEAR(m, mean, 0.03);   // standard error about 0.0045
    EXPECT_NEAR(sd, sigma, 0.03); // standard error about 0.0032
    EXPECT_NEAR(static_cast<double>(withinOneSigma) / kN, 0.6827, 0.01);

    EXPECT_EQ(r.Normal(3.5, 0.0), 3.5);
}

TEST(Random, NormalUsesTheSpareDeviateOfThePreviousDraw) {
    Random a(31337), b(31337);
    const double x1 = b.Normal(0.0, 1.0);
    const double x2 = b.Normal(0.0, 1.0);
    EXPECT_NE(x1, x2);

    EXPECT_EQ(a.Normal(0.0, 1.0), x1);
    // The spare is kept in standard units, so mean and sigma of the next
    // call apply to it.
    EXPECT_DOUBLE_EQ(a.Normal(5.0, 2.0), 5.0 + 2.0 * x2);
    // The second draw consumed no generator output.
    EXPECT_EQ(a.Next(), b.Next());
}
