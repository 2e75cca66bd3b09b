// SPDX-License-Identifier: GPL-3.0-or-later
#include "SvgText.h"

#include <cmath>
#include <cstdio>
#include <iterator>

namespace kor
{

std::string svgNumber(double value)
{
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%.2f", value == 0.0 ? 0.0 : value);
    return buffer;
}

std::string svgEscaped(const std::string& text)
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

std::string svgSigned(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, value > 0.0 ? "+%g" : value < 0.0 ? "\u2212%g" : "0", std::abs(value));
    return text;
}

std::string svgLine(const std::vector<double>& x, const std::vector<double>& y)
{
    constexpr double invisible = 0.02;
    if (x.empty())
        return {};
    const auto isStraight = [&](std::size_t from, std::size_t to)
    {
        for (std::size_t i = from + 1; i < to; ++i)
        {
            const double share = (x[i] - x[from]) / (x[to] - x[from]);
            if (std::abs(y[from] + share * (y[to] - y[from]) - y[i]) > invisible)
                return false;
        }
        return true;
    };
    std::string path = "M" + svgNumber(x[0]) + " " + svgNumber(y[0]);
    std::size_t kept = 0;
    for (std::size_t i = 1; i < x.size(); ++i)
        if (i + 1 == x.size() || !isStraight(kept, i + 1))
        {
            path += "L" + svgNumber(x[i]) + " " + svgNumber(y[i]);
            kept = i;
        }
    return path;
}

std::vector<CSvgGridLine> svgFrequencyGrid(double lowHz, double highHz)
{
    std::vector<CSvgGridLine> lines;
    for (double decade = std::pow(10.0, std::floor(std::log10(lowHz))); decade <= highHz; decade *= 10.0)
        for (int digit = 1; digit <= 9; ++digit)
        {
            const double hz = decade * digit;
            if (hz < lowHz * 0.9999 || hz > highHz * 1.0001)
                continue;
            CSvgGridLine line{.hz = hz, .isDecade = digit == 1, .label = {}};
            if (digit == 1 || digit == 2 || digit == 5)
            {
                char text[32];
                std::snprintf(text, sizeof text, hz < 1000.0 ? "%g" : "%gk", hz < 1000.0 ? hz : hz / 1000.0);
                line.label = text;
            }
            lines.push_back(line);
        }
    return lines;
}

const char* svgColour(std::size_t index)
{
    constexpr const char* colours[] = {"#2f6fbb", "#d0662b", "#2e8b62", "#a24a9c",
                                       "#b3882a", "#3b93a8", "#b8434e", "#6b6f2f"};
    return colours[index % std::size(colours)];
}

std::string svgOpening(const std::string& title, const std::string& note, double width, double height)
{
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + svgNumber(width) + " " + svgNumber(height) +
           "\" width=\"" + svgNumber(width) + "\" height=\"" + svgNumber(height) + "\" role=\"img\">\n<title>" +
           svgEscaped(title) + "</title>\n"
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
           "</style>\n<rect x=\"0.5\" y=\"0.5\" width=\"" + svgNumber(width - 1.0) + "\" height=\"" +
           svgNumber(height - 1.0) + "\" rx=\"12\" fill=\"#fcfcfb\" stroke=\"#dfe2e5\"/>\n<text x=\"" +
           svgNumber(svgLeft) + "\" y=\"34\" class=\"title\">MorvaEQ</text>\n<text x=\"" + svgNumber(svgRight) +
           "\" y=\"34\" text-anchor=\"end\" class=\"note\">" + svgEscaped(note) + "</text>\n";
}

std::string svgClip(const std::string& id, double left, double top, double right, double bottom)
{
    return "<clipPath id=\"" + id + "\"><rect x=\"" + svgNumber(left) + "\" y=\"" + svgNumber(top) + "\" width=\"" +
           svgNumber(right - left) + "\" height=\"" + svgNumber(bottom - top) + "\"/></clipPath>\n";
}

}
