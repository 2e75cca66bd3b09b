// SPDX-License-Identifier: GPL-3.0-or-later
#include "CAnalysisPlot.h"

#include "SvgText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kor
{

namespace
{

constexpr double width = 960.0;
constexpr double height = 690.0;
constexpr double left = svgLeft;
constexpr double right = svgRight - 32.0;           // room for the second axis
constexpr double top = 66.0;
constexpr double bottom = 420.0;
constexpr double timeTop = 500.0;
constexpr double timeBottom = 620.0;
constexpr double spectrumSpan = 72.0;               // dB from the top of the axis to its bottom
constexpr double spectrumStep = 12.0;
constexpr double levelBottom = -60.0;
constexpr double levelTop = 6.0;
constexpr int columns = 837;                        // one for each unit of the axis
constexpr double silence = -200.0;

double decibels(double magnitude)
{
    return magnitude > 0.0 ? 20.0 * std::log10(magnitude) : silence;
}

std::string at(const char* names, double a, double b)
{
    const std::string two(names);
    return two.substr(0, two.find(' ')) + "=\"" + svgNumber(a) + "\" " + two.substr(two.find(' ') + 1) + "=\"" +
           svgNumber(b) + "\"";
}

std::string label(double x, double y, const char* anchor, const std::string& text)
{
    return "<text " + at("x y", x, y) + " text-anchor=\"" + anchor + "\">" + text + "</text>\n";
}

std::string horizontal(double y, double to = right)
{
    return "M" + svgNumber(left) + " " + svgNumber(y) + "H" + svgNumber(to);
}

}

CAnalysisPlot::CAnalysisPlot(const CAnalysis& analysis) : shown(analysis)
{
    highHz = std::min(highHz, 0.5 * analysis.sampleRate);
    readSpectra();
    readHistory();
    double furthest = 0.0;
    for (const double db : analysis.response.db)
        furthest = std::max(furthest, std::min(std::abs(db), 30.0));
    responseTop = std::max(12.0, 6.0 * std::ceil((furthest + 1.0) / 6.0));
}

void CAnalysisPlot::readSpectra()
{
    std::vector<const CSpectrumFrame*> channels[2];
    for (const auto& [key, frame] : shown.newest())
        channels[key.first ? 1 : 0].push_back(&frame);
    double highest = -spectrumSpan;
    for (int i = 0; i < 2; ++i)
    {
        const CSpectrumFrame folded = foldedSpectrum(channels[i]);
        std::vector<double>& line = i == 0 ? main : second;
        line = spectrumColumns(folded, lowHz, highHz, columns, shown.slope);
        for (const double db : line)
            highest = std::max(highest, db);
        if (i == 0)
        {
            blockSize = folded.blockSize;
            type = folded.type;
        }
    }
    spectrumTop = spectrumStep * std::ceil((highest + 3.0) / spectrumStep);
}

// The channels' frames fall together; one that came late is left out.
void CAnalysisPlot::readHistory()
{
    for (const auto& [key, history] : shown.outputs())
        for (std::size_t i = 0; i < history.times.size(); ++i)
        {
            if (i >= levels.seconds.size())
            {
                levels.seconds.push_back(history.times[i]);
                levels.level.push_back(silence);
                levels.peak.push_back(silence);
            }
            levels.level[i] = std::max(levels.level[i], decibels(history.levels[i]));
            levels.peak[i] = std::max(levels.peak[i], decibels(history.peaks[i]));
        }
}

double CAnalysisPlot::xOf(double hz) const
{
    return left + (right - left) * std::log(hz / lowHz) / std::log(highHz / lowHz);
}

double CAnalysisPlot::ySpectrum(double db) const
{
    const double held = std::clamp(db, spectrumTop - spectrumSpan - 3.0, spectrumTop + 3.0);
    return top + (bottom - top) * (spectrumTop - held) / spectrumSpan;
}

double CAnalysisPlot::yResponse(double db) const
{
    const double held = std::clamp(db, -responseTop - 3.0, responseTop + 3.0);
    return 0.5 * (top + bottom) - 0.5 * (bottom - top) * held / responseTop;
}

double CAnalysisPlot::xTime(double seconds) const
{
    return left + (right - left) * std::clamp(seconds / std::max(shown.seconds, 1e-9), 0.0, 1.0);
}

double CAnalysisPlot::yLevel(double db) const
{
    const double share = (levelTop - std::clamp(db, levelBottom, levelTop)) / (levelTop - levelBottom);
    return timeTop + (timeBottom - timeTop) * share;
}

std::string CAnalysisPlot::frequencyAxes() const
{
    std::string minor;
    std::string major;
    std::string labels;
    for (const CSvgGridLine& tick : svgFrequencyGrid(lowHz, highHz))
    {
        const double x = xOf(tick.hz);
        (tick.isDecade ? major : minor) += "M" + svgNumber(x) + " " + svgNumber(top) + "V" + svgNumber(bottom);
        if (!tick.label.empty())
            labels += label(x, bottom + 20.0, "middle", tick.label);
    }
    for (double db = spectrumTop; db >= spectrumTop - spectrumSpan - 0.001; db -= spectrumStep)
    {
        minor += horizontal(ySpectrum(db));
        labels += label(left - 10.0, ySpectrum(db) + 4.0, "end", svgSigned(db));
    }
    for (double db = -responseTop; db <= responseTop + 0.001; db += 0.5 * responseTop)
        labels += label(right + 10.0, yResponse(db) + 4.0, "start", svgSigned(db));
    return "<path d=\"" + minor + "\" class=\"minor\"/>\n<path d=\"" + major + "\" class=\"major\"/>\n<path d=\"" +
           horizontal(yResponse(0.0)) + "\" class=\"zero\"/>\n<g class=\"label\">\n" + labels +
           label(left - 10.0, top - 14.0, "end", "dB") + label(right + 10.0, top - 14.0, "start", "dB") +
           label(right, bottom + 38.0, "end", "Hz") + "</g>\n";
}

std::string CAnalysisPlot::spectra() const
{
    std::string text;
    const auto draw = [&](const std::vector<double>& line, const char* colour, bool isFilled)
    {
        if (line.empty())
            return;
        std::vector<double> x;
        std::vector<double> y;
        for (std::size_t i = 0; i < line.size(); ++i)
        {
            x.push_back(left + (right - left) * static_cast<double>(i) / (columns - 1));
            y.push_back(ySpectrum(line[i]));
        }
        const std::string path = svgLine(x, y);
        if (isFilled)
            text += "<path d=\"" + path + "L" + svgNumber(x.back()) + " " + svgNumber(bottom) + "H" + svgNumber(left) +
                    "Z\" fill=\"" + colour + "\" fill-opacity=\"0.22\"/>\n";
        text += "<path d=\"" + path + "\" class=\"band\" stroke=\"" + colour + "\"/>\n";
    };
    draw(main, svgColour(0), true);
    draw(second, svgColour(1), false);
    return text;
}

std::string CAnalysisPlot::response() const
{
    std::vector<double> x;
    std::vector<double> y;
    for (std::size_t i = 0; i < shown.response.db.size(); ++i)
    {
        x.push_back(xOf(shown.response.frequenciesHz[i]));
        y.push_back(yResponse(shown.response.db[i]));
    }
    return "<path d=\"" + svgLine(x, y) + "\" class=\"sum\"/>\n";
}

std::string CAnalysisPlot::timeAxes() const
{
    std::string lines;
    std::string labels;
    for (double db = levelBottom; db <= 0.001; db += 12.0)
    {
        lines += horizontal(yLevel(db));
        labels += label(left - 10.0, yLevel(db) + 4.0, "end", svgSigned(db));
    }
    double step = 0.1;
    for (const double factor : {2.0, 2.5, 2.0, 2.0, 2.5, 2.0, 3.0, 2.0, 2.5, 2.0, 2.0, 3.0})
        if (shown.seconds / step > 12.0)
            step *= factor;
    for (double seconds = 0.0; seconds <= shown.seconds + 1e-9; seconds += step)
    {
        lines += "M" + svgNumber(xTime(seconds)) + " " + svgNumber(timeTop) + "V" + svgNumber(timeBottom);
        char text[32];
        std::snprintf(text, sizeof text, "%g", std::round(seconds * 1000.0) / 1000.0);
        labels += label(xTime(seconds), timeBottom + 20.0, "middle", text);
    }
    return "<path d=\"" + lines + "\" class=\"minor\"/>\n<g class=\"label\">\n" + labels +
           label(left - 10.0, timeTop - 14.0, "end", "dB") + label(right, timeBottom + 38.0, "end", "s") + "</g>\n";
}

std::string CAnalysisPlot::history() const
{
    std::vector<double> x;
    std::vector<double> level;
    std::vector<double> peak;
    for (std::size_t i = 0; i < levels.seconds.size(); ++i)
    {
        x.push_back(xTime(levels.seconds[i]));
        level.push_back(yLevel(levels.level[i]));
        peak.push_back(yLevel(levels.peak[i]));
    }
    if (x.empty())
        return {};
    const std::string path = svgLine(x, level);
    return "<path d=\"" + path + "L" + svgNumber(x.back()) + " " + svgNumber(timeBottom) + "H" + svgNumber(x.front()) +
           "Z\" fill=\"" + svgColour(2) + "\" fill-opacity=\"0.22\"/>\n<path d=\"" + path +
           "\" class=\"band\" stroke=\"" + svgColour(2) + "\"/>\n<path d=\"" + svgLine(x, peak) +
           "\" class=\"band\" stroke=\"" + svgColour(6) + "\"/>\n";
}

std::string CAnalysisPlot::legend() const
{
    std::string text;
    double x = left;
    const auto entry = [&](double y, const std::string& colour, const std::string& words, double room)
    {
        text += "<path d=\"M" + svgNumber(x) + " " + svgNumber(y - 4.0) + "h18\" stroke=\"" + colour +
                "\" stroke-width=\"3\"/>\n<text " + at("x y", x + 26.0, y) + " class=\"entry\">" + svgEscaped(words) +
                "</text>\n";
        x += room;
    };
    char words[96];
    std::snprintf(words, sizeof words, "spectrum, %s, %d points, %g dB per octave", spectrumTypeName(type), blockSize,
                  shown.slope);
    entry(bottom + 44.0, svgColour(0), words, 376.0);
    if (!second.empty())
        entry(bottom + 44.0, svgColour(1), "second spectrum", 170.0);
    entry(bottom + 44.0, "#1d2733", "response (right axis)", 200.0);
    x = left;
    entry(timeBottom + 44.0, svgColour(2), "output level", 140.0);
    entry(timeBottom + 44.0, svgColour(6), "peak", 100.0);
    return text;
}

std::string CAnalysisPlot::svg() const
{
    char note[96];
    std::snprintf(note, sizeof note, "%.1f s at %g kHz, group %d", shown.seconds, shown.sampleRate / 1000.0,
                  shown.group);
    return svgOpening("Spectrum, response and levels behind the MorvaEQ equalizer", note, width, height) + "<defs>\n" +
           svgClip("above", left, top, right, bottom) + svgClip("below", left, timeTop, right, timeBottom) +
           "</defs>\n" + frequencyAxes() + "<g clip-path=\"url(#above)\">\n" + spectra() + response() + "</g>\n" + timeAxes() +
           "<g clip-path=\"url(#below)\">\n" + history() + "</g>\n" + legend() + "</svg>\n";
}

std::string analysisAsSvg(const CAnalysis& analysis)
{
    return CAnalysisPlot(analysis).svg();
}

}
