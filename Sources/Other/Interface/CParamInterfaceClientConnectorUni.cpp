// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamInterfaceClientConnectorUni.h"

#include "Audio/Parameters/CAudioParamChangeScope.h"

namespace kor
{

CError CParamInterfaceClientConnectorUni::init()
{
    KOR_TRY(CParamInterfaceClientConnector::init());
    const CStringBuf& path = getAttrString("base-connector");
    CObject* const audioRoot = CParamInterfaceBaseConnectorUni::findRoot(root()->getAttrString("BaseConnectorRootPtr"));
    if (audioRoot == nullptr)
        return KOR_FAIL("Unable to find object '%1' ('%2')", path, path);
    CParamInterfaceBaseConnectorUni* connector = nullptr;
    KOR_TRY(audioRoot->findObjectChecked(connector, path));
    link = CParamInterfaceBaseConnectorUni::linkOf(*connector);
    ownId = CParamInterfaceBaseConnectorUni::attach(*link, inbox);
    if (ownId == 0)
        return KOR_FAIL("There is no room for another client.");
    return {};
}

void CParamInterfaceClientConnectorUni::uninit()
{
    if (link != nullptr && ownId != 0)
        CParamInterfaceBaseConnectorUni::detach(*link, ownId);
    ownId = 0;
    CParamInterfaceClientConnector::uninit();
}

CError CParamInterfaceClientConnectorUni::send(const CByteArray& block)
{
    if (link == nullptr)
        return KOR_FAIL("No base object defined.");
    const CAudioParamChangeScope scope;
    CLockHolder hold(link->lock);
    if (link->connector == nullptr)
        return KOR_FAIL("No base object defined.");
    KOR_TRY(link->connector->processClientData(block));
    return {};
}

void CParamInterfaceClientConnectorUni::restart()
{
    CParamInterfaceBaseConnectorUni::restart(*link, ownId);
}

}
