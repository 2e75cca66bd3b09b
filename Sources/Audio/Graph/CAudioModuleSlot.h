// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Graph/CAudioModuleFade.h"

#include <memory>

namespace kor
{

// One channel's place in a terminal: the module that sounds and, during crossfades, those that are to take over, each
// on the result of the one before. module(0) is the oldest, newest() the one that stays.
class CAudioModuleSlot
{
public:
    static constexpr int maxFades = 4;

    int channel = 0;
    int group = 0;
    bool isNew = false; // filled in this update
    bool isWaiting = false; // values have changed beyond what the running fades bring

    void start(std::unique_ptr<CAudioModule> module);

    /// Fades from the newest module to `module`; there are fewer than maxFades fades. fadeSamples: 1 or more. The old
    /// module sounds alone until `module` has put out its latency.
    void fadeTo(std::unique_ptr<CAudioModule> module, int fadeSamples);

    int moduleCount() const noexcept { return count; }
    int fadeCount() const noexcept { return count > 0 ? count - 1 : 0; }
    CAudioModule& module(int index) const noexcept { return *modules[index]; }
    CAudioModule& newest() const noexcept { return *modules[count - 1]; }

    /// The fade that brings in module `index`, 1 or more.
    CAudioModuleFade& fade(int index) noexcept { return fades[index]; }

    /// Index of the newest module whose fade has ended: all before it are to go. 0 when there is none.
    int finishedIndex() const noexcept;

    /// Takes the oldest module away.
    std::unique_ptr<CAudioModule> dropOldest();

private:
    std::unique_ptr<CAudioModule> modules[maxFades + 1];
    CAudioModuleFade fades[maxFades + 1];
    int count = 0;
};

}
