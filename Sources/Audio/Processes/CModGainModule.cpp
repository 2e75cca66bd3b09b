// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModGainModule.h"

#include <cmath>
#include <limits>

namespace kor
{

void CModGainModule::registerParams()
{
    gainSlot = registerParam(0);
    muteSlot = registerParam(1);
    invertSlot = registerParam(2);
}

bool CModGainModule::update()
{
    const double before = gain;
    const bool wasMuted = isMuted;
    isMuted = paramValue(muteSlot) >= 0.5;
    gain = isMuted ? 0.0 : paramValue(gainSlot, 1.0);
    if (paramValue(invertSlot) >= 0.5)
        gain = -gain;
    isScaling = std::abs(gain - 1.0) > std::numeric_limits<double>::epsilon();
    return gain != before || isMuted != wasMuted;
}

void CModGainModule::process(const double* in, double* out, int count)
{
    if (isMuted)
    {
        noise.fill(out, count);
        return;
    }
    const double factor = gain;
    for (int i = 0; i < count; ++i)
        out[i] = in[i] * factor;
}

bool CModGainModule::hasSameSettings(const CAudioModule& current) const
{
    const auto& other = static_cast<const CModGainModule&>(current);
    return gain == other.gain && isMuted == other.isMuted;
}

}
