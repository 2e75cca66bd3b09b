// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CInterfaceClientTree.h"

#include "Core/CApplication.h"
#include "Other/Interface/CAudioInterfaceClient.h"
#include "Other/Interface/CParamInterfaceBaseConnectorUni.h"
#include "Other/Interface/CParamInterfaceClientConnector.h"

namespace kor
{

CInterfaceClientTree::~CInterfaceClientTree()
{
    CApplication::destroyRootObject(ownRoot);
}

CError CInterfaceClientTree::create(const CObject& audioRoot)
{
    KOR_TRY(CApplication::initRootObject(ownRoot, gEmptyString));
    KOR_TRY(
        ownRoot->setAttrPlain("BaseConnectorRootPtr", CParamInterfaceBaseConnectorUni::addressOf(audioRoot), false));
    CObject* served = nullptr;
    KOR_TRY(ownRoot->createChild(served, "client", "client", true));
    KOR_TRY(ownRoot->findObjectChecked(found, "client.interface-client"));
    return {};
}

std::size_t CInterfaceClientTree::waitingBytes() const
{
    const auto* const connector =
        dynamic_cast<CParamInterfaceClientConnector*>(ownRoot->findObject("client.interface-client-connector"));
    return connector != nullptr ? connector->waitingBytes() : 0;
}

}
