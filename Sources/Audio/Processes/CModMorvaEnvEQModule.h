// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CMorvaEnvKernel.h"

namespace kor
{

// The detector of one channel of a dynamic band: compares the power of the filtered signal (port 0) with that of the
// dry one (port 1) at two speeds and says how far the band is to be open: 1 while the filter changes nothing, towards 0
// the more it changes. Inverted, 1 minus that.
class CModMorvaEnvEQModule : public CAudioModule
{
public:
    void registerParams() override;
    void reset() override;
    bool update() override;
    void processPorts(std::span<const double* const> in, double* out, int count) override;
    bool hasSameSettings(const CAudioModule& current) const override;

    /// The channel's share of a block. A dry signal that is not there is silent: `dry` is null then.
    CMorvaEnvRun run(std::span<const double* const> in, double* out) noexcept;

    /// True if both would put out the same for the same input from now on.
    bool isAlike(const CModMorvaEnvEQModule& other) const noexcept;
    void takeState(const CModMorvaEnvEQModule& other) noexcept { state = other.state; }

    /// The current routine. Modules with the same one may run side by side.
    const CMorvaEnvRoutine& routine() const noexcept { return *envProc; }

    /// After each block: an overflow, or what was no number, has left the state of no use; it starts anew.
    void recover() noexcept;

private:
    static constexpr int slotCount = 6;
    struct CValues
    {
        bool invert = false;
        double attack = 0.005; // seconds
        double release = 0.1;
        double dyn = 1.0; // factor
        double envAttack = 0.001; // seconds
        double envRelease = 0.01;

        bool operator==(const CValues&) const = default;
    };

    const CAudioParamStorage* slots[slotCount] = {};
    CValues values;
    bool inited = false; // has read its values
    CMorvaEnvSettings settings;
    CMorvaEnvState state;
    const CMorvaEnvRoutine* envProc = &plainMorvaEnvKernel().plain;
};

}
