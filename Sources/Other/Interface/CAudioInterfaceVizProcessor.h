// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

namespace kor
{

class CInputStream;

// Takes what the audio side sends for the display. Called by the interface client, on the window's thread.
class CAudioInterfaceVizProcessor
{
public:
    virtual ~CAudioInterfaceVizProcessor() = default;

    /// "start-viz", "stop-viz", "clear-client"
    virtual void start() = 0;
    virtual void stop() = 0;
    virtual void clear() = 0;

    /// The bodies of "viz-data" and "export-slot-names". A failure leaves what was delivered ahead of it.
    virtual CError processVizData(CInputStream& stream) = 0;
    virtual CError processExportSlotNames(CInputStream& stream) = 0;

    /// Frames a second.
    virtual double getVizFps() const = 0;
};

}
