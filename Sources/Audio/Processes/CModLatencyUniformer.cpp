// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModLatencyUniformer.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Processes/CModLatencyUniformerDef.h"
#include "Audio/Processes/CModLatencyUniformerModule.h"

#include <cstdio>

namespace kor
{

std::unique_ptr<CAudioModule> CModLatencyUniformer::createModule()
{
    return std::make_unique<CModLatencyUniformerModule>(context().pool);
}

int CModLatencyUniformer::findPadding()
{
    const double rate = inputs().sampleRate();
    const int latency = inputs().latency();
    const int total = static_cast<const CModLatencyUniformerDef&>(definition()).samplesAt(rate);
    char message[128];
    if (total < 0)
        std::snprintf(message, sizeof message, "Unsupported sample rate %f in LatencyUniformer", rate);
    else if (latency > total)
        std::snprintf(message, sizeof message, "Too high latency %i at sample rate %f in LatencyUniformer", latency,
                      rate);
    else
        return total - latency;
    report(KOR_FAIL(message));
    return 0;
}

void CModLatencyUniformer::update()
{
    CAudioProcessTerminalBase::update();
    if (!change.any())
        return;
    const int padding = findPadding();
    for (const CAudioPortChannel& entry : inputs().port(0).channels())
    {
        if (CAudioModule* module = findModule(entry.channel.number))
            static_cast<CModLatencyUniformerModule*>(module)->setPadding(padding);
    }
}

}
