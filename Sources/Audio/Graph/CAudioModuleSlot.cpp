// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioModuleSlot.h"

#include <cassert>

namespace kor
{

void CAudioModuleSlot::start(std::unique_ptr<CAudioModule> module)
{
    assert(count == 0);
    modules[0] = std::move(module);
    count = 1;
}

void CAudioModuleSlot::fadeTo(std::unique_ptr<CAudioModule> module, int fadeSamples)
{
    assert(count > 0 && count <= maxFades);
    fades[count].start(module->latency(), fadeSamples);
    modules[count] = std::move(module);
    ++count;
}

int CAudioModuleSlot::finishedIndex() const noexcept
{
    for (int index = count - 1; index > 0; --index)
    {
        if (!fades[index].isRunning())
            return index;
    }
    return 0;
}

std::unique_ptr<CAudioModule> CAudioModuleSlot::dropOldest()
{
    assert(count > 0);
    std::unique_ptr<CAudioModule> oldest = std::move(modules[0]);
    for (int index = 1; index < count; ++index)
    {
        modules[index - 1] = std::move(modules[index]);
        fades[index - 1] = fades[index];
    }
    --count;
    return oldest;
}

}
