// SPDX-License-Identifier: GPL-3.0-or-later
#include "CAnalysis.h"

#include "CLiveClient.h"

#include "Other/Interface/CAudioVizDataMeter.h"
#include "Other/Interface/CAudioVizDataSpectrum.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

constexpr const char* spectrumProcess = "plugin.modMain.modSpectrum";
constexpr const char* secondProcess = "plugin.modMain.modSpectrum-sec";
constexpr const char* outputProcess = "plugin.modMain.modMeterOut";
constexpr const char* changeProcess = "plugin.modMain.modMeterIODiff";
constexpr const char* bandProcess = "plugin.modMain.modMorvaEQ.modFilter.modMeterEnv";

}

CError CAnalysis::listen(CLiveClient& client, int ofGroup, bool wantsSecond)
{
    group = ofGroup;
    for (const char* process : {spectrumProcess, outputProcess, changeProcess, bandProcess})
        KOR_TRY(client.listen(*this, process, group));
    if (wantsSecond)
        KOR_TRY(client.listen(*this, secondProcess, group));
    return {};
}

void CAnalysis::onVizData(const CStringBuf& name, const CAudioVizData& data)
{
    if (const auto* const spectrum = dynamic_cast<const CAudioVizDataSpectrum*>(&data))
    {
        const bool isSecond = name.equals(secondProcess);
        CSpectrumFrame& frame = latest[{isSecond, data.channel}];
        frame = {.time = data.time,
                 .channel = data.channel,
                 .isSecond = isSecond,
                 .blockSize = spectrum->blockSize,
                 .rate = spectrum->sampleRate,
                 .type = spectrum->type,
                 .averageTime = spectrum->averageTime,
                 .magnitudes = {spectrum->values.begin(), spectrum->values.end()}};
    }
    else if (const auto* const meter = dynamic_cast<const CAudioVizDataMeter*>(&data))
    {
        const bool isBand = name.equals(bandProcess);
        CMeters& meters = isBand ? bandMeters : name.equals(outputProcess) ? outputMeters : changeMeters;
        CMeterHistory& history = meters[{data.channel, isBand ? data.element : 0}];
        history.times.push_back(data.time);
        history.levels.push_back(meter->value);
        history.peaks.push_back(meter->peak);
    }
}

void CAnalysis::keepSpectra()
{
    for (const auto& [key, frame] : latest)
        kept.push_back(frame);
}

const char* spectrumTypeName(int type)
{
    constexpr const char* names[] = {"RT Avg", "Max", "Avg", "RT Max"};
    return type >= 0 && type < 4 ? names[type] : "";
}

CSpectrumFrame foldedSpectrum(const std::vector<const CSpectrumFrame*>& channels)
{
    if (channels.empty())
        return {};
    CSpectrumFrame folded = *channels.front();
    const bool isMaximum = folded.type == 1 || folded.type == 3;
    int count = 1;
    for (const CSpectrumFrame* channel : channels)
    {
        if (channel == channels.front() || channel->blockSize != folded.blockSize || channel->rate != folded.rate ||
            channel->magnitudes.size() != folded.magnitudes.size())
            continue;
        ++count;
        for (std::size_t bin = 0; bin < folded.magnitudes.size(); ++bin)
        {
            double& sum = folded.magnitudes[bin];
            const double other = channel->magnitudes[bin];
            sum = isMaximum ? std::max(sum, other) : sum + other;
        }
    }
    if (!isMaximum)
        for (double& magnitude : folded.magnitudes)
            magnitude /= count;
    return folded;
}

std::vector<double> spectrumColumns(const CSpectrumFrame& frame, double lowHz, double highHz, int columns, double slope)
{
    std::vector<double> drawn;
    const std::size_t bins = frame.magnitudes.size();
    if (bins < 2 || !(frame.rate > 0.0) || columns < 2)
        return drawn;
    const auto dbAt = [&](std::size_t bin) { return 20.0 * std::log10(frame.magnitudes[bin] + 1e-20); };
    const double binsPerHz = frame.blockSize / frame.rate;
    const double ratio = std::pow(highHz / lowHz, 1.0 / (columns - 1));
    const double level = 10.0 * std::log10(frame.blockSize / 2048.0);
    for (int column = 0; column < columns; ++column)
    {
        const double hz = lowHz * std::pow(ratio, column);
        const double centre = hz * binsPerHz;
        if (centre > static_cast<double>(bins - 1))
            break;
        const auto first = static_cast<std::size_t>(std::ceil(centre / std::sqrt(ratio)));
        const auto last = std::min(static_cast<std::size_t>(centre * std::sqrt(ratio)), bins - 1);
        double db;
        if (first <= last && centre * (ratio - 1.0) >= 1.0)
        {
            db = dbAt(first);
            for (std::size_t bin = first + 1; bin <= last; ++bin)
                db = std::max(db, dbAt(bin));
        }
        else
        {
            const auto below = std::min(static_cast<std::size_t>(centre), bins - 2);
            const double share = centre - static_cast<double>(below);
            db = dbAt(below) + share * (dbAt(below + 1) - dbAt(below));
        }
        drawn.push_back(db + slope * std::log2(hz / 1000.0) + level);
    }
    return drawn;
}

}
