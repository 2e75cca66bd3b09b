// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CDSPModDelay.h"

#include <algorithm>
#include <cassert>

namespace kor
{

CDSPModDelay::CDSPModDelay(CAudioBufferPool& bufferPool, int fadeSamples, CFill fill)
    : pool(bufferPool), fadeLength(std::max(fadeSamples, 1)), fillMode(fill)
{
    fitRing();
}

void CDSPModDelay::setDelay(int samples)
{
    assert(samples >= 0);
    if (isFresh)
    {
        current = target = samples;
        fitRing();
    }
    else if (fade.remaining() > 0)
    {
        pending = samples;
        hasPending = samples != target;
    }
    else if (samples != target)
    {
        startFade(samples);
    }
}

void CDSPModDelay::startFade(int samples)
{
    current = target;
    target = samples;
    fade.start(fadeLength);
    fitRing();
}

// As many blocks as the longer of the two taps needs, a chunk ahead of it included. The samples that are held stay in
// the order of their age: the ring is filled anew so that the next sample goes to its start.
void CDSPModDelay::fitRing()
{
    const std::size_t needed = static_cast<std::size_t>((blockSize + std::max(current, target) + 255) / blockSize);
    if (needed == ring.size())
        return;

    nextRing.clear();
    nextRing.resize(needed);
    nextRing.swap(ring); // nextRing is the old ring from here on
    if (!isFresh && !nextRing.empty())
    {
        const int oldLength = static_cast<int>(nextRing.size()) * blockSize;
        const int newLength = static_cast<int>(needed) * blockSize;
        const int kept = std::min(oldLength, newLength);
        int from = (position - kept + oldLength) % oldLength;
        int to = newLength - kept;
        while (to < newLength)
        {
            const int run = std::min({blockSize - from % blockSize, blockSize - to % blockSize, newLength - to});
            const CAudioBufferRef& source = nextRing[static_cast<std::size_t>(from / blockSize)];
            if (source)
            {
                double* samples = block(static_cast<std::size_t>(to / blockSize)) + to % blockSize;
                std::copy_n(source.samples() + from % blockSize, run, samples);
            }
            from = (from + run) % oldLength;
            to += run;
        }
    }
    position = 0;
    nextRing.clear();
}

double* CDSPModDelay::block(std::size_t index)
{
    CAudioBufferRef& buffer = ring[index];
    if (!buffer)
    {
        buffer = pool.take(blockSize);
        std::fill_n(buffer.samples(), blockSize, fillValue);
    }
    return buffer.samples();
}

void CDSPModDelay::read(double* out, int fromBehind, int count) const
{
    const int length = static_cast<int>(ring.size()) * blockSize;
    int from = position - fromBehind;
    if (from < 0)
        from += length;
    while (count > 0)
    {
        const int run = std::min(count, blockSize - from % blockSize);
        const CAudioBufferRef& buffer = ring[static_cast<std::size_t>(from / blockSize)];
        if (buffer)
            std::copy_n(buffer.samples() + from % blockSize, run, out);
        else
            std::fill_n(out, run, fillValue);
        out += run;
        count -= run;
        from = (from + run) % length;
    }
}

void CDSPModDelay::process(const double* in, double* out, int count)
{
    if (count > 0 && isFresh)
    {
        isFresh = false;
        if (fillMode == CFill::firstSample)
            fillValue = in[0];
    }

    double old[chunkSize];
    double fresh[chunkSize];
    while (count > 0)
    {
        int run = std::min({count, chunkSize, blockSize - position % blockSize});
        if (fade.remaining() > 0)
            run = std::min(run, fade.remaining());

        // Written first, so that `in` may be `out` and a delay of 0 finds the sample itself.
        std::copy_n(in, run, block(static_cast<std::size_t>(position / blockSize)) + position % blockSize);
        if (fade.remaining() > 0)
        {
            read(old, current, run);
            read(fresh, target, run);
            fade.mix(old, fresh, out, run);
        }
        else
        {
            read(out, target, run);
        }

        position = (position + run) % (static_cast<int>(ring.size()) * blockSize);
        in += run;
        out += run;
        count -= run;

        if (fade.remaining() == 0 && current != target)
        {
            current = target;
            if (hasPending)
            {
                hasPending = false;
                startFade(pending);
            }
            else
            {
                fitRing();
            }
        }
    }
}

void CDSPModDelay::reset()
{
    target = current = delay();
    hasPending = false;
    fade.stop();
    isFresh = true;
    fillValue = 0.0;
    ring.clear();
    fitRing();
}

int CDSPModDelay::blocksHeld() const noexcept
{
    return static_cast<int>(std::count_if(ring.begin(), ring.end(), [](const auto& b) { return bool(b); }));
}

}
