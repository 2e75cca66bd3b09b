// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CoreCreators.h"

#include "Core/CAttrDoubler.h"
#include "Core/CSharedAttribute.h"
#include "Core/CStdEventBridge.h"
#include "Core/CTimer.h"

namespace kor
{

std::span<const CCreatorRow> coreCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CAttrDoubler>("core:attr-doubler"),
        creatorRow<CObject>("core:object"),
        creatorRow<CSharedAttribute>("core:shared-attribute"),
        creatorRow<CTimer>("core:timer"),
        creatorRow<CStdEventBridge>("ui:ui-event-bridge"),
    };
    return rows;
}

}
