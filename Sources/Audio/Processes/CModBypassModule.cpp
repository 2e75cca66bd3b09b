// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModBypassModule.h"

#include "Audio/Parameters/CAudioParamStorage.h"

namespace kor
{

void CModBypassModule::registerParams()
{
    enableSlot = registerParam(0);
    soloSlot = registerParam(1);
}

// Some group is in solo, and it is not this one.
bool CModBypassModule::mutesForSolo() const
{
    if (soloSlot == nullptr || paramValue(soloSlot) >= 0.5)
        return false;
    for (int i = 0; i < soloSlot->groupCount(); ++i)
    {
        if (soloSlot->getValue(i, element) >= 0.5)
            return true;
    }
    return false;
}

bool CModBypassModule::update()
{
    const bool didPass = pass;
    const bool wasMuted = mute;
    pass = !(paramValue(enableSlot) >= 0.5);
    mute = !pass && !isPortConnected(1);
    if (!mute && mutesForSolo())
    {
        pass = false;
        mute = true;
    }
    return pass != didPass || mute != wasMuted;
}

void CModBypassModule::startNeutral()
{
    pass = true;
    mute = false;
}

void CModBypassModule::process(const double*, double* out, int count)
{
    noise.fill(out, count);
}

int CModBypassModule::passThroughPort() const
{
    if (mute)
        return -1;
    return pass ? 0 : 1;
}

bool CModBypassModule::hasSameSettings(const CAudioModule& current) const
{
    const auto& other = static_cast<const CModBypassModule&>(current);
    return pass == other.pass && mute == other.mute;
}

}
