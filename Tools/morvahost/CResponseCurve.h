// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace kor
{

/// One band of the drawn chain.
struct CResponseBand
{
    int element = 0;                    // its number, from 0
    std::string type;                   // "Peaking"
    double frequencyHz = 0.0;
    double bandwidthOctaves = 0.0;
    double gainDb = 0.0;
    std::string text;                   // "Peaking  1.00 kHz  -6.0 dB  2.50 Oct"
    double markDb = 0.0;                // height of its mark: its own response at its frequency
    std::vector<double> db;             // its own response; may hold -infinity
};

// The magnitude response of a chain of bands at a list of frequencies, in decibels, with what each band adds to it. The
// sum at a frequency is the sum of the bands there.
struct CResponseCurve
{
    double sampleRate = 0.0;            // hertz
    int group = 0;
    std::vector<double> frequenciesHz;  // rising
    std::vector<double> db;             // may hold -infinity
    std::vector<CResponseBand> bands;   // the ones that are not off
};

/// Text forms. JSON writes null where the magnitude is zero, CSV "-inf".
std::string curveAsJson(const CResponseCurve& curve);
std::string curveAsCsv(const CResponseCurve& curve);

/// A picture of 960 x 540 units with its own background, readable on light and dark pages.
std::string curveAsSvg(const CResponseCurve& curve);

}
