// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"
#include "Other/Interface/CParamClientQueue.h"

#include <memory>
#include <span>

namespace kor
{

class CParamInterfaceBase;

// The audio side's end of the road to the clients: runs what they send on the interface's base object, one command at a
// time, and sends what the base has for them. Sending never takes the lock of the commands.
class CParamInterfaceBaseConnector : public CObject
{
public:
    /// Destination of a message to all clients.
    static constexpr int everyClient = -1;

    CParamInterfaceBaseConnector();

    /// Runs one message of a client to its end and gives its failure. "No base object defined." Any thread but the
    /// audio thread; waits for other clients' commands.
    CError processClientData(std::span<const unsigned char> block);

    /// To one client, nothing when it has gone, or to everyClient. Takes leaf locks only. Any thread but the audio
    /// thread.
    virtual void send(int clientId, CByteArray block, CSending kind) = 0;

    /// False for a client that has gone.
    virtual bool isConnected(int clientId) const = 0;

    /// The object that runs the commands; null ends that, and waits for a command that is running.
    void setBase(CParamInterfaceBase* base);

    void uninit() override;

    /// What clients hold of a connector, which may end before them: then they find null under the lock.
    struct CLink
    {
        CLock lock{CLockRank::command};             // held while a command runs
        CParamInterfaceBaseConnector* connector = nullptr;
    };

protected:
    const std::shared_ptr<CLink> link = std::make_shared<CLink>();

    // Under the link's lock.
    CParamInterfaceBase* base = nullptr;
};

}
