// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <vector>

namespace kor
{

class CObject;

// What the product is: the attributes of the shared tree's `project` that the audio side reads, checked once.
struct CPluginProject
{
    /// Fails with the name of what is missing or wrong.
    CError read(CObject& project);

    CStringBuf name;
    CStringBuf vendor;
    CStringBuf vendorUrl;                       // may be empty, as may the next
    CStringBuf vendorEmail;
    CStringBuf version;                         // "3.8"
    CStringBuf uuid;                            // as written; whether it is one, its user finds out
    CStringBuf category;                        // a host's: "Fx|EQ"

    int channels = 0;                           // inside, 1 to 16
    int groups = 0;                             // 1 to 16
    std::vector<int> grouping;                  // group of each channel, 0 to groups - 1

    double tailSeconds = 0.4;
    int realtimeOversampling = 0;               // of "Auto", an index of modes: 0 is none, 3 is 8x
    int windowWidth = 0;                        // in pixels at scale 1, as the next
    int windowHeight = 0;
    int minWindowWidth = 0;
    int minWindowHeight = 0;
    bool isVizAlwaysActive = false;
    bool usesRouting = false;
    bool usesMidSide = false;
    bool usesSidechain = false;
    bool usesWindowResizing = false;
};

}
