// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CPartitionedConvolver.h"

#include "Audio/Filters/CFftPool.h"
#include "Audio/Filters/CFirDesign.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace kor
{

// One level: a stretch of the response in segments of one block each. The transform is twice the block, since the
// cyclic convolution of two blocks of input with a segment padded by zeros is right in its first half.
struct CPartitionedConvolver::CLevel
{
    bool prepare(const double* taps, int count, const CPartitionSchedule::CLevel& shape);
    void warmStart(double value) noexcept;
    void finishBlock() noexcept;

    CFftHandle fft;
    std::size_t block = 0, segments = 0;
    std::size_t position = 0;              // within the block, of the next sample
    std::size_t head = 0;                  // slot of the queue that leaves next
    CAlignedBuffer filter;                 // spectra of the segments, already scaled
    CAlignedBuffer queue;                  // spectra of the output blocks to come, a ring
    CAlignedBuffer input;                  // the block being filled, then the one before it
    CAlignedBuffer spectrum;
    CAlignedBuffer output;                 // its first half is the block being given out
    std::vector<double> laterGain;         // DC gain of the segments from this one on
};

bool CPartitionedConvolver::CLevel::prepare(const double* taps, int count, const CPartitionSchedule::CLevel& shape)
{
    block = static_cast<std::size_t>(shape.blockSize);
    segments = static_cast<std::size_t>(shape.blockCount);
    const std::size_t size = 2 * block, available = static_cast<std::size_t>(std::max(count, 0));
    fft.reset(CFftPool::instance().take(std::countr_zero(size)));
    if (!fft || !filter.allocate(segments * size) || !queue.allocate(segments * size) || !input.allocate(size) ||
        !spectrum.allocate(size) || !output.allocate(size))
        return false;
    laterGain.assign(segments + 1, 0.0);
    for (std::size_t i = segments; i-- > 0;)
    {
        const std::size_t begin = std::min(i * block, available), end = std::min(begin + block, available);
        laterGain[i] = std::accumulate(taps + begin, taps + end, laterGain[i + 1]);
        double* const segment = filter.data() + i * size;
        std::transform(taps + begin, taps + end, segment, [this](double tap) { return tap * fft->scale; });
        fft->forward(segment, segment);
    }
    return true;
}

// Leaves the level as an endless constant would have.
void CPartitionedConvolver::CLevel::warmStart(double value) noexcept
{
    const std::size_t size = 2 * block;
    position = 0;
    head = 0;
    std::fill_n(input.data() + block, block, value);
    std::fill_n(output.data(), block, value * laterGain[0]);
    std::fill_n(queue.data(), segments * size, 0.0);
    for (std::size_t slot = 0; slot < segments; ++slot)
        queue.data()[slot * size] = value * laterGain[slot + 1];
}

void CPartitionedConvolver::CLevel::finishBlock() noexcept
{
    const CRealFft& service = realFft();
    const std::size_t size = 2 * block;
    const int values = static_cast<int>(size);
    fft->forward(input.data(), spectrum.data());
    std::copy_n(input.data(), block, input.data() + block);
    for (std::size_t i = 0; i < segments; ++i)
    {
        const std::size_t slot = head + i < segments ? head + i : head + i - segments;
        const double* const segment = filter.data() + i * size;
        if (i + 1 == segments)             // the slot behind the last: nothing of earlier blocks reaches it
            service.multiplyPacked(spectrum.data(), segment, queue.data() + slot * size, values);
        else
            service.multiplyAddPacked(spectrum.data(), segment, queue.data() + slot * size, values);
    }
    fft->inverse(queue.data() + head * size, output.data());
    head = head + 1 < segments ? head + 1 : 0;
    position = 0;
}

CPartitionedConvolver::CPartitionedConvolver() = default;
CPartitionedConvolver::~CPartitionedConvolver() = default;

std::unique_ptr<CPartitionedConvolver> CPartitionedConvolver::create(const double* taps, int count, int latency)
{
    if (count < 1 || count > CFirDesign::maxTaps)
        return nullptr;
    const CPartitionSchedule schedule = findPartitionSchedule(count, latency);
    std::unique_ptr<CPartitionedConvolver> convolver(new CPartitionedConvolver);
    convolver->firstBlock = firstPartitionSize(latency);
    convolver->levels.resize(static_cast<std::size_t>(schedule.levelCount));
    for (std::size_t i = 0; i < convolver->levels.size(); ++i)
    {
        if (!convolver->levels[i].prepare(taps, count, schedule.levels[i]))
            return nullptr;
        const int consumed = std::min(count, schedule.levels[i].blockSize * schedule.levels[i].blockCount);
        taps += consumed;
        count -= consumed;
    }
    return convolver;
}

void CPartitionedConvolver::process(const double* in, double* out, int count) noexcept
{
    if (isFresh && count > 0)
        warmStart(in[0]);
    // Every block boundary of a longer level is one of the first level as well.
    while (count > 0)
    {
        const int left = firstBlock - static_cast<int>(levels[0].position);
        const std::size_t run = static_cast<std::size_t>(std::min(count, left));
        for (CLevel& level : levels)       // before any output: `out` may be `in`
            std::copy_n(in, run, level.input.data() + level.position);
        for (CLevel& level : levels)
        {
            const double* const from = level.output.data() + level.position;
            if (&level == &levels[0])
                std::copy_n(from, run, out);
            else
                for (std::size_t i = 0; i < run; ++i)
                    out[i] += from[i];
            level.position += run;
            if (level.position == level.block)
                level.finishBlock();
        }
        in += run;
        out += run;
        count -= static_cast<int>(run);
    }
}

void CPartitionedConvolver::warmStart(double value) noexcept
{
    for (CLevel& level : levels)
        level.warmStart(value);
    isFresh = false;
}

}
