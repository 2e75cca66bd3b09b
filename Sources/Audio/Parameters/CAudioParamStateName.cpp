// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamStateName.h"

#include <atomic>

namespace kor
{

namespace
{
std::atomic<CAudioParamNameListFinder> nameListFinder{nullptr};
}

CArray<CAudioParamStateName> parseStateNameList(const CStringBuf& text)
{
    CArray<CAudioParamStateName> names;
    if (text.isEmpty())
        return names;
    CArray<CStringBuf> states;
    text.split(states, ';', false);
    if (states.size() > 1 && states.back().isEmpty())       // behind a last ";"
        states.pop_back();
    for (const CStringBuf& state : states)
    {
        const int bar = state.findChar('|');
        if (bar < 0)
            names.push_back({state, {}});
        else
            names.push_back({state.substr(0, bar), state.substr(bar + 1)});
    }
    return names;
}

void setAudioParamNameListFinder(CAudioParamNameListFinder finder) noexcept
{
    nameListFinder.store(finder, std::memory_order_release);
}

bool hasAudioParamNameListFinder() noexcept
{
    return nameListFinder.load(std::memory_order_acquire) != nullptr;
}

const CAudioParamNameList* findAudioParamNameList(const CStringBuf& listName)
{
    const CAudioParamNameListFinder finder = nameListFinder.load(std::memory_order_acquire);
    return finder != nullptr ? finder(listName) : nullptr;
}

}
