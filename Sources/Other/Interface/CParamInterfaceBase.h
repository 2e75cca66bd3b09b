// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Parameters/CAudioParamUndo.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Other/Interface/CParamInterfaceBaseConnector.h"

#include <memory>
#include <span>

namespace kor
{

class CInterfaceMessage;
class CParamListener;
class CRegistryListener;

// An instance's side of the road between parameters and windows: runs the commands of clients on the parameters, the
// registries and the undo history of the instance, and tells the clients what changes there, whoever changed it. A
// command is an event of this object, and its handler reads the fields from the message at hand. A message with a
// field missing changes nothing. Commands run one at a time on their sender's thread; changes come from any thread but
// the audio thread.
class CParamInterfaceBase : public CObject,
                            public CAudioParamUndo,
                            private CAudioParamCollectorHook,
                            private CAudioParamRegistryListener
{
public:
    /// Registers the commands.
    static void initClass(CObjectClassInfo& info);

    CParamInterfaceBase();
    ~CParamInterfaceBase() override;
    CError init() override;
    void uninit() override;

    /// Ends the service while the rest of the instance is still whole: commands fail from then on, and nobody is
    /// listened to. Waits for a command that is running.
    void close();

    /// Runs the command that a message holds: "Unknown event '%1'." for an unknown one, else what its handler says.
    /// Takes the message lock. For the connector, which runs one at a time.
    CError runCommand(std::span<const unsigned char> block);

    /// A client has come, or begins anew; one has gone, and what it left open is ended: its batch, its open undo
    /// records, which go to the history, its listeners. For the connector, under its command lock.
    virtual void clientStarted(int clientId);
    virtual void clientGone(int clientId);

protected:
    CMemoryReader& message() noexcept { return *current; }

    /// To one client or all; nothing once the service has ended.
    void send(int clientId, const CInterfaceMessage& message, CSending kind) const;
    CLock& messageLock() const noexcept { return mutex; }

    /// True if the id may be given to something new: it is of a client that is there.
    bool isOfClient(std::uint32_t anyId) const;
    static int clientOf(std::uint32_t anyId) noexcept { return static_cast<int>(anyId >> 16); }

private:
    /// Changes held back for a client, see "begin-batch".
    struct CClientBatch
    {
        explicit CClientBatch(CAudioParamCollector& owner) : changes(owner) {}

        static constexpr int limit = 16384;         // a client that never ends its batch
        CAudioParamBatch changes;
        int count = 0;
    };
    using CParamListeners = CMap<std::uint32_t, std::shared_ptr<CParamListener>>;

    // Undo.
    CError onCreateUndoData();
    CError onRemoveUndoData();
    CError onSubmitUndoData();
    CError onRequestUndoHistory();
    CError onSetUndoHistoryPos();
    CError onBeginBatch();
    CError onEndBatch();
    void historyChanged() override;
    void sendHistory(int clientId, CSending kind);
    void submitRecord(std::uint32_t undoId);

    // Parameters.
    CError onListenParam();
    CError onUnlistenParam();
    CError onChangeParam();
    CError onResetParam();
    CAudioParam* listenedParam(std::uint32_t listenerId) const;
    CAudioParamUndoContext* openRecord(std::uint32_t undoId) const;
    CAudioParamBatch* openBatch(std::uint32_t listenerId);
    void endListener(CParamListeners::iterator listener);
    void tellDefaults();
    void updateRegistries();
    void onParamAdded(CAudioParam& param) override { meet(param); }
    void onParamDefined(CAudioParam& param) override { meet(param); }
    void meet(CAudioParam& param);
    bool followsChanges() const noexcept override { return false; }

    // Registries.
    CError onListenRegistry();
    CError onUnlistenRegistry();
    CError onSetCurrentProgram();
    CError onRenamePreset();
    CError onActivateFactoryPreset();
    CError onActivatePreset();
    CError onRequestPreset();
    CError onRequestBank();
    CError onSetDefaultPreset();
    CError onActivateDefaultPreset();
    CError onExchangeShadowPreset();
    CError onUpdateShadowPreset();
    CError readRegistry(CRegistryListener*& listener, std::uint32_t& listenerId);
    template <class Call>
    CError runRegistry(Call&& call, std::int32_t* index = nullptr);
    void onProgramsChanged(CAudioParamRegistry& registry, const CAudioParamRegistryListener* sender) override;

    CParamInterfaceBaseConnector* clients = nullptr;
    CAudioParamCollector* params = nullptr;

    mutable CLock mutex{CLockRank::message};        // all below, up to the next lock
    CMemoryReader* current = nullptr;
    CParamListeners paramListeners;
    CMap<std::uint32_t, CRegistryListener> registryListeners;
    CMap<std::uint32_t, std::unique_ptr<CAudioParamUndoRecord>> records;
    CMap<int, std::unique_ptr<CClientBatch>> batches;   // by client
    CSet<CAudioParamRegistry*> registries;          // that this object listens to

    CLock namesLock;                                // a leaf; the listeners by their parameters' names
    CMap<CStringBuf, CArray<std::shared_ptr<CParamListener>>> listenersByName;
};

}
