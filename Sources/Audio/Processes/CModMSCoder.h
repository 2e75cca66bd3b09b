// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"

#include <array>

namespace kor
{

// Turns pairs of channels to mid and side (`mode` 0) or back (`mode` 1). `pairs` has a number per channel: two channels
// of the same number, 1 to 4, are a pair; 0 is none. Members are taken in rising channel number whatever their groups,
// so that encoder and decoder agree on who is left. Mid is half the sum, so that coding forth and back gives the same
// level.
class CModMSCoder : public CAudioProcessBase
{
public:
    CError init() override;
    void update() override;
    void process() override;

private:
    static constexpr int maxPairs = 4;

    struct CPair
    {
        int number = 0; // 1 to maxPairs
        std::size_t first = 0; // in the channels of port 0
        std::size_t second = 0;
    };

    void findPairs();
    void code(const CPair& pair);

    const CAudioParamSlot* pairNumbers = nullptr;
    const CAudioParamSlot* mode = nullptr;
    const CAudioParamSlot* bypass = nullptr;
    std::array<CPair, maxPairs> pairs; // the complete ones
    std::size_t pairCount = 0;
    bool isDecoder = false;
};

}
