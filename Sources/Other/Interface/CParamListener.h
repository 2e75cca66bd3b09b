// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"
#include "Other/Interface/CParamInterfaceBaseConnector.h"

namespace kor
{

// A client's ear on one parameter: makes a message of each change. It appends to the client's queue under the
// parameter's lock, so that the messages of a parameter come in the order of its changes, whoever makes them. A name
// that no parameter has yet is waited for.
class CParamListener : public CAudioParamChangeHook
{
public:
    /// id: the client's, with the client's own id in its upper half.
    CParamListener(CParamInterfaceBaseConnector& connector, std::uint32_t id, const CStringBuf& paramName);

    const CStringBuf& paramName() const noexcept { return name; }

    /// Null until there is one.
    CAudioParam* param() const;

    /// The parameter exists or has another definition: listens to it from now on and sends its whole state.
    void meet(CAudioParam& param, CSending kind);

    /// Sends the whole state once more, or that there is none yet.
    void sendState(CSending kind);

    /// Listens to nothing any more, for good; returns when no message is being made. Whoever holds the listener calls
    /// it before letting go.
    void close();

    /// Under the parameter's lock.
    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;

private:
    void sendStateOf(const CAudioParam& param, CSending kind);
    void sendGroup(const CAudioParam& param, CAudioParamRequest range, CSending kind);
    void send(CByteArray block, CSending kind);

    CParamInterfaceBaseConnector& connector;
    const std::uint32_t listenerId;
    const CStringBuf name;

    mutable CLock lock;                             // a leaf; both below
    CAudioParam* attached = nullptr;
    bool isClosed = false;
};

}
