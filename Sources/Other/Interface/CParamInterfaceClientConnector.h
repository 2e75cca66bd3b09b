// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"
#include "Other/Interface/CParamClientQueue.h"

#include <memory>

namespace kor
{

class CParamInterfaceClient;

// A client's end of the road to the audio side. What the audio side sends waits in a queue until the thread that built
// this tree takes it, out of its event loop. That thread's, except for what the queue says.
class CParamInterfaceClientConnector : public CObject
{
public:
    /// Registers the event "process-base-data".
    static void initClass(CObjectClassInfo& info);
    CError init() override;
    void uninit() override;

    /// Id that the audio side knows this client by, 1 to 65535; 0 while there is none.
    int clientId() const noexcept { return ownId; }

    /// Runs one message at the audio side; its failure comes back.
    virtual CError send(const CByteArray& block) = 0;

    /// Who is given the messages; null for nobody.
    void setClient(CParamInterfaceClient* taker) noexcept { client = taker; }

    /// Gives what waits to the client, in order. A message that fails ends it, the failure comes back, and the client
    /// asks for everything anew, once until all goes well again. "No client object defined."
    CError onProcessBaseData();

    /// Bytes that wait to be processed.
    std::size_t waitingBytes() const { return inbox != nullptr ? inbox->waitingBytes() : 0; }

protected:
    /// Tells the audio side that this client begins anew.
    virtual void restart() = 0;

    std::shared_ptr<CParamClientQueue> inbox;
    int ownId = 0;

private:
    static void onRaised(void* context);
    void startOver();

    CParamInterfaceClient* client = nullptr;
    bool hasFailed = false;                         // of late
};

}
