// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CResponseCurve.h"

#include <string>

namespace kor
{

// Draws a response curve as SVG: logarithmic frequency axis with a decade grid, decibels in round steps, each band's
// own response faint in its colour, their sum in front. Coordinates have two decimals, so that the same curve gives the
// same text on every machine.
class CCurvePlot
{
public:
    explicit CCurvePlot(const CResponseCurve& curve);
    std::string svg() const;

private:
    double x(double frequencyHz) const;
    double y(double db) const;          // held a little outside the frame, so that cut lines leave it cleanly
    std::string line(const std::vector<double>& db) const;
    std::string area(const std::vector<double>& db) const;
    std::string grid() const;
    std::string curves() const;
    std::string marks() const;
    std::string legend() const;

    const CResponseCurve& curve;
    double lowHz;
    double highHz;
    double topDb = 6.0;
    double bottomDb = -6.0;
    double stepDb = 3.0;
    int legendRows;
};

}
