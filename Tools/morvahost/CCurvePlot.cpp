// SPDX-License-Identifier: GPL-3.0-or-later
#include "CCurvePlot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kor
{

namespace
{

constexpr double width = 960.0;
constexpr double left = 64.0;
constexpr double right = 932.0;
constexpr double top = 66.0;
constexpr double bottom = 436.0;
constexpr double legendTop = 488.0;
constexpr double legendRow = 24.0;
constexpr int legendColumns = 3;

// Told apart by hue and by lightness, so that they stay distinct without colour vision.
constexpr const char* bandColours[] = {"#2f6fbb", "#d0662b", "#2e8b62", "#a24a9c", "#b3882a", "#3b93a8", "#b8434e", "#6b6f2f"};

const char* colourOf(std::size_t band)
{
    return bandColours[band % std::size(bandColours)];
}

std::string fixed(double value)
{
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%.2f", value == 0.0 ? 0.0 : value);
    return buffer;
}

std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text)
        if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '&')
            out += "&amp;";
        else
            out += c;
    return out;
}

std::string frequencyLabel(double hz)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, hz < 1000.0 ? "%g" : "%gk", hz < 1000.0 ? hz : hz / 1000.0);
    return buffer;
}

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
    // Leaves out what a straight line between its neighbours shows as well: most of a curve is flat.
    constexpr double invisible = 0.02;
    const auto isStraight = [&](std::size_t from, std::size_t to)
    {
        for (std::size_t i = from + 1; i < to; ++i)
        {
            const double share = (px[i] - px[from]) / (px[to] - px[from]);
            if (std::abs(py[from] + share * (py[to] - py[from]) - py[i]) > invisible)
                return false;
        }
        return true;
    };
    std::string path = "M" + fixed(px[0]) + " " + fixed(py[0]);
    std::size_t kept = 0;
    for (std::size_t i = 1; i < px.size(); ++i)
        if (i + 1 == px.size() || !isStraight(kept, i + 1))
        {
            path += "L" + fixed(px[i]) + " " + fixed(py[i]);
            kept = i;
        }
    return path;
}

std::string CCurvePlot::area(const std::vector<double>& db) const
{
    return line(db) + "L" + fixed(right) + " " + fixed(y(0.0)) + "L" + fixed(left) + " " + fixed(y(0.0)) + "Z";
}

std::string CCurvePlot::grid() const
{
    std::string minor;
    std::string major;
    std::string labels;
    for (double decade = std::pow(10.0, std::floor(std::log10(lowHz))); decade <= highHz; decade *= 10.0)
        for (int digit = 1; digit <= 9; ++digit)
        {
            const double hz = decade * digit;
            if (hz < lowHz * 0.9999 || hz > highHz * 1.0001)
                continue;
            std::string& path = digit == 1 ? major : minor;
            path += "M" + fixed(x(hz)) + " " + fixed(top) + "V" + fixed(bottom);
            if (digit == 1 || digit == 2 || digit == 5)
                labels += "<text x=\"" + fixed(x(hz)) + "\" y=\"" + fixed(bottom + 20.0) +
                          "\" text-anchor=\"middle\">" + frequencyLabel(hz) + "</text>\n";
        }
    for (double db = bottomDb; db <= topDb + 0.001; db += stepDb)
    {
        if (db != 0.0)
            minor += "M" + fixed(left) + " " + fixed(y(db)) + "H" + fixed(right);
        char text[16];
        std::snprintf(text, sizeof text, db > 0.0 ? "+%g" : db < 0.0 ? "\u2212%g" : "0", std::abs(db));
        labels += "<text x=\"" + fixed(left - 10.0) + "\" y=\"" + fixed(y(db) + 4.0) + "\" text-anchor=\"end\">" + text +
                  "</text>\n";
    }
    return "<path d=\"" + minor + "\" class=\"minor\"/>\n<path d=\"" + major + "\" class=\"major\"/>\n<path d=\"M" +
           fixed(left) + " " + fixed(y(0.0)) + "H" + fixed(right) + "\" class=\"zero\"/>\n<g class=\"label\">\n" +
           labels + "<text x=\"" + fixed(left - 10.0) + "\" y=\"" + fixed(top - 14.0) +
           "\" text-anchor=\"end\">dB</text>\n<text x=\"" + fixed(right) + "\" y=\"" + fixed(bottom + 38.0) +
           "\" text-anchor=\"end\">Hz</text>\n</g>\n";
}

