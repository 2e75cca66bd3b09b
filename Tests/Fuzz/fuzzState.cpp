// SPDX-License-Identifier: GPL-3.0-or-later
// Whole states, applied to the parameters of an equalizer, undone and redone.
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Fuzz/FuzzTargets.h"

namespace kor::test
{
namespace
{

CAudioInstance& equalizer()
{
    static CAudioInstance& made = *[]
    {
        auto* const instance = new CAudioInstance;
        require(!instance->create(), "an equalizer is made");
        return instance;
    }();
    return made;
}

CAudioParamUndo& history(const CAudioInstance& instance)
{
    for (CObject* object : instance.registry().parent()->children())
        if (auto* const undo = dynamic_cast<CAudioParamUndo*>(object))
            return *undo;
    require(false, "the equalizer has a history");
    std::abort();
}

CByteArray bytesOf(CAudioParamRegistry& registry, CAudioPresetSource source, int index)
{
    CWriteSeqBuffer out;
    require(!registry.acquirePreset(source, index, everyIndex, out), "values can be written");
    return out.getContents();
}

// The whole state and, apart from it, what the dynamics mode selects.
std::pair<CByteArray, CByteArray> stateOf(const CAudioInstance& instance)
{
    return {bytesOf(instance.registry(), CAudioPresetSource::session, -1),
            bytesOf(*instance.findRegistry("q7ne1"), CAudioPresetSource::session, -1)};
}

}

int fuzzState(const unsigned char* data, std::size_t size)
{
    CAudioInstance& instance = equalizer();
    CAudioParamUndo& undo = history(instance);
    undo.swapHistory(nullptr);
    const auto before = stateOf(instance);
    CMemoryReader stream(data, size);
    const bool isLoaded = !instance.registry().activatePreset(stream, CAudioPresetScope::storableAndPersistent);
    const auto after = stateOf(instance);

    CArray<CStringBuf> labels;
    int position = 0;
    undo.getHistory(labels, position);
    require(position > 0 || after == before, "what has changed can be undone");
    undo.setPosition(0);
    require(stateOf(instance) == before, "undo gives the state before");
    undo.setPosition(position);
    require(stateOf(instance) == after, "redo gives the state behind");

    CMemoryReader again(after.first);
    require(!instance.registry().activatePreset(again, CAudioPresetScope::storableAndPersistent, everyIndex,
                                                CAudioPresetUndo::none),
            "a captured state can be applied");
    require(stateOf(instance).first == after.first, "a captured state comes back the same");
    return isLoaded;
}

std::vector<std::string> stateSeeds()
{
    std::vector<std::string> seeds;
    for (int i = 0; i < equalizer().registry().getProgramCount(); ++i)
    {
        const CByteArray bytes = bytesOf(equalizer().registry(), CAudioPresetSource::factory, i);
        seeds.emplace_back(bytes.begin(), bytes.end());
    }
    return seeds;
}

}
