// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CAnalysis.h"

#include <string>

namespace kor
{

// Draws an analysis as SVG: above, the spectra of the end and over them the response of the settings, on one logarithmic
// frequency axis with a dB axis for each; below, level and peak of the output over time, the loudest channel of each.
class CAnalysisPlot
{
public:
    explicit CAnalysisPlot(const CAnalysis& analysis);
    std::string svg() const;

private:
    struct CHistory
    {
        std::vector<double> seconds;
        std::vector<double> level;      // dB
        std::vector<double> peak;
    };

    void readSpectra();
    void readHistory();
    double xOf(double hz) const;
    double ySpectrum(double db) const;
    double yResponse(double db) const;
    double xTime(double seconds) const;
    double yLevel(double db) const;
    std::string frequencyAxes() const;
    std::string spectra() const;
    std::string response() const;
    std::string timeAxes() const;
    std::string history() const;
    std::string legend() const;

    const CAnalysis& shown;
    double lowHz = 20.0;
    double highHz = 20000.0;
    std::vector<double> main;           // dB per column
    std::vector<double> second;
    int blockSize = 0;
    int type = 0;
    double spectrumTop = 0.0;           // dB
    double responseTop = 12.0;
    CHistory levels;
};

}
