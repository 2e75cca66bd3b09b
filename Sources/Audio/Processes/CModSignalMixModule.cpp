// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModSignalMixModule.h"

#include "Audio/Processes/CBandKernel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace kor
{

void CModSignalMixModule::registerParams()
{
    gainSlot = registerParam(0);
    dbMultSlot = registerParam(1);
    dbMult2Slot = registerParam(2);
}

bool CModSignalMixModule::isUnity(double gain) noexcept
{
    return std::abs(gain - 1.0) <= std::numeric_limits<double>::epsilon();
}

double CModSignalMixModule::mixGain(double gain, double dbMult, double dbMult2) noexcept
{
    if (isUnity(gain))
        return gain;
    constexpr double decibelsPerNeper = 20.0 / std::numbers::ln10;
    // A gain of zero counts as the smallest, so that its decibels are a number.
    const double decibels = decibelsPerNeper * std::log(std::max(gain, std::numeric_limits<double>::min()));
    return std::exp((decibels * dbMult + std::abs(decibels) * dbMult2) / decibelsPerNeper);
}

bool CModSignalMixModule::update()
{
    const double nextGain = mixGain(paramValue(gainSlot, 1.0), paramValue(dbMultSlot, 1.0), paramValue(dbMult2Slot));
    const bool nextWired = isPortConnected(1) && isPortConnected(2);
    if (nextGain == gain && nextWired == isWired)
        return false;
    gain = nextGain;
    hasGain = !isUnity(gain);
    isWired = nextWired;
    return true;
}

bool CModSignalMixModule::hasSameSettings(const CAudioModule& current) const
{
    const auto& other = static_cast<const CModSignalMixModule&>(current);
    return gain == other.gain && isWired == other.isWired;
}

void CModSignalMixModule::processPorts(std::span<const double* const> in, double* out, int count)
{
    const double* wet = in[0];
    const double* dry = in.size() > 1 ? in[1] : nullptr;
    const double* position = in.size() > 2 ? in[2] : nullptr;
    if (dry == nullptr || position == nullptr)
        process(wet, out, count);
    else if (hasGain)
        bandKernel().mixWithGain(wet, dry, position, gain, out, count);
    else
        bandKernel().mix(wet, dry, position, out, count);
}

}
