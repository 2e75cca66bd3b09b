// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"
#include "Platform/CLock.h"

#include <atomic>

namespace kor
{

// What all audio-side objects of one instance share (`audio:audio-env`): rate, latency, time, and the lock that guards
// the pending parameter changes. Under this lock nothing else is taken.
class CAudioEnv : public CObject
{
public:
    static void initClass(CObjectClassInfo& info);
    CError init() override;

    CLock lock{CLockRank::environment};

    /// True between the host's start and stop of processing.
    std::atomic<bool> isProcessing{false};

    /// True while the graph runs a slice, whether the host has started processing or only wants it ready. Of the thread
    /// that runs the graph.
    bool isInSlice = false;

    /// Host rate in hertz.
    std::atomic<double> sampleRate{44100.0};

    /// Total latency of the graph in samples at the host rate.
    std::atomic<int> latency{0};

    /// Visualisation frames a second.
    double vizFps = 30.0;

    /// Seconds of audio processed since the start. Audio thread.
    double time = 0.0;
};

}
