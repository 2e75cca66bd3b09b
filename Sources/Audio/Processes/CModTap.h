// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"

namespace kor
{

// A node that listens: what comes in at port 0 goes through untouched, and its modules, one for each channel, see it on
// the way. Without a consumer it costs nothing but what they do with it.
class CModTap : public CAudioProcessTerminalBase
{
public:
    void reset() override;
    void update() override;
    void process() override;
    void runSteady(const CAudioSteadyBlock& block) override;
    bool passesInput() const override { return true; }

protected:
    /// A stretch of sound as the modules see it.
    struct CStretch
    {
        std::span<CAudioModule* const> modules;     // in rising channel number
        std::span<const double* const> inputs;      // portCount pointers for each channel; null where a port has none
        std::size_t portCount;
        int count;                                  // samples, 1 or more
        double time;                                // of the first of them, in seconds of the environment
    };
    virtual void listen(const CStretch& stretch) = 0;

private:
    void show(std::span<const double* const> from, std::size_t portCount, int count);

    CArray<CAudioModule*> modules;                  // by channel of port 0
    CArray<const double*> pointers;
    double sliceTime = -1.0;                        // the environment's, which moves from slice to slice
    int sliceSamples = 0;                           // that have been seen of this slice
};

}
