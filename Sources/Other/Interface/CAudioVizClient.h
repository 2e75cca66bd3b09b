// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"
#include "Other/Interface/CAudioInterfaceVizProcessor.h"

#include <cstdint>

namespace kor
{

// What the visualisation needs of the interface client: four messages to the audio side and a place for the one who takes
// what comes back. The window's thread.
class CAudioVizClient
{
public:
    virtual ~CAudioVizClient() = default;

    /// Sends "listen-viz" and gives the id that "unlisten-viz" takes it back with. source: -1 for the client's own instance,
    /// else an export slot's index, 0 to 47.
    virtual CError listenViz(std::uint32_t& id, const CStringBuf& name, std::int32_t source) = 0;
    virtual CError unlistenViz(std::uint32_t id) = 0;
    virtual CError requestVizData() = 0;
    virtual CError requestExportSlotNames() = 0;

    /// Who is told of what comes back; null for nobody any more.
    virtual void setVizProcessor(CAudioInterfaceVizProcessor* processor) = 0;
};

}
