// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CHostAutomation.h"
#include "CRenderEngine.h"

#include <vector>

namespace kor
{

class CHostRunLoop;
class CVst3Plugin;

// A plug-in, active with as many channels as it was set up for: parameters change at their samples through its queues,
// and its event loop runs between the blocks.
class CPluginEngine : public CRenderEngine
{
public:
    struct CLayout
    {
        int inputs = 2;             // of the plug-in; those beyond the recording's are silent
        int outputs = 2;            // those beyond the recording's are dropped
        bool isDouble = false;      // samples are handed over as doubles, else as single precision numbers
        int maxBlock = 512;
    };

    /// The plug-in is active. events: by time; they must outlive the engine.
    CPluginEngine(CVst3Plugin& target, CHostRunLoop& runLoop, const CLayout& layout,
                  std::span<const CHostEvent> events = {});

    int latency() const override;
    CError process(std::span<double* const> channels, std::int64_t position, int count) override;

private:
    int queueChanges(std::int64_t position, int count);
    void preparePointers(std::span<double* const> channels, int offset);

    CVst3Plugin& plugin;
    CHostRunLoop& loop;
    CLayout how;
    std::span<const CHostEvent> coming;
    std::vector<std::vector<float>> singles;    // a channel each, when samples are handed over in single precision
    std::vector<double> beyond;                 // one channel for all outputs that the recording does not have
    std::vector<void*> sources;
    std::vector<void*> results;
};

}
