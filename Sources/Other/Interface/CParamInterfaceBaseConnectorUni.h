// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Other/Interface/CParamInterfaceBaseConnector.h"

namespace kor
{

// The connector to clients of the same process (`other:param-interface-base-connector-uni`). A client calls it
// straight; what goes to a client is appended to its queue.
class CParamInterfaceBaseConnectorUni : public CParamInterfaceBaseConnector
{
public:
    CError init() override;
    void uninit() override;

    void send(int clientId, CByteArray block, CSending kind) override;
    bool isConnected(int clientId) const override;

    // What client connectors do with one that may have ended: they hold its link.

    static std::shared_ptr<CLink> linkOf(CParamInterfaceBaseConnectorUni& connector) { return connector.link; }

    /// Enters a client and gives its id, 1 to 65535; 0 when the connector has ended or all ids are taken.
    static int attach(CLink& to, const std::shared_ptr<CParamClientQueue>& queue);

    /// The client has lost messages and asks for everything anew.
    static void restart(CLink& to, int clientId);

    /// Takes the client out: what it left open is ended, and what is sent to it from now on goes nowhere.
    static void detach(CLink& to, int clientId);

    /// How the root of a client's tree names this tree: the value for its attribute "BaseConnectorRootPtr".
    static CStringBuf addressOf(const CObject& root);

    /// The root of a tree with a connector that lives and has this address; null for any other text.
    static CObject* findRoot(const CStringBuf& address);

private:
    mutable CLock clientsLock;                      // a leaf
    CMap<int, std::shared_ptr<CParamClientQueue>> clients;
    int lastId = 0;
};

}
