// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/GraphCreators.h"

#include "Audio/Graph/CAudioProcessBypassStateDef.h"
#include "Audio/Graph/CAudioProcessDef.h"
#include "Audio/Graph/CAudioProcessLinkDef.h"
#include "Audio/Graph/CModNodeDef.h"
#include "Audio/Graph/CModOutputDef.h"

namespace kor
{

std::span<const CCreatorRow> graphCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CAudioProcessDef>("audio:process-def"),
        creatorRow<CAudioProcessLinkDef>("audio:process-link"),
        creatorRow<CAudioProcessBypassStateDef>("audio:process-bypass-state"),
        creatorRow<CModNodeDef>("audio:modNode"),
        creatorRow<CModOutputDef>("audio:modOutput"),
    };
    return rows;
}

}
