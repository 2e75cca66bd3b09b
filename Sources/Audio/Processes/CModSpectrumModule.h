// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CSpectrumAnalyser.h"

namespace kor
{

class CAudioVizSlot;

/// The spectrum of one channel, posted under the node's name, and a second one under that name with "-sec" behind it.
class CModSpectrumModule : public CAudioModule
{
public:
    void registerParams() override;
    void prepare() override;
    void reset() override;
    bool update() override;

    /// Takes `count` samples, 1 or more.
    void listen(const double* samples, int count);

    const CSpectrumAnalyser& spectrum() const noexcept { return analyser; }

private:
    void post(CAudioVizSlot& to, bool second);

    static constexpr int slotCount = 7;
    const CAudioParamStorage* slots[slotCount] = {};
    CSpectrumAnalyser analyser;
    CAudioVizSlot* slot = nullptr; // null without a collector, like the other
    CAudioVizSlot* secSlot = nullptr;
};

}
