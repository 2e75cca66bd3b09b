// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamInterfaceBaseConnectorUni.h"

#include "Audio/Parameters/CAudioParamChangeScope.h"
#include "Other/Interface/CParamInterfaceBase.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr int maxId = 65535;                        // a client's ids have its own in their upper half

// The connectors that live, so that an address in an attribute is never followed on trust.
struct CLiveConnectors
{
    CLock lock;
    CArray<const CObject*> all;
};

CLiveConnectors& live()
{
    static CLiveConnectors& instance = *new CLiveConnectors;
    return instance;
}

}

CError CParamInterfaceBaseConnectorUni::init()
{
    KOR_TRY(CParamInterfaceBaseConnector::init());
    CLockHolder hold(live().lock);
    live().all.push_back(this);
    return {};
}

void CParamInterfaceBaseConnectorUni::uninit()
{
    {
        CLockHolder hold(live().lock);
        std::erase(live().all, this);
    }
    CParamInterfaceBaseConnector::uninit();
    CLockHolder hold(clientsLock);
    clients.clear();
}

CStringBuf CParamInterfaceBaseConnectorUni::addressOf(const CObject& root)
{
    return CStringBuf::fromUtf8(std::to_string(reinterpret_cast<std::uintptr_t>(&root)));
}

CObject* CParamInterfaceBaseConnectorUni::findRoot(const CStringBuf& address)
{
    CLockHolder hold(live().lock);
    for (const CObject* connector : live().all)
        if (addressOf(*connector->root()) == address)
            return connector->root();
    return nullptr;
}

void CParamInterfaceBaseConnectorUni::send(int clientId, CByteArray block, CSending kind)
{
    CArray<std::shared_ptr<CParamClientQueue>> queues;
    {
        CLockHolder hold(clientsLock);
        for (const auto& [each, queue] : clients)
            if (clientId == everyClient || clientId == each)
                queues.push_back(queue);
    }
    for (std::size_t i = 0; i + 1 < queues.size(); ++i)
        queues[i]->append(block, kind);
    if (!queues.empty())
        queues.back()->append(std::move(block), kind);
}

bool CParamInterfaceBaseConnectorUni::isConnected(int clientId) const
{
    CLockHolder hold(clientsLock);
    return clients.contains(clientId);
}

int CParamInterfaceBaseConnectorUni::attach(CLink& to, const std::shared_ptr<CParamClientQueue>& queue)
{
    CLockHolder hold(to.lock);
    auto* const connector = static_cast<CParamInterfaceBaseConnectorUni*>(to.connector);
    if (connector == nullptr)
        return 0;
    int clientId = 0;
    {
        CLockHolder holdClients(connector->clientsLock);
        if (connector->clients.size() >= maxId)
            return 0;
        do
            connector->lastId = connector->lastId % maxId + 1;
        while (connector->clients.contains(connector->lastId));
        clientId = connector->lastId;
        connector->clients.emplace(clientId, queue);
    }
    restart(to, clientId);
    return clientId;
}

void CParamInterfaceBaseConnectorUni::restart(CLink& to, int clientId)
{
    CLockHolder hold(to.lock);
    const auto* const connector = static_cast<const CParamInterfaceBaseConnectorUni*>(to.connector);
    if (connector != nullptr && connector->base != nullptr)
        connector->base->clientStarted(clientId);
}

void CParamInterfaceBaseConnectorUni::detach(CLink& to, int clientId)
{
    const CAudioParamChangeScope scope;
    CLockHolder hold(to.lock);
    auto* const connector = static_cast<CParamInterfaceBaseConnectorUni*>(to.connector);
    if (connector == nullptr)
        return;
    {
        CLockHolder holdClients(connector->clientsLock);
        connector->clients.erase(clientId);
    }
    if (connector->base != nullptr)
        connector->base->clientGone(clientId);
}

}
