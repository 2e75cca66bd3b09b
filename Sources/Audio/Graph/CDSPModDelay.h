// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioBufferPool.h"
#include "Audio/Graph/CRaisedCosine.h"
#include "Core/CAllocator.h"

namespace kor
{

// Integer delay line behind every latency alignment. A change of the delay on a line that runs crossfades from the old
// tap to the new one, so that it never clicks; the memory is a ring of pooled blocks that are taken only when audio
// reaches them. Audio thread.
class CDSPModDelay
{
public:
    /// What the line holds before the first sample: a constant, or the first sample that arrives.
    enum class CFill
    {
        silence,
        firstSample
    };

    /// fadeSamples: length of a tap crossfade, at least 1. The pool must outlive the line.
    CDSPModDelay(CAudioBufferPool& pool, int fadeSamples, CFill fill = CFill::silence);

    /// Sets the delay in samples, 0 or more. On a line that has seen no audio since its reset it holds at once;
    /// otherwise a fade starts, or, during one, the newest value waits until that has ended.
    void setDelay(int samples);

    /// The delay last set, be it reached or not.
    int delay() const noexcept { return hasPending ? pending : target; }

    /// True when the line changes nothing any more: its delay is 0 and no fade runs.
    bool isIdle() const noexcept { return target == 0 && !hasPending && fade.remaining() == 0; }

    /// Delays `count` samples. `in` and `out` are the same or apart.
    void process(const double* in, double* out, int count);

    /// Gives all blocks back and forgets the past; the delay last set holds from now on.
    void reset();

    /// Blocks held, and places in the ring.
    int blocksHeld() const noexcept;
    int ringSize() const noexcept { return static_cast<int>(ring.size()); }

    static constexpr int blockSize = 512;
    static constexpr int chunkSize = 256;

private:
    void startFade(int samples);
    void fitRing();
    void read(double* out, int fromBehind, int count) const;
    double* block(std::size_t index);

    CAudioBufferPool& pool;
    int fadeLength;
    CFill fillMode;
    double fillValue = 0.0;
    CArray<CAudioBufferRef> ring;
    CArray<CAudioBufferRef> nextRing; // scratch of fitRing, kept for its storage
    int position = 0; // where the next sample goes, in the ring
    bool isFresh = true;
    int current = 0; // delay of the old tap
    int target = 0;
    int pending = 0;
    bool hasPending = false;
    CRaisedCosine fade; // moving while current and target differ
};

}