std::string CCurvePlot::curves() const
{
    std::string text;
    for (std::size_t i = 0; i < curve.bands.size(); ++i)
    {
        const std::string colour = colourOf(i);
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
        const std::string px = fixed(x(band.frequencyHz));
        const double py = std::clamp(y(band.markDb), top + 10.0, bottom - 10.0);
        text += "<circle cx=\"" + px + "\" cy=\"" + fixed(py) + "\" r=\"9.5\" fill=\"" + colourOf(i) +
                "\" class=\"mark\"/>\n<text x=\"" + px + "\" y=\"" + fixed(py + 4.0) + "\" class=\"number\">" +
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
        text += "<circle cx=\"" + fixed(px + 8.0) + "\" cy=\"" + fixed(py) + "\" r=\"8\" fill=\"" + colourOf(i) +
                "\"/>\n<text x=\"" + fixed(px + 8.0) + "\" y=\"" + fixed(py + 4.0) + "\" class=\"number\">" +
                std::to_string(curve.bands[i].element + 1) + "</text>\n<text x=\"" + fixed(px + 24.0) + "\" y=\"" +
                fixed(py + 4.5) + "\" class=\"entry\">" + escaped(curve.bands[i].text) + "</text>\n";
    }
    return text;
}

std::string CCurvePlot::svg() const
{
    const double height = legendTop - 14.0 + legendRow * std::max(0, legendRows) + 6.0;
    const std::string size = fixed(width) + " " + fixed(height);
    char rate[32];
    std::snprintf(rate, sizeof rate, "%g kHz", curve.sampleRate / 1000.0);
    std::string text = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + size + "\" width=\"" +
                       fixed(width) + "\" height=\"" + fixed(height) + "\" role=\"img\">\n";
    text += "<title>Magnitude response of the MorvaEQ equalizer</title>\n"
            "<style>\n"
            "text { font-family: 'Inter', 'Helvetica Neue', 'DejaVu Sans', Arial, sans-serif; }\n"
            ".label text { font-size: 12px; fill: #6a7178; }\n"
            ".minor { stroke: #e6e8ea; fill: none; }\n"
            ".major { stroke: #cfd4d8; fill: none; }\n"
            ".zero { stroke: #9aa2a9; fill: none; }\n"
            ".band { fill: none; stroke-width: 1.4; stroke-opacity: 0.75; stroke-linejoin: round; }\n"
            ".sum { fill: none; stroke: #1d2733; stroke-width: 2.6; stroke-linejoin: round; }\n"
            ".fill { fill: url(#under); }\n"
            ".mark { stroke: #ffffff; stroke-width: 1.6; }\n"
            ".number { font-size: 11px; font-weight: 700; fill: #ffffff; text-anchor: middle; }\n"
            ".entry { font-size: 13px; fill: #333b43; }\n"
            ".title { font-size: 17px; font-weight: 600; fill: #1d2733; }\n"
            ".note { font-size: 13px; fill: #6a7178; }\n"
            "</style>\n<defs>\n"
            "<linearGradient id=\"under\" gradientUnits=\"userSpaceOnUse\" x1=\"0\" x2=\"0\" y1=\"" +
            fixed(top) + "\" y2=\"" + fixed(bottom) +
            "\">\n<stop offset=\"0\" stop-color=\"#3d6ea8\" stop-opacity=\"0.30\"/>\n"
            "<stop offset=\"" + fixed((y(0.0) - top) / (bottom - top)) +
            "\" stop-color=\"#3d6ea8\" stop-opacity=\"0.06\"/>\n"
            "<stop offset=\"1\" stop-color=\"#3d6ea8\" stop-opacity=\"0.30\"/>\n</linearGradient>\n"
            "<clipPath id=\"frame\"><rect x=\"" + fixed(left) + "\" y=\"" + fixed(top) + "\" width=\"" +
            fixed(right - left) + "\" height=\"" + fixed(bottom - top) + "\"/></clipPath>\n</defs>\n";
    text += "<rect x=\"0.5\" y=\"0.5\" width=\"" + fixed(width - 1.0) + "\" height=\"" + fixed(height - 1.0) +
            "\" rx=\"12\" fill=\"#fcfcfb\" stroke=\"#dfe2e5\"/>\n";
    text += "<text x=\"" + fixed(left) + "\" y=\"34\" class=\"title\">MorvaEQ</text>\n<text x=\"" +
            fixed(right) + "\" y=\"34\" text-anchor=\"end\" class=\"note\">magnitude response at " + rate +
            ", group " + std::to_string(curve.group) + "</text>\n";
    text += grid() + "<g clip-path=\"url(#frame)\">\n" + curves() + "</g>\n" + marks() + legend() + "</svg>\n";
    return text;
}

std::string curveAsSvg(const CResponseCurve& curve)
{
    return CCurvePlot(curve).svg();
}

}
