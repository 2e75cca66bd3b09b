// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <string>

namespace kor
{

class CExtAssignments;
class CHostApplication;
class CVst3Module;

// What a plug-in costs: time to come up, memory of an instance, time to process. An instance counts as up when its first
// block can come: created, joined, stereo, active at 48 kHz with 512 samples a block.
struct CPluginBench
{
    static constexpr int instances = 32;            // beside the first

    /// Times the first instance and 32 more, which are there at once, and weighs these. The module has just been loaded.
    CError measureInstances(const CVst3Module& module, CHostApplication& host);

    /// Share of one core that an instance takes, in percent: the median of many runs of noise in stereo. ext: resolved
    /// for any instance of the module; null for none.
    CError measureLoad(const CVst3Module& module, CHostApplication& host, CExtAssignments* ext, double& percent) const;

    double moduleMs = 0.0;                          // library, entry and factory
    double firstMs = 0.0;
    double furtherMs = 0.0;                         // median
    double megabytes = 0.0;                         // resident growth an instance
    double idlePercent = 0.0;
    double busyPercent = -1.0;                      // with the settings; below 0: not measured
    std::string settings;                           // what the busy one runs with
    std::string plugin;

    std::string asText() const;
    std::string asJson() const;
};

}
