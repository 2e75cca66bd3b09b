// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/InterfaceCreators.h"

#include "Other/Interface/CAudioInterfaceBase.h"
#include "Other/Interface/CAudioInterfaceClient.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Other/Interface/CParamInterfaceBaseConnectorUni.h"
#include "Other/Interface/CParamInterfaceClientConnectorUni.h"
#include "Other/Interface/CVizExchange.h"

namespace kor
{

std::span<const CCreatorRow> interfaceCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CAudioInterfaceBase>("audio:interface-base"),
        creatorRow<CAudioInterfaceClient>("audio:interface-client"),
        creatorRow<CAudioVizCollector>("audio:viz-collector"),
        creatorRow<CParamInterfaceBaseConnectorUni>("other:param-interface-base-connector-uni"),
        creatorRow<CParamInterfaceClientConnectorUni>("other:param-interface-client-connector-uni"),
        creatorRow<CVizExchange>("ui:viz-exchange"),
    };
    return rows;
}

}
