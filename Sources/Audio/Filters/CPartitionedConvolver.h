// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAlignedBuffer.h"
#include "Audio/Filters/CPartitionSchedule.h"

#include <memory>
#include <vector>

namespace kor
{

class CFftObject;

// One channel of a long FIR filter: convolution in blocks by FFT, in levels of rising block size as CPartitionSchedule
// lays out, so that the delay is only the first block and the cost per sample grows slowly with the length. The first
// sample after construction and after each reset counts as having stood there for ever: a filter that is switched in
// on a signal with an offset makes no step.
class CPartitionedConvolver
{
public:
    /// Builds a filter of `count` taps, 1 to CFirDesign::maxTaps, in blocks from 2^latency samples (4 to 14, beyond
    /// that limited). All memory is taken here; null without it or for a count out of range. Any thread.
    static std::unique_ptr<CPartitionedConvolver> create(const double* taps, int count, int latency);

    ~CPartitionedConvolver();
    CPartitionedConvolver(const CPartitionedConvolver&) = delete;
    CPartitionedConvolver& operator=(const CPartitionedConvolver&) = delete;

    /// Samples that the output comes behind the plain convolution: the first block size.
    int delaySamples() const noexcept { return firstBlock; }

    /// Filters any number of samples. `in` may equal `out`. Audio thread.
    void process(const double* in, double* out, int count) noexcept;

    /// Forgets all history: the next sample starts the filter anew. Audio thread.
    void reset() noexcept { isFresh = true; }

private:
    struct CLevel;

    CPartitionedConvolver();
    void warmStart(double value) noexcept;

    std::vector<CLevel> levels;
    int firstBlock = 0;
    bool isFresh = true;
};

}
