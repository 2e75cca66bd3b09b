// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

namespace kor
{

// How an impulse response is cut for block convolution: levels of rising block size, each taking its number of blocks
// of the response in order. A level begins so far into the response that its longer block still delivers in time.
struct CPartitionSchedule
{
    static constexpr int minLatency = 4, maxLatency = 14;  // log2 of the first block size: 16 to 16384 samples
    static constexpr int maxLevels = maxLatency - minLatency + 1;

    struct CLevel
    {
        int blockSize = 0;                                 // samples
        int blockCount = 0;
    };
    std::array<CLevel, maxLevels> levels{};
    int levelCount = 0;
    double cost = 0.0;                                     // by the model; its unit has no meaning outside
};

/// The block size, in samples, that a filter with this `latency` (log2, limited to 4 to 14) begins with; it is the
/// delay of the convolution as well.
int firstPartitionSize(int latency) noexcept;

/// The cheapest schedule for a response of `length` samples, at least 1. Any thread.
CPartitionSchedule findPartitionSchedule(int length, int latency) noexcept;

}
