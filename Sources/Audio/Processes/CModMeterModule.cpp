// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMeterModule.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Other/Interface/CAudioVizDataMeter.h"

namespace kor
{

void CModMeterModule::prepare()
{
    CModStatsModule::prepare();
    if (context().viz != nullptr)
        slot = &context().viz->getSlot(nodeName());
}

void CModMeterModule::endFrame(double time)
{
    const CMeterReading reading = meter().endFrame();
    if (slot == nullptr)
        return;
    CAudioVizRef<CAudioVizDataMeter> data = context().viz->makeMeter(*slot);
    if (!data)
        return;
    data->group = group;
    data->element = element;
    data->channel = channel;
    data->time = time - 0.5 * meter().frameLength() / sampleRate;
    data->value = reading.value;
    data->peak = reading.peak;
    context().viz->post(*slot, std::move(data));
}

}
