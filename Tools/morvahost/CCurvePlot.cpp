// SPDX-License-Identifier: GPL-3.0-or-later
#include "CCurvePlot.h"

#include "SvgText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kor
{

namespace
{

constexpr double width = 960.0;
constexpr double left = svgLeft;
constexpr double right = svgRight;
constexpr double top = 66.0;
constexpr double bottom = 436.0;
constexpr double legendTop = 488.0;
constexpr double legendRow = 24.0;
constexpr int legendColumns = 3;

}

CCurvePlot::CCurvePlot(const CResponseCurve& shown)
    : curve(shown), lowHz(shown.frequenciesHz.front()), highHz(shown.frequenciesHz.back()),
      legendRows((static_cast<int>(shown.bands.size()) + legendColumns - 1) / legendColumns)
{
    // Up to the highest point, down to the lowest, but never further down than -36 dB for slopes that fall for ever.
    double highest = 0.0;
    double lowest = 0.0;
    const auto include = [&](double db)
    {
        highest = std::max(highest, db);
        lowest = std::min(lowest, std::max(db, -34.0));
    };
    for (const double db : curve.db)
        include(db);
    for (const CResponseBand& band : curve.bands)
        include(band.markDb);
    stepDb = highest - lowest > 15.0 ? 6.0 : 3.0;
    topDb = std::max(2.0 * stepDb, std::ceil((highest + 1.0) / stepDb) * stepDb);
    bottomDb = std::min(-2.0 * stepDb, std::floor((lowest - 1.0) / stepDb) * stepDb);
}

double CCurvePlot::x(double frequencyHz) const
{
    return left + (right - left) * std::log(frequencyHz / lowHz) / std::log(highHz / lowHz);
}

double CCurvePlot::y(double db) const
{
    const double held = std::clamp(db, bottomDb - 3.0, topDb + 3.0);
    return top + (bottom - top) * (topDb - held) / (topDb - bottomDb);
}

std::string CCurvePlot::line(const std::vector<double>& db) const
{
    std::vector<double> px;
    std::vector<double> py;
    for (std::size_t i = 0; i < db.size(); ++i)
    {
        px.push_back(x(curve.frequenciesHz[i]));
        py.push_back(y(db[i]));
    }
    return svgLine(px, py);
}

std::string CCurvePlot::area(const std::vector<double>& db) const
{
    return line(db) + "L" + svgNumber(right) + " " + svgNumber(y(0.0)) + "L" + svgNumber(left) + " " +
           svgNumber(y(0.0)) + "Z";
}

std::string CCurvePlot::grid() const
{
    std::string minor;
    std::string major;
    std::string labels;
    for (const CSvgGridLine& tick : svgFrequencyGrid(lowHz, highHz))
    {
        (tick.isDecade ? major : minor) += "M" + svgNumber(x(tick.hz)) + " " + svgNumber(top) + "V" + svgNumber(bottom);
        if (!tick.label.empty())
            labels += "<text x=\"" + svgNumber(x(tick.hz)) + "\" y=\"" + svgNumber(bottom + 20.0) +
                      "\" text-anchor=\"middle\">" + tick.label + "</text>\n";
    }
    for (double db = bottomDb; db <= topDb + 0.001; db += stepDb)
    {
        if (db != 0.0)
            minor += "M" + svgNumber(left) + " " + svgNumber(y(db)) + "H" + svgNumber(right);
        labels += "<text x=\"" + svgNumber(left - 10.0) + "\" y=\"" + svgNumber(y(db) + 4.0) +
                  "\" text-anchor=\"end\">" + svgSigned(db) + "</text>\n";
    }
    return "<path d=\"" + minor + "\" class=\"minor\"/>\n<path d=\"" + major + "\" class=\"major\"/>\n<path d=\"M" +
           svgNumber(left) + " " + svgNumber(y(0.0)) + "H" + svgNumber(right) + "\" class=\"zero\"/>\n<g class=\"label\">\n" +
           labels + "<text x=\"" + svgNumber(left - 10.0) + "\" y=\"" + svgNumber(top - 14.0) +
           "\" text-anchor=\"end\">dB</text>\n<text x=\"" + svgNumber(right) + "\" y=\"" + svgNumber(bottom + 38.0) +
           "\" text-anchor=\"end\">Hz</text>\n</g>\n";
}

std::string CCurvePlot::curves() const
{
    std::string text;
    for (std::size_t i = 0; i < curve.bands.size(); ++i)
    {
        const std::string colour = svgColour(i);
        text += "<path d=\"" + area(curve.bands[i].db) + "\" fill=\"" + colour + "\" fill-opacity=\"0.10\"/>\n";
        text += "<path d=\"" + line(curve.bands[i].db) + "\" class=\"band\" stroke=\"" + colour + "\"/>\n";
    }
    text += "<path d=\"" + area(curve.db) + "\" class=\"fill\"/>\n";
    text += "<path d=\"" + line(curve.db) + "\" class=\"sum\"/>\n";
    return text;
}

std::string CCurvePlot::marks() const
{
    std::string text;
    for (std::size_t i = 0; i < curve.bands.size(); ++i)
    {
        const CResponseBand& band = curve.bands[i];
        if (band.frequencyHz < lowHz || band.frequencyHz > highHz)
            continue;
        const std::string px = svgNumber(x(band.frequencyHz));
        const double py = std::clamp(y(band.markDb), top + 10.0, bottom - 10.0);
        text += "<circle cx=\"" + px + "\" cy=\"" + svgNumber(py) + "\" r=\"9.5\" fill=\"" + svgColour(i) +
                "\" class=\"mark\"/>\n<text x=\"" + px + "\" y=\"" + svgNumber(py + 4.0) + "\" class=\"number\">" +
                std::to_string(band.element + 1) + "</text>\n";
    }
    return text;
}

std::string CCurvePlot::legend() const
{
    std::string text;
    for (std::size_t i = 0; i < curve.bands.size(); ++i)
    {
        const std::size_t row = i / legendColumns;
        const double px = left + (right - left) * static_cast<double>(i % legendColumns) / legendColumns;
        const double py = legendTop + legendRow * static_cast<double>(row);
        text += "<circle cx=\"" + svgNumber(px + 8.0) + "\" cy=\"" + svgNumber(py) + "\" r=\"8\" fill=\"" + svgColour(i) +
                "\"/>\n<text x=\"" + svgNumber(px + 8.0) + "\" y=\"" + svgNumber(py + 4.0) + "\" class=\"number\">" +
                std::to_string(curve.bands[i].element + 1) + "</text>\n<text x=\"" + svgNumber(px + 24.0) + "\" y=\"" +
                svgNumber(py + 4.5) + "\" class=\"entry\">" + svgEscaped(curve.bands[i].text) + "</text>\n";
    }
    return text;
}

std::string CCurvePlot::svg() const
{
    const double height = legendTop - 14.0 + legendRow * std::max(0, legendRows) + 6.0;
    char note[96];
    std::snprintf(note, sizeof note, "magnitude response at %g kHz, group %d", curve.sampleRate / 1000.0, curve.group);
    std::string text = svgOpening("Magnitude response of the MorvaEQ equalizer", note, width, height);
    text += "<defs>\n"
            "<linearGradient id=\"under\" gradientUnits=\"userSpaceOnUse\" x1=\"0\" x2=\"0\" y1=\"" +
            svgNumber(top) + "\" y2=\"" + svgNumber(bottom) +
            "\">\n<stop offset=\"0\" stop-color=\"#3d6ea8\" stop-opacity=\"0.30\"/>\n"
            "<stop offset=\"" + svgNumber((y(0.0) - top) / (bottom - top)) +
            "\" stop-color=\"#3d6ea8\" stop-opacity=\"0.06\"/>\n"
            "<stop offset=\"1\" stop-color=\"#3d6ea8\" stop-opacity=\"0.30\"/>\n</linearGradient>\n" +
            svgClip("frame", left, top, right, bottom) + "</defs>\n";
    text += grid() + "<g clip-path=\"url(#frame)\">\n" + curves() + "</g>\n" + marks() + legend() + "</svg>\n";
    return text;
}

std::string curveAsSvg(const CResponseCurve& curve)
{
    return CCurvePlot(curve).svg();
}

}
