// The dialect's fourier statement: ngspice's command, its printout read back, charts and spectra.
#pragma once

#include "report/page.h"

#include <array>
#include <string>
#include <vector>

namespace host {

/// A "fourier [/flags] F LIST" statement: the ngspice command and the displays it asks for.
struct FourierStatement {
    std::string command;     ///< "fourier 1000 v(in)": names lowered, ground as "0"
    bool chart = true;       ///< a table per vector (off with /nochart)
    bool graph = false;      ///< a spectrum page (/plot)
    bool normalised = false; ///< the spectrum shows normalised values (/norm)
    bool phase = false;      ///< the spectrum has phase traces too (/+phase)
    bool bar = false;        ///< meant as a bar graph (/bar)
};
FourierStatement ParseFourierStatement(const std::vector<std::string>& tokens);

/// One vector's Fourier components as ngspice printed them, texts kept as printed.
struct FourierSeries {
    std::string name; ///< "v(in)"
    std::string thd;  ///< total harmonic distortion in percent
    /// Per harmonic: harmonic, frequency, magnitude, normalised magnitude, phase, normalised
    /// phase (the chart's column order, not ngspice's).
    std::vector<std::array<std::string, 6>> rows;
};

/// Reads the stdout lines of ngspice's "fourier" command; lines it does not know are skipped.
std::vector<FourierSeries> ReadFourierPrintout(const std::vector<std::string>& lines);

/// The table of one series, its distortion as the last row.
report::Chart FourierChart(const FourierSeries& series);

/// Fills a spectrum page (frequency axis, a magnitude and maybe a phase trace per series).
void FillSpectrumPage(const std::vector<FourierSeries>& series, const FourierStatement& displays,
                      report::Page& page);

} // namespace host
