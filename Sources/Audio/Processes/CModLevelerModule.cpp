// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModLevelerModule.h"

#include "Audio/Processes/CBandKernel.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kor
{

void CModLevelerModule::registerParams()
{
    modeSlot = registerParam(0);
    mixSlot = registerParam(1);
    linkingSlot = registerParam(2);
}

CModLevelerModule::CShare CModLevelerModule::shareOf(double value) noexcept
{
    constexpr double epsilon = std::numeric_limits<double>::epsilon();
    if (std::abs(value) <= epsilon)
        return CShare::none;
    return std::abs(value - 1.0) <= epsilon ? CShare::all : CShare::part;
}

bool CModLevelerModule::update()
{
    CSettings next;
    next.isMinimum = std::nearbyint(paramValue(modeSlot)) != 0.0;
    next.mix = paramValue(mixSlot);
    next.mean = shareOf(next.mix);
    const double linking = paramValue(linkingSlot, 1.0);
    next.link = 1.0 - linking;
    next.linking = shareOf(linking);
    if (next == settings)
        return false;
    settings = next;
    return true;
}

bool CModLevelerModule::hasSameSettings(const CAudioModule& current) const
{
    return settings == static_cast<const CModLevelerModule&>(current).settings;
}

void CModLevelerModule::processChannels(std::span<const double* const> in, std::span<double* const> out, int count)
{
    if (settings.linking == CShare::all)
    {
        for (int at = 0; at < count; at += sliceLength)
            findLevel(in, at, out[0] + at, std::min(sliceLength, count - at));
        return;
    }
    // Outputs may be inputs, so the level of a slice is complete before any of it is written.
    double level[sliceLength];
    for (int at = 0; at < count; at += sliceLength)
    {
        const int length = std::min(sliceLength, count - at);
        findLevel(in, at, level, length);
        for (std::size_t c = 0; c < in.size(); ++c)
            bandKernel().blend(in[c] + at, level, settings.link, out[c] + at, length);
    }
}

void CModLevelerModule::findLevel(std::span<const double* const> in, int from, double* level, int count) const noexcept
{
    if (settings.mean == CShare::none)
    {
        findExtreme(in, from, level, count);
    }
    else if (settings.mean == CShare::all)
    {
        findMean(in, from, level, count);
    }
    else
    {
        double mean[sliceLength];
        findMean(in, from, mean, count);
        findExtreme(in, from, level, count);
        bandKernel().blend(mean, level, settings.mix, level, count);
    }
}

void CModLevelerModule::findExtreme(std::span<const double* const> in, int from, double* level,
                                    int count) const noexcept
{
    const auto fold = settings.isMinimum ? bandKernel().smaller : bandKernel().larger;
    fold(in[0] + from, in[in.size() > 1 ? 1 : 0] + from, level, count);
    for (std::size_t c = 2; c < in.size(); ++c)
        fold(level, in[c] + from, level, count);
}

void CModLevelerModule::findMean(std::span<const double* const> in, int from, double* level, int count) noexcept
{
    const double share = 1.0 / static_cast<double>(in.size());
    bandKernel().scale(in[0] + from, share, level, count);
    for (std::size_t c = 1; c < in.size(); ++c)
        bandKernel().addScaled(in[c] + from, share, level, count);
}

}
