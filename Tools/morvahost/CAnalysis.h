// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CResponseCurve.h"

#include "Core/CError.h"
#include "Other/Interface/CVizListener.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kor
{

class CLiveClient;

/// The spectrum of one channel at one moment, as the product's display gets it.
struct CSpectrumFrame
{
    double time = 0.0;                  // seconds, the middle of the block that it is of
    int channel = 0;
    bool isSecond = false;              // of the secondary spectrum
    int blockSize = 0;                  // samples of a transform; bins are rate / blockSize apart
    double rate = 0.0;                  // hertz
    int type = 0;                       // 0 running average, 1 maximum, 2 average, 3 running maximum
    double averageTime = 0.0;           // seconds
    std::vector<double> magnitudes;     // linear; a full-scale sine on a bin reads 0.7071
};

/// What one meter showed over time. Linear values.
struct CMeterHistory
{
    std::vector<double> times;          // seconds
    std::vector<double> levels;
    std::vector<double> peaks;
};

/// A meter of a channel (`element` 0), or of a band.
struct CMeterKey
{
    int channel = 0;
    int element = 0;
    auto operator<=>(const CMeterKey&) const = default;
};

// What the displays of one channel group show while a recording runs through the equalizer: meters over time and spectra
// at the moments that are kept. Channels count as inside the graph, from 0.
class CAnalysis : private CVizListener
{
public:
    using CMeters = std::map<CMeterKey, CMeterHistory>;

    /// Begins to listen; wantsSecond: to the secondary spectrum too.
    CError listen(CLiveClient& client, int group, bool wantsSecond);

    /// Keeps the spectra as they are now.
    void keepSpectra();

    double sampleRate = 0.0;            // of the recording
    double seconds = 0.0;               // its length
    int group = 0;
    double slope = 0.0;                 // dB an octave by which the product tilts what it draws, around 1 kHz
    CResponseCurve response;            // of the settings at the start

    const std::vector<CSpectrumFrame>& spectra() const noexcept { return kept; }

    /// The newest spectrum of each channel, by channel, of the secondary ones behind.
    const std::map<std::pair<bool, int>, CSpectrumFrame>& newest() const noexcept { return latest; }

    const CMeters& outputs() const noexcept { return outputMeters; }

    /// Output level over input level.
    const CMeters& changes() const noexcept { return changeMeters; }

    /// The control signals of dynamic bands.
    const CMeters& bands() const noexcept { return bandMeters; }

private:
    void onVizInactive() override {}
    void onVizData(const CStringBuf& name, const CAudioVizData& data) override;

    std::map<std::pair<bool, int>, CSpectrumFrame> latest;
    std::vector<CSpectrumFrame> kept;
    CMeters outputMeters;
    CMeters changeMeters;
    CMeters bandMeters;
};

/// Name of an accumulation type, as the parameter shows it.
const char* spectrumTypeName(int type);

/// Channels folded into one line as the display does it: the greatest of them for the maximum types, else their mean; of
/// the first block size and rate only. The frames are all main or all secondary ones.
CSpectrumFrame foldedSpectrum(const std::vector<const CSpectrumFrame*>& channels);

/// Decibels in `columns` steps of equal ratio from lowHz to highHz: the greatest bin of a column, or between bins a line
/// from one to the next; tilted by `slope` around 1 kHz, and as if all blocks were 2048 long. Ends at half the rate.
std::vector<double> spectrumColumns(const CSpectrumFrame& frame, double lowHz, double highHz, int columns, double slope);

/// Everything as JSON; magnitudes and levels in dB, null for none.
std::string analysisAsJson(const CAnalysis& analysis);

/// A picture for a report: spectrum and response over frequency, level and peak over time.
std::string analysisAsSvg(const CAnalysis& analysis);

}
