// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CParameterChanges.h"

namespace kor
{

using namespace Steinberg;

void CParameterChanges::reserve(int parameterCount)
{
    queues = std::make_unique<CParamValueQueue[]>(static_cast<std::size_t>(parameterCount));
    for (int i = 0; i < parameterCount; ++i)
        queues[static_cast<std::size_t>(i)].reserve(pointsPerQueue);
    capacity = parameterCount;
    used = 0;
}

int CParameterChanges::indexOf(Vst::ParamID id) const noexcept
{
    for (int i = 0; i < used; ++i)
        if (queues[static_cast<std::size_t>(i)].getParameterId() == id)
            return i;
    return -1;
}

int CParameterChanges::pointCount(Vst::ParamID id) const noexcept
{
    const int index = indexOf(id);
    return index < 0 ? 0 : queues[static_cast<std::size_t>(index)].getPointCount();
}

bool CParameterChanges::add(Vst::ParamID id, int offset, double value)
{
    int32 index = 0;
    Vst::IParamValueQueue* const queue = addParameterData(id, index);
    return queue != nullptr && queue->addPoint(offset, value, index) == kResultOk;
}

Vst::IParamValueQueue* CParameterChanges::getParameterData(int32 index)
{
    return index >= 0 && index < used ? &queues[static_cast<std::size_t>(index)] : nullptr;
}

Vst::IParamValueQueue* CParameterChanges::addParameterData(const Vst::ParamID& id, int32& index)
{
    index = indexOf(id);
    if (index < 0)
    {
        if (used == capacity)
            return nullptr;
        index = used++;
        queues[static_cast<std::size_t>(index)].begin(id);
    }
    return &queues[static_cast<std::size_t>(index)];
}

}
