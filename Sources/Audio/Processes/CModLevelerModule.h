// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"

namespace kor
{

// Links levels: from all channels one common level is made, the extreme of them or their mean or a mix of both, and
// every channel moves towards it. Without linking the inputs pass as they are; fully linked, all channels get one and
// the same buffer, which lets what follows compute once for all of them.
class CModLevelerModule : public CAudioModule
{
public:
    void registerParams() override;
    bool update() override;
    void processChannels(std::span<const double* const> in, std::span<double* const> out, int count) override;
    int passThroughPort() const override { return settings.linking == CShare::none ? 0 : -1; }
    bool sharesOutput() const override { return settings.linking == CShare::all; }
    bool hasSameSettings(const CAudioModule& current) const override;

private:
    /// The ends of a share, which have paths of their own.
    enum class CShare
    {
        none,
        part,
        all
    };
    struct CSettings
    {
        bool isMinimum = false;
        double mix = 0.0; // of the mean in the common level
        double link = 0.0; // what a channel keeps of its own
        CShare mean = CShare::none;
        CShare linking = CShare::all;

        bool operator==(const CSettings&) const = default;
    };
    static constexpr int sliceLength = 256;

    static CShare shareOf(double value) noexcept;
    void findLevel(std::span<const double* const> in, int from, double* level, int count) const noexcept;
    void findExtreme(std::span<const double* const> in, int from, double* level, int count) const noexcept;
    static void findMean(std::span<const double* const> in, int from, double* level, int count) noexcept;

    const CAudioParamStorage* modeSlot = nullptr;
    const CAudioParamStorage* mixSlot = nullptr;
    const CAudioParamStorage* linkingSlot = nullptr;
    CSettings settings;
};

}
