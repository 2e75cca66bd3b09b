// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Other/Interface/CParamClientListener.h"
#include "Other/Interface/CRegistryClientListener.h"

#include <span>

namespace kor
{

class CInterfaceMessage;
class CParamInterfaceClientConnector;

// The audio side as a window sees it: what it calls here goes there as messages, what changes there comes back to its
// listeners, the window's own changes included; that is when a copy is updated. All of it belongs to the thread that
// built the tree. A call's failure is that of the command at the audio side. Ids are the client's own, its id in their
// upper half; 0 is none.
class CParamInterfaceClient : public CObject
{
public:
    /// Registers the messages.
    static void initClass(CObjectClassInfo& info);
    CError init() override;
    void uninit() override;

    int clientId() const noexcept { return ownId; }

    // Parameters. The whole state of a parameter comes to a new listener first. undoId: 0 for none.
    CError listenParam(std::uint32_t& listenerId, const CStringBuf& name, CParamClientListener& listener);
    CError unlistenParam(std::uint32_t listenerId);
    CError changeParam(std::uint32_t listenerId, std::uint32_t undoId, const CAudioParamRequest& request);

    /// group: allGroups for all; element: everyIndex for all. isLast cuts the list behind the element.
    CError resetParam(std::uint32_t listenerId, std::uint32_t undoId, int group, int element, bool isLast = false);

    /// What is changed between the two reaches the sound at once.
    CError beginBatch();
    CError endBatch();

    // Undo. A record collects the changes that carry its id until it is submitted, under another label if there is
    // one, or removed. Mergeable records of equal key (-1: none) over the same values become one step.
    CError createUndoData(std::uint32_t& undoId, const CStringBuf& label, bool isMergeable = false, int mergeKey = -1);
    CError removeUndoData(std::uint32_t undoId);
    CError submitUndoData(std::uint32_t undoId, const CStringBuf& label = gEmptyString);
    CError setUndoHistoryPos(int position);

    /// The history as last told: its lines, the first being its start, and the line in effect. The event
    /// "undo-history-changed" tells of a new one, with "position", "count" and the lines "label0", "label1", ...
    const CArray<CStringBuf>& undoLabels() const noexcept { return labels; }
    int undoPosition() const noexcept { return position; }

    // Registries, by the path of the object at the audio side. "No param registry object '%1' found."
    CError listenRegistry(std::uint32_t& listenerId, const CStringBuf& path, CRegistryClientListener& listener);
    CError unlistenRegistry(std::uint32_t listenerId);
    CError setCurrentProgram(std::uint32_t listenerId, int index);
    CError renamePreset(std::uint32_t listenerId, int index, const CStringBuf& title);
    CError activateFactoryPreset(std::uint32_t listenerId, int index);
    CError activatePreset(std::uint32_t listenerId, const CAudioPreset& preset, int group = everyIndex);

    /// The listener gets the preset or bank under the request id, which is the caller's choice. index -1: the live
    /// state.
    CError requestPreset(std::uint32_t listenerId, std::uint32_t requestId, CAudioPresetSource source, int index,
                         int group = everyIndex);
    CError requestBank(std::uint32_t listenerId, std::uint32_t requestId, CAudioPresetSource source);
    CError setDefaultPreset(std::uint32_t listenerId, const CAudioPreset& preset);
    CError activateDefaultPreset(std::uint32_t listenerId);
    CError exchangeShadowPreset(std::uint32_t listenerId);
    CError updateShadowPreset(std::uint32_t listenerId);

    /// Runs one message of the audio side. For the connector.
    CError runMessage(std::span<const unsigned char> block);

    /// Messages were lost: sends anew what this client listens to, has asked for, and asks for at its start. For the
    /// connector; the whole state comes back.
    virtual CError askForEverything();

protected:
    CMemoryReader& message() noexcept { return *current; }
    CError send(const CInterfaceMessage& command);

    /// The next free id; fails when all are taken.
    CError takeId(std::uint32_t& made);
    virtual bool isIdInUse(std::uint32_t anyId) const;

private:
    struct CParamEntry
    {
        CStringBuf name;
        CParamClientListener* listener;
    };
    struct CRegistryEntry
    {
        CStringBuf path;
        CRegistryClientListener* listener;
    };
    using CRequestKey = std::pair<std::uint32_t, std::uint32_t>;    // listener, request

    CError onUpdateUndoHistory();
    CError onUpdateParamInfo();
    CError onUpdateParam();
    CError onUpdateRegistry();
    CError onRegistryData();
    CError sendRequest(std::uint32_t listenerId, std::uint32_t requestId, const CInterfaceMessage& request);
    CParamClientListener* paramListener(std::uint32_t listenerId) const;
    CRegistryClientListener* registryListener(std::uint32_t listenerId) const;

    CParamInterfaceClientConnector* connector = nullptr;
    CMemoryReader* current = nullptr;
    int ownId = 0;
    std::uint32_t lastId = 0;                       // its lower half
    CMap<std::uint32_t, CParamEntry> paramEntries;
    CMap<std::uint32_t, CRegistryEntry> registryEntries;
    CSet<std::uint32_t> undoIds;
    CMap<CRequestKey, CByteArray> requests;         // that wait for their answer, as they were sent
    CArray<CStringBuf> labels;
    int position = 0;
};

}
