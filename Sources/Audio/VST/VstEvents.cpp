// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/VstEvents.h"

#include "Audio/Plugin/CAudioWrapper.h"

#include <algorithm>

namespace kor
{

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace
{

constexpr int pointsPerQueue = 32;

void takeQueue(IParamValueQueue& queue, int row, CAudioWrapper& wrapper) noexcept
{
    const int64 count = queue.getPointCount();
    const int64 taken = std::min<int64>(count, pointsPerQueue);
    for (int64 i = 0; i < taken; ++i)
    {
        const int64 point = i == taken - 1 ? count - 1 : i * count / taken;
        int32 offset = 0;
        ParamValue value = 0.0;
        if (queue.getPoint(static_cast<int32>(point), offset, value) == kResultTrue)
            wrapper.addEvent(offset, row, value);
    }
}

}

void takeEvents(IParameterChanges* changes, int rowCount, CAudioWrapper& wrapper) noexcept
{
    if (changes == nullptr)
        return;
    const int32 queues = changes->getParameterCount();
    for (int32 i = 0; i < queues; ++i)
    {
        IParamValueQueue* const queue = changes->getParameterData(i);
        if (queue != nullptr && queue->getParameterId() < static_cast<ParamID>(rowCount))
            takeQueue(*queue, static_cast<int>(queue->getParameterId()), wrapper);
    }
}

}
