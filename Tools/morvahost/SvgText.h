// SPDX-License-Identifier: GPL-3.0-or-later
// What the pictures of this program have in common: numbers, lines, axes and the look of the page.
#pragma once

#include <string>
#include <vector>

namespace kor
{

/// Two decimals, so that the same picture is the same text on every machine.
std::string svgNumber(double value);

/// With the characters that mean something in XML replaced.
std::string svgEscaped(const std::string& text);

/// "+6", "−12", "0".
std::string svgSigned(double value);

/// The path through points of rising x; points on a straight line between their neighbours are left out.
std::string svgLine(const std::vector<double>& x, const std::vector<double>& y);

/// A line of a logarithmic frequency grid.
struct CSvgGridLine
{
    double hz = 0.0;
    bool isDecade = false;
    std::string label;                  // "200", "5k"; empty for most
};
std::vector<CSvgGridLine> svgFrequencyGrid(double lowHz, double highHz);

/// Told apart by hue and by lightness, so that they stay distinct without colour vision.
const char* svgColour(std::size_t index);

/// Everything up to the content: the page with its background, the styles, the name and a note at its top. Readable on
/// light and dark pages. left and right are svgLeft and svgRight.
std::string svgOpening(const std::string& title, const std::string& note, double width, double height);

/// A clip path of this id, for within <defs>.
std::string svgClip(const std::string& id, double left, double top, double right, double bottom);

/// The edges of what is drawn, for pages of width 960.
constexpr double svgLeft = 64.0;
constexpr double svgRight = 932.0;

}
