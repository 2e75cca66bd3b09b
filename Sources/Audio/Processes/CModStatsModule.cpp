// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModStatsModule.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Processes/CModMeterDef.h"

namespace kor
{

void CModStatsModule::registerParams()
{
    for (int i = 0; i < slotCount; ++i)
        slots[i] = registerParam(i);
}

void CModStatsModule::prepare()
{
    ballistics.prepare(static_cast<const CModMeterDef&>(definition()).kind(), sampleRate, context().env.vizFps);
}

bool CModStatsModule::update()
{
    const CMeterSettings fallback;
    CMeterSettings next;
    next.peakTime = paramValue(slots[0], fallback.peakTime);
    next.rmsTime = paramValue(slots[1], fallback.rmsTime);
    next.gain = paramValue(slots[2], fallback.gain);
    next.biasTime = paramValue(slots[3], fallback.biasTime);
    next.useBias = paramValue(slots[4]) >= 0.5;
    next.release = paramValue(slots[5], fallback.release);
    next.peakGain = paramValue(slots[6], fallback.peakGain);
    next.rmsTime2 = paramValue(slots[7], fallback.rmsTime2);
    next.release2 = paramValue(slots[8], fallback.release2);
    next.useTime2 = paramValue(slots[9]) >= 0.5;
    if (next == settings)
        return false;
    settings = next;
    ballistics.update(settings);
    return true;
}

}
