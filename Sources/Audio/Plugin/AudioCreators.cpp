// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/AudioCreators.h"

#include "Audio/Filters/FilterCreators.h"
#include "Audio/Graph/GraphCreators.h"
#include "Audio/Parameters/CAudioPresetNameList.h"
#include "Audio/Parameters/ParameterCreators.h"
#include "Audio/Plugin/CAudioCCTable.h"
#include "Audio/Plugin/CAudioExtParamList.h"
#include "Audio/Processes/ProcessCreators.h"
#include "Core/CoreCreators.h"
#include "Other/Interface/InterfaceCreators.h"

#include <vector>

namespace kor
{

namespace
{

std::span<const CCreatorRow> pluginCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CAudioCCTable>("audio:cctable"),
        creatorRow<CAudioExtParam>("audio:ext-param"),
        creatorRow<CAudioExtParamList>("audio:ext-param-list"),
    };
    return rows;
}

}

std::span<const CCreatorRow> allCreators()
{
    // Never destroyed: the table of creators points at it until the process is gone.
    static const std::vector<CCreatorRow>& rows = *[]
    {
        setAudioParamNameListFinder(&CAudioPresetNameList::find);   // ahead of every tree that these types make
        auto* all = new std::vector<CCreatorRow>;
        for (const std::span<const CCreatorRow> room :
             {coreCreators(), parameterCreators(), filterCreators(), graphCreators(), interfaceCreators(),
              processCreators(), pluginCreators()})
            all->insert(all->end(), room.begin(), room.end());
        return all;
    }();
    return rows;
}

}
