// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CGraphView.h"

#include "Core/CError.h"

#include <string>
#include <vector>

namespace kor
{

class CAudioInstance;

/// A band as its group's parameters have it.
struct CInfoBand
{
    int element = 0;
    std::string type;                   // "Peaking"
    double frequencyHz = 0.0;
    double gainDb = 0.0;
    double bandwidthOctaves = 0.0;
    double dynamicsPercent = 0.0;
    std::string text;                   // all of that with units
};

/// A channel group that the equalizer gets channels of.
struct CInfoGroup
{
    int group = 0;
    std::vector<int> channels;          // inside the graph, from 0
    std::vector<CInfoBand> bands;
};

// An instance's running graph and the settings that shape it, as `info` shows them.
struct CInfoReport
{
    /// hostChannels: of the layout that has been set. Looks at the instance as it runs now.
    CError read(const CAudioInstance& instance, double sampleRate, int hostChannels);

    std::string asText() const;
    std::string asJson() const;
    std::string asDot() const;

    double rate = 0.0;                  // of the host, in hertz
    int inputs = 0;                     // channels of the host
    int outputs = 0;
    int latency = 0;                    // in samples
    std::vector<CInfoGroup> groups;
    CGraphNode graph;
};

}
