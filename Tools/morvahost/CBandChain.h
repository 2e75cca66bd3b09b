// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CResponseCurve.h"

#include "Audio/Filters/CAudioFilterParams.h"
#include "Audio/Filters/CAudioFilterSpec.h"
#include "Core/CError.h"

#include <vector>

namespace kor
{

class CAudioFilterGenArray;
class CAudioInstance;

// The bands of one group as filter designs: reads an instance's parameters and asks the generators that its graph asks,
// so that what is drawn is what sounds.
class CBandChain
{
public:
    /// group: one of the instance's. Reads the values as they are now.
    CError open(const CAudioInstance& instance, int group, double sampleRate);

    /// A list for a picture: `points` frequencies in equal ratios, and more around each band, so that a narrow one shows.
    std::vector<double> drawnFrequencies(double lowHz, double highHz, int points) const;

    /// The response at rising or any frequencies, each 0 to half the rate.
    CResponseCurve response(const std::vector<double>& frequenciesHz) const;

private:
    struct CBand
    {
        int mode = 0;
        double frequencyHz = 0.0;
        double gain = 1.0;                      // linear
        double bandwidthOctaves = 0.0;
        CResponseBand drawn;
    };

    CAudioFilterSpec design(const CBand& band) const;
    bool isSameDesign(const CBand& a, const CBand& b) const;

    const CAudioFilterGenArray* generators = nullptr;
    CAudioFilterParamNames names;
    std::vector<CBand> bands;                   // those that are not off
    double rate = 0.0;
    int groupNumber = 0;
};

}
