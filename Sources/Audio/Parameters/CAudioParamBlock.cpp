// SPDX-License-Identifier: GPL-3.0-or-later
// A parameter's values as one block of a preset: the definition's name, which readers ignore, and the stored form.
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Core/CLog.h"

#include <optional>

namespace kor
{

CError CAudioParam::save(COutputStream& stream, const CStringBuf& definitionName, int group) const
{
    KOR_TRY(stream.writeString(definitionName));
    CLockHolder hold(mutex);
    KOR_TRY(current.save(stream, group));
    return {};
}

CError CAudioParam::readBlock(CInputStream& stream, CAudioParamStorage& values) const
{
    CStringBuf path;
    KOR_TRY(stream.readString(path));
    const CAudioParamInfo* definition = paramInfo.load(std::memory_order_acquire);
    if (definition == nullptr)
        return {};
    CAudioParamStorage loaded;
    loaded.clear(*definition);
    loaded.setGroupCount(groupCountOf(*definition));
    KOR_TRY(loaded.load(stream));
    loaded.clampTo(*definition);
    values = std::move(loaded);
    return {};
}

CError CAudioParam::load(CInputStream& stream, const CAudioParamLoadTarget& target, CAudioParamUndoContext* undo)
{
    CAudioParamStorage loaded;
    KOR_TRY(readBlock(stream, loaded));
    if (loaded.groupCount() == 0)
        return {};

    std::optional<CAudioParamBatch> batch;
    if (CAudioParamChangeScope::currentBatch() == nullptr)
        batch.emplace(collector);
    CAudioParamChangeScope scope(batch ? &*batch : nullptr);
    CLockHolder hold(mutex);
    if (target.group != everyIndex)
    {
        loadList(loaded, target, undo);
        return {};
    }
    for (int g = 0; g < loaded.groupCount(); ++g)
    {
        CAudioParamRequest request = requestFor(g, 0, loaded.elementCount(g));
        request.cut = true;
        request.values = loaded.values(g).data();
        request.items = &loaded.data();
        write(request, target.toDefaults, undo);
    }
    return {};
}

// The block's first group, or its first element, goes to a place of its own.
void CAudioParam::loadList(const CAudioParamStorage& loaded, const CAudioParamLoadTarget& target,
                           CAudioParamUndoContext* undo)
{
    const bool isWhole = target.element == everyIndex;
    if (target.group == allGroups && target.element > 0 && target.element != current.elementCount(0))
    {
        CLog::write("Unexpected LoadElement " + CStringBuf::fromInt(target.element) + " (expected " +
                        CStringBuf::fromInt(current.elementCount(0)) + ").",
                    name);
        return;
    }
    if (!isWhole && loaded.elementCount(0) == 0)
        return;
    CAudioParamRequest request =
        requestFor(target.group, isWhole ? 0 : target.element, isWhole ? loaded.elementCount(0) : 1);
    request.cut = isWhole || target.isLast;
    request.values = loaded.values(0).data();
    request.items = &loaded.data();
    write(request, target.toDefaults, undo);
}

}
