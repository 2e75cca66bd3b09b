// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <functional>
#include <memory>
#include <span>

namespace kor
{

class CAudioEnv;
class CAudioGraphContext;
class CAudioParamCollector;
class CAudioProcessBase;
class CAudioProcessDefBase;

// Runs one process tree outside of any plug-in, for the command line and for tests: cuts what it is given into slices
// of at most 512 samples and takes pending parameter changes at the start of each. One thread at a time; changes to
// parameters may come from any other.
class CAudioGraphHost
{
public:
    /// Both must outlive the host; the collector has its group count set and knows the environment.
    CAudioGraphHost(CAudioParamCollector& collector, CAudioEnv& environment);
    ~CAudioGraphHost();

    /// Makes the running node of a definition under a full name such as "plugin.modMain", registers the global
    /// parameters of the whole definition subtree and binds. Once per host; on failure there is no node. The definition
    /// must outlive the host.
    CError create(const CAudioProcessDefBase& definition, const CStringBuf& name);

    static constexpr double lowestRate = 8000.0;
    static constexpr double highestRate = 768000.0;

    /// Channel count and the group of each channel (size 1 to 16, groups 0 to 15), and the rate in hertz, lowestRate to
    /// highestRate. Primes the graph, so that latency() and outputCount() are right afterwards, and clears its signal
    /// state. Fails too when the graph could not be made in full; what could be made then runs.
    CError setLayout(std::span<const int> channelGroups, double sampleRate);

    /// Takes over another layout, as setLayout does, and runs nothing: latency() and outputCount() follow with the next
    /// samples, and modules keep what they have. Also for the thread that processes, between two blocks; allocates.
    CError changeLayout(std::span<const int> channelGroups, double sampleRate);

    /// Processes `frames` samples (0 or more). `in` has one pointer per channel of the layout, null standing for
    /// silence; a sample that is not finite, or beyond 200 dB, counts as 0. `out` has `outputChannels` pointers, null
    /// for nowhere; channels that the graph does not produce get zeros. Outputs may be the same memory as inputs of the
    /// same or another channel. Does nothing but write zeros before create and setLayout.
    void process(const double* const* in, double* const* out, int outputChannels, int frames);

    /// The same in slices of the caller's own: beginBlock once for a block of the host, then for each slice beginSlice,
    /// which takes pending parameter changes, and up to sliceSize samples.
    static constexpr int sliceSize = 512;
    void beginBlock();
    void beginSlice();
    void processSlice(const double* const* in, double* const* out, int outputChannels, int frames);

    /// What happens first of all in each process, beginBlock and prime, on their thread; it may deliver parameter changes. Set while
    /// neither runs.
    void setBlockStart(std::function<void()> call);

    /// Takes pending parameter changes and runs one silent sample, so that latency and outputs follow.
    void prime();

    /// Reserves buffers for the blocks to come, which may need more of them than the first behind a change: nodes that
    /// have nothing more to fade keep one for each channel. Between two blocks; allocates.
    void reserveBuffers();

    /// Ends processing: clears all signal state. Settings stay.
    void stop();

    /// Total latency in samples at the host rate.
    int latency() const;

    /// Highest channel number that the graph produces plus one.
    int outputCount() const;

    /// Sample buffers in use just now; 0 between two calls unless delay lines hold some.
    int buffersInUse() const;

    /// The oldest failure that came up during processing and was not taken yet; success when there is none. Call it
    /// from time to time where log lines may be written.
    CError takeError();

    /// Null before create.
    CAudioProcessBase* rootProcess() const noexcept;
    CAudioGraphContext& context() const noexcept;

private:
    struct CImplementation;
    std::unique_ptr<CImplementation> impl;
};

}
