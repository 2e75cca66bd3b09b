// SPDX-License-Identifier: GPL-3.0-or-later
// How a parameter takes on a listener. While processing or within a slice, the storage gets what the last flush made
// audible, so that a node made in the middle of a slice hears what its neighbours hear and the pending changes reach it
// with theirs. Otherwise it gets the stored values, and what is pending of them does not come again.
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamQueue.h"

namespace kor
{

namespace
{

void layOut(CAudioParamStorage& storage, const CAudioParamInfo& info, const CAudioParamStorage& source, int group)
{
    storage.clear(info);
    storage.setGroupCount(source.groupCount());
    CAudioParamRequest request;
    request.cut = true;
    request.elementSize = source.elementSize();
    request.type = source.type();
    request.items = &source.data();
    for (int g = 0; g < source.groupCount(); ++g)
    {
        if (group != everyIndex && g != group && !info.isSingleGroup)
            continue;                               // the binding never hears of this group
        request.group = g;
        request.elementCount = source.elementCount(g);
        request.values = source.values(g).data();
        storage.applyChange(request);
    }
}

}

void CAudioParam::addListener(CAudioParamListener& listener, CAudioParamStorage& storage, int group, int element)
{
    CAudioParamQueue& queue = *collector.queue;
    const CAudioParamInfo* definition = paramInfo.load(std::memory_order_acquire);
    const CAudioEnv* env = queue.environment();
    if (env != nullptr && (env->isInSlice || env->isProcessing.load(std::memory_order_relaxed)) &&
        definition != nullptr && definition == audibleInfo && definition->type == CAudioParamType::real)
    {
        queue.drainAudible(*this);
        layOut(storage, *definition, audible, group);
        queue.bind(*this, listener, storage, group, element, definition, 0);
        return;
    }
    CLockHolder hold(mutex);
    definition = paramInfo.load(std::memory_order_acquire);
    if (definition != nullptr)
        layOut(storage, *definition, current, group);
    queue.bind(*this, listener, storage, group, element, definition, sequence);
}

void CAudioParam::removeListener(CAudioParamListener& listener, CAudioParamStorage& storage)
{
    collector.queue->unbind(*this, listener, storage);
}

}
