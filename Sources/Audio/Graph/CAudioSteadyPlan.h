// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"

namespace kor
{

class CAudioGraphContext;

// The steady path of a container's nodes: for each of them, in run order, from which memory it reads and to which it
// writes. Nodes in a plain row work in place on the container's channels; any other net works in scratch memory, cut
// into stretches so short that all its signals stay in the nearest cache. Audio thread.
class CAudioSteadyPlan
{
public:
    /// What a node's input reads: the output of another node of the list, or of the container's input.
    struct CSource
    {
        static constexpr int containerInput = -1;
        static constexpr int none = -2; // the port has no link: its pointers are null
        int node = none;
    };

    /// Forgets the nodes; there is no plan until the next build().
    void clear();

    /// nodes: in run order, each steady. sources: for every node its ports in turn, see portCounts. result: what the
    /// container puts out. All have the same `channels` channels.
    void build(CAudioGraphContext& graphContext, std::span<CAudioProcessBase* const> nodes,
               std::span<const std::size_t> portCounts, std::span<const CSource> sources, CSource result,
               std::size_t channels);

    /// True when there is a plan and the nodes still want it so: which of them put all channels into one buffer, and
    /// how much scratch memory they take.
    bool isValid() const;
    bool isBuilt() const noexcept { return isReady; }

    void run(const CAudioSteadyBlock& block);

    /// Scratch memory in samples, that of the nodes included.
    std::size_t scratch() const noexcept { return ownScratch + nodeScratch; }

    static constexpr int stretchSamples = 128;

private:
    struct CStep
    {
        CAudioProcessBase* node;
        std::size_t portCount;
        std::size_t firstInput; // in inputRegisters
        std::size_t firstOutput; // in outputRegisters
        bool isShared; // all channels have one register
    };

    static constexpr int nothing = -1;
    void runRow(const CAudioSteadyBlock& block);
    void runNet(const CAudioSteadyBlock& block);
    void place(double* scratchMemory);

    CAudioGraphContext* context = nullptr;
    CArray<CStep> steps;
    std::size_t channelCount = 0;
    bool isReady = false;
    bool isRow = false;

    // A register is a stretch of one signal in scratch memory; the first are the container's channels.
    CArray<int> inputRegisters; // channel after channel, a register per port
    CArray<int> outputRegisters; // by channel
    CArray<int> resultRegisters; // by channel
    std::size_t ownScratch = 0;
    std::size_t nodeScratch = 0;

    // The same as pointers, for the place that the scratch memory had last.
    double* placed = nullptr;
    CArray<const double*> inputPointers;
    CArray<double*> outputPointers;
};

}
