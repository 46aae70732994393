// Reading ngspice's Fourier printout into charts and spectra, and the statement's display flags.
#include "host/ngspice/fourier.h"

#include "host/ngspice/dialect.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace host;

// What ngspice 39 prints for "fourier 1000 v(in) v(sq)" after a 2 ms transient, nfreqs = 4.
const std::vector<std::string> kPrintout = {
    "Fourier analysis for v(in):",
    "No. Harmonics: 4, THD: 1.58506e-06 %, Gridsize: 200, Interpolation Degree: 1",
    "Harmonic Frequency   Magnitude   Phase       Norm. Mag   Norm. Phase",
    "-------- ---------   ---------   -----       ---------   -----------",
    "0       0           -1.1204e-08 0           0           0          ",
    "1       1000        1.99926     -9.3974e-06 1           0          ",
    "2       2000        2.24079e-08 -86.4       1.12081e-08 -86.4      ",
    "3       3000        2.24079e-08 -84.6       1.12081e-08 -84.6      ",
    "Fourier analysis for v(sq):",
    "No. Harmonics: 4, THD: 2.05356e+07 %, Gridsize: 200, Interpolation Degree: 1",
    "Harmonic Frequency   Magnitude   Phase       Norm. Mag   Norm. Phase",
    "-------- ---------   ---------   -----       ---------   -----------",
    "0       0           1.99966     0           0           0          ",
    "1       1000        9.72242e-06 -88.2       1           0          ",
    "2       2000        1.99656     -90         205356      -1.8005    ",
    "3       3000        9.72242e-06 -84.6       1           3.6        ",
};

TEST(Fourier, PrintoutBecomesOneSeriesPerVectorWithItsDistortion) {
    const std::vector<FourierSeries> series = ReadFourierPrintout(kPrintout);
    ASSERT_EQ(series.size(), 2u);
    EXPECT_EQ(series[0].name, "v(in)");
    EXPECT_EQ(series[1].name, "v(sq)");
    EXPECT_EQ(series[1].thd, "2.05356e+07");
    ASSERT_EQ(series[1].rows.size(), 4u);
    // Chart order: harmonic, frequency, magnitude, normalised magnitude, phase, normalised phase.
    EXPECT_EQ(series[1].rows[2],
              (std::array<std::string, 6>{"2", "2000", "1.99656", "205356", "-90", "-1.8005"}));

    const report::Chart chart = FourierChart(series[0]);
    EXPECT_EQ(chart.title, "Fourier analysis of v(in)");
    ASSERT_EQ(chart.rows.size(), 5u);
    EXPECT_EQ(chart.rows.back(),
              (std::vector<std::string>{"THD (%)", "1.58506e-06", "", "", "", ""}));
    EXPECT_TRUE(ReadFourierPrintout({"No. of Data Rows : 208", "1 2 3 4 5 6"}).empty());
}

TEST(Fourier, StatementFlagsChooseTheDisplaysAndTheSpectrumFollowsThem) {
    const FourierStatement plain = ParseFourierStatement(Tokens("fourier 1000 V(in) v(a,$0)"));
    EXPECT_EQ(plain.command, "fourier 1000 v(in) v(a,0)");
    EXPECT_TRUE(plain.chart);
    EXPECT_FALSE(plain.graph || plain.phase || plain.normalised || plain.bar);

    const FourierStatement f =
        ParseFourierStatement(Tokens("fourier /nochart /plot /norm /+phase /bar 1000 V(in)"));
    EXPECT_EQ(f.command, "fourier 1000 v(in)");
    EXPECT_FALSE(f.chart);
    EXPECT_TRUE(f.graph && f.phase && f.normalised && f.bar);

    report::Page page;
    FillSpectrumPage(ReadFourierPrintout(kPrintout), f, page);
    EXPECT_EQ(page.xName, "frequency");
    EXPECT_EQ(page.x, (std::vector<double>{0, 1000, 2000, 3000}));
    ASSERT_EQ(page.traces.size(), 4u); // magnitude and phase of each vector
    EXPECT_EQ(page.traces[2].name, "norm mag(v(sq))");
    EXPECT_EQ(page.traces[2].re[2], 205356.0);
    EXPECT_EQ(page.traces[3].name, "norm phase(v(sq))");
    EXPECT_EQ(page.traces[3].re[3], 3.6);
    EXPECT_EQ(page.log.size(), 1u); // the bar-graph wish, kept for the reader

    report::Page magnitudes;
    FillSpectrumPage(ReadFourierPrintout(kPrintout), plain, magnitudes);
    ASSERT_EQ(magnitudes.traces.size(), 2u);
    EXPECT_EQ(magnitudes.traces[1].name, "mag(v(sq))");
    EXPECT_EQ(magnitudes.traces[1].re[2], 1.99656);
}

} // namespace
