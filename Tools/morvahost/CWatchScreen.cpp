// SPDX-License-Identifier: GPL-3.0-or-later
#include "CWatchScreen.h"

#include "SvgText.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace kor
{

namespace
{

constexpr int rows = 12;                            // of the spectrum, 6 dB each
constexpr double rowDb = 6.0;
constexpr int margin = 6;                           // room for what stands beside the axes
constexpr double lowestLevel = -60.0;               // dB
constexpr double lowHz = 20.0;

double decibels(double magnitude)
{
    return magnitude > 0.0 ? 20.0 * std::log10(magnitude) : -HUGE_VAL;
}

std::string shownLevel(double db)
{
    char text[16];
    if (db < -99.9)
        return "  -inf";
    std::snprintf(text, sizeof text, "%6.1f", std::min(db, 999.0));
    return text;
}

// The part of a cell that is filled, 0 to 1, from the left or from below.
std::string cell(double share, bool isUpright, bool hasBlocks)
{
    static const char* const across[] = {" ", "▏", "▎", "▍", "▌", "▋", "▊", "▉", "█"};
    static const char* const up[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    if (!hasBlocks)
        return share >= 0.5 ? "#" : " ";
    const long eighths = std::clamp(std::lround(8.0 * share), 0L, 8L);
    return (isUpright ? up : across)[eighths];
}

std::string bar(double db, double peakDb, int length, bool hasBlocks)
{
    const auto place = [&](double level) { return length * (level - lowestLevel) / -lowestLevel; };
    const double filled = place(std::clamp(db, lowestLevel, 0.0));
    const int peak = peakDb > lowestLevel ? std::min(static_cast<int>(place(std::min(peakDb, 0.0))), length - 1) : -1;
    std::string text;
    for (int i = 0; i < length; ++i)
        text += i == peak && filled < i + 0.5 ? "|" : cell(filled - i, false, hasBlocks);
    return text;
}

}

CScreenKind CScreenKind::ofTerminal()
{
    CScreenKind kind;
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        kind.width = std::clamp<int>(size.ws_col, 40, 160);
    std::string locale;
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"})
        if (const char* const value = std::getenv(name); value != nullptr && *value != '\0' && locale.empty())
            locale = value;
    std::ranges::transform(locale, locale.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    kind.hasBlocks = locale.find("utf-8") != std::string::npos || locale.find("utf8") != std::string::npos;
    return kind;
}

std::vector<std::string> watchScreen(const CAnalysis& analysis, double seconds, const CScreenKind& kind)
{
    std::vector<std::string> lines;
    char text[64];
    std::snprintf(text, sizeof text, "group %d   %.1f of %.1f s", analysis.group, seconds, analysis.seconds);
    lines.emplace_back(text);
    for (const auto& [key, history] : analysis.outputs())
    {
        const double level = decibels(history.levels.back());
        const double peak = decibels(history.peaks.back());
        std::snprintf(text, sizeof text, "out %-2d", key.channel + 1);
        lines.push_back(text + bar(level, peak, kind.width - margin - 24, kind.hasBlocks) + shownLevel(level) +
                        " peak" + shownLevel(peak) + " dB");
    }
    lines.emplace_back();

    std::vector<const CSpectrumFrame*> channels;
    for (const auto& [key, frame] : analysis.newest())
        if (!key.first)
            channels.push_back(&frame);
    const int columns = kind.width - margin - 1;
    const double highHz = std::min(20000.0, 0.5 * analysis.sampleRate);
    const std::vector<double> spectrum =
        spectrumColumns(foldedSpectrum(channels), lowHz, highHz, columns, analysis.slope);
    for (int row = 0; row < rows; ++row)
    {
        const double below = -rowDb * (row + 1);
        std::snprintf(text, sizeof text, row % 2 == 1 ? "%4.0f " : "     ", below);
        std::string line = text;
        for (const double db : spectrum)
            line += cell((db - below) / rowDb, true, kind.hasBlocks);
        lines.push_back(line);
    }
    std::string axis(static_cast<std::size_t>(kind.width), ' ');
    for (const CSvgGridLine& tick : svgFrequencyGrid(lowHz, highHz))
    {
        const auto at = static_cast<std::size_t>(margin - 1 + std::log(tick.hz / lowHz) / std::log(highHz / lowHz) *
                                                                  (columns - 1));
        if (!tick.label.empty() && at + tick.label.size() <= axis.size() && axis[at] == ' ' && axis[at - 1] == ' ')
            axis.replace(at, tick.label.size(), tick.label);
    }
    lines.push_back(axis.substr(0, axis.find_last_not_of(' ') + 1));
    return lines;
}

std::string watchLine(const CAnalysis& analysis, double seconds)
{
    char text[64];
    std::snprintf(text, sizeof text, "%7.1f s", seconds);
    std::string line = text;
    for (const auto& [key, history] : analysis.outputs())
    {
        std::snprintf(text, sizeof text, "   out %d", key.channel + 1);
        line += text + shownLevel(decibels(history.levels.back())) + " peak" +
                shownLevel(decibels(history.peaks.back()));
    }
    return analysis.outputs().empty() ? line : line + " dB";
}

}
