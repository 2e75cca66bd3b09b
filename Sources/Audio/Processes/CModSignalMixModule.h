// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"

namespace kor
{

// The place where a dynamic band slides between its filter and the dry signal: port 0 is wet, port 1 dry, port 2 the
// position, 1 for all wet. The position is not limited: beyond 1 the band overshoots what its filter does.
class CModSignalMixModule : public CAudioModule
{
public:
    void registerParams() override;
    bool update() override;
    void processPorts(std::span<const double* const> in, double* out, int count) override;
    int passThroughPort() const override { return isWired ? -1 : 0; }
    bool hasSameSettings(const CAudioModule& current) const override;

    /// The gain behind the mix. `gain` scaled in decibels by dbMult, plus dbMult2 of its decibels' size.
    static double mixGain(double gain, double dbMult, double dbMult2) noexcept;

private:
    static bool isUnity(double gain) noexcept;

    const CAudioParamStorage* gainSlot = nullptr;
    const CAudioParamStorage* dbMultSlot = nullptr;
    const CAudioParamStorage* dbMult2Slot = nullptr;
    double gain = 1.0;
    bool hasGain = false;
    bool isWired = true; // ports 1 and 2 have a link
};

}
