// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamRegistryMap.h"
#include "Audio/Parameters/CAudioParamUndo.h"
#include "Audio/Parameters/CAudioPresetBank.h"
#include "Core/CApplicationDataBridge.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace kor
{

class CAudioParamRegistry;
class CAudioParamRegistryNameBridge;
struct CAudioParamSelectionTable;

/// Is told that the programs of a registry, their names or the current one changed, on the thread of the change with
/// no lock held. `sender` is the listener that caused it, null for anybody else.
class CAudioParamRegistryListener
{
public:
    virtual ~CAudioParamRegistryListener() = default;
    virtual void onProgramsChanged(CAudioParamRegistry& registry, const CAudioParamRegistryListener* sender) = 0;
};

/// Which bank of the master is meant.
enum class CAudioPresetSource
{
    session,                    // the programs
    factory
};

/// What a preset may set.
enum class CAudioPresetScope
{
    storable,
    storableAndPersistent       // a project's state, with window size and the like
};

/// Whether applying a preset becomes a step of undo.
enum class CAudioPresetUndo
{
    recorded,
    none
};

// Gives a name to a subtree of an instance's parameters (`audio:param-registry`) and turns them into presets: captures
// them, applies presets to them, shows a preset's name. The master also has the programs, each with an undo history of
// its own, the factory bank and the pair of A and B. An enumerated registry has a list of presets from which a
// parameter selects by its value; its parameters follow that one and are left out of what other registries capture.
// Any thread but the audio thread. Locks in order: preset, undo, parameter lock, a parameter's; a selection comes in
// under the selecting parameter's lock and takes only the registry's selection lock behind it.
class CAudioParamRegistry : public CObject,
                            private CAudioParamCollectorHook,
                            private CAudioParamChangeHook
{
public:
    CAudioParamRegistry();
    ~CAudioParamRegistry() override;

    CError init() override;
    void uninit() override;

    /// First part of the names of this registry's presets.
    const CStringBuf& id() const noexcept { return idText; }
    bool isMaster() const noexcept { return master != nullptr; }

    /// Takes over what came meanwhile from elsewhere: new parameters, the user's default preset. Whatever works with
    /// the registry does it by itself; call it now and then, and ahead of resetting single parameters.
    void update();

    /// Before such a change by a client of the parameter interface: the preset names that stand for the parameter's
    /// values become "User", in the groups that the change is for (allGroups for all).
    static void markUser(const CAudioParam& param, int group, CAudioParamUndoContext* undo);

    // Programs; of the master, elsewhere there are none. Indices out of range do nothing.

    /// At least 1.
    int getProgramCount() const;
    int getCurrentProgram() const;

    /// The whole stored name, "id:title"; empty for an index out of range.
    CStringBuf getProgramName(int index) const;
    CArray<CStringBuf> getPresetNames(CAudioPresetSource source) const;

    /// What was edited stays with the old program, as does its undo history.
    void setCurrentProgram(int index, const CAudioParamRegistryListener* sender = nullptr);
    void renamePreset(int index, const CStringBuf& title, const CAudioParamRegistryListener* sender = nullptr);
    void activateFactoryPreset(int index);

    /// The A and B of a comparison: keeps the present state as the other one; swaps present and other state with their
    /// undo histories. The first swap only keeps.
    void updateShadowPreset();
    void exchangeShadowPreset();

    // Presets of any registry. Groups: everyIndex for all of them, else the one that a preset's first group goes to.

    /// Applies the preset that the stream holds. "Incompatible preset." for one of another registry; a block that does
    /// not load ends it there, with what was set before.
    CError activatePreset(CInputStream& stream, CAudioPresetScope scope, int group = everyIndex,
                          CAudioPresetUndo undoing = CAudioPresetUndo::recorded);

    /// Writes a program or factory preset of the master, where -1 is the current program; of another registry what
    /// it has now.
    CError acquirePreset(CAudioPresetSource source, int index, int group, COutputStream& stream);
    CError acquireBank(CAudioPresetSource source, COutputStream& stream);

    /// The values of the stream's preset become the parameters' defaults; nothing when it does not parse.
    void setDefaultPreset(CInputStream& stream);

    /// Everything storable to its default.
    void activateDefaultPreset();

    /// Whether a routing preset fits where mid/side pairs or a side chain may not be allowed.
    static bool isRoutingCompatible(const CAudioPreset& preset, bool allowMidSide, bool allowSidechain);

    /// The presets that a parameter selects from; null for none. It is another object whenever the list has changed.
    /// Any thread but the audio thread.
    std::shared_ptr<const CAudioPresetBank> presets() const;

    /// What a selection from this list sets, in plain values. Null where single elements are selected for. No lock
    /// held.
    std::unique_ptr<const CAudioParamSelectionTable> selectionTable(const CAudioPresetBank* fromList);

    void addListener(CAudioParamRegistryListener& listener);
    void removeListener(CAudioParamRegistryListener& listener);

    /// Fits default routing to the host's channels; runs at the end of each preset. Set before presets are applied.
    using CRoutingHandler = std::function<void(CAudioParamUndoContext* undo)>;
    void setRoutingHandler(CRoutingHandler handler);

private:
    friend class CAudioParamRegistryNameBridge;

    /// What only the master has; under the preset lock.
    struct CMaster
    {
        CAudioPresetBank factory;
        CAudioPresetBank session;
        int current = 0;
        CArray<std::unique_ptr<CAudioParamUndo::CHistory>> histories;      // null for the current program and empty ones
        std::optional<CAudioPreset> shadow;
        std::unique_ptr<CAudioParamUndo::CHistory> shadowHistory;

        CAudioPreset& program() const noexcept { return session.preset(static_cast<std::size_t>(current)); }
    };

    /// An operation on presets: under the preset lock, all its changes in one flush, what hooks put off behind the lock.
    class CRun
    {
    public:
        explicit CRun(CAudioParamRegistry& registry);
        ~CRun() { batch.submit(); }
        CRun(const CRun&) = delete;
        CRun& operator=(const CRun&) = delete;

    private:
        CAudioParamBatch batch;                     // unused within another one
        CAudioParamChangeScope scope;
        CLockHolder hold;
    };

    void onParamAdded(CAudioParam& param) override;
    void onParamDefined(CAudioParam& param) override;
    void onCollectorReady() override;
    bool followsChanges() const noexcept override { return false; }
    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* context) override;

    CError findPartners();
    CAudioParam* findParam(const char* attrName);
    void meetRegistries();
    void initMaster();
    void initList();
    CError onStoreWritten(const CStringBuf& storeName);
    void readList();
    std::optional<CAudioPreset> readDefaultPreset() const;
    void takeStoredDefaults();

    /// A parameter's part in applying a preset.
    struct CStep
    {
        CAudioParam* param;
        const CByteArray* block;                    // null for the default
    };
    CArray<CStep> stepsOf(const CAudioPreset& preset, CAudioPresetScope scope, const CAudioParamLoadTarget& target,
                          const CAudioParamUndoContext* context);

    CError capture(CAudioPreset& preset, int group);
    void captureProgram(CAudioPreset& preset);
    CError apply(const CAudioPreset& preset, CAudioPresetScope scope, const CAudioParamLoadTarget& target,
                 CAudioParamUndoContext* context);
    CError applySteps(const CAudioPreset& preset, CAudioPresetScope scope, const CAudioParamLoadTarget& target,
                      CAudioParamUndoContext* context);
    void applyDefaults(const CAudioPreset& preset);
    void select(const CAudioPresetBank* presets, double value, const CAudioParamLoadTarget& target,
                CAudioParamUndoContext* context);
    bool isSelectedElsewhere(const CAudioParam& param) const noexcept;
    bool isProgram(int index) const noexcept;

    std::unique_ptr<CAudioParamUndoRecord> openRecord(const CStringBuf& label) const;
    void closeRecord(std::unique_ptr<CAudioParamUndoRecord> record);
    CStringBuf activationLabel(int group) const;
    void setPresetName(const CStringBuf& fullName, int group, CAudioParamUndoContext* context,
                       const CAudioParamRegistryListener* sender);
    void showName(const CStringBuf& fullName, int group, CAudioParamUndoContext* context);
    void resetShownName(CAudioParamUndoContext* context);
    void takeShownName();                           // of the master
    void tellListeners(const CAudioParamRegistryListener* sender);

    CStringBuf idText;
    CStringBuf naming;                              // "Routing preset", for labels of undo
    bool isEnumerated = false;
    bool isElementEnum = false;
    CAudioParamCollector* collector = nullptr;
    CAudioParamUndo* undoHistory = nullptr;         // null for none
    CAudioParam* nameParam = nullptr;
    CAudioParam* groupNames = nullptr;
    CAudioParamRegistryMap map;
    CArray<CStringBuf> selectedPrefixes;            // of the other registries that are enumerated
    CRoutingHandler routingHandler;

    mutable CLock presetLock{CLockRank::preset};    // programs, banks, A and B
    CLock paramLock{CLockRank::registryParams};     // a run of capture or apply
    CLock selectionLock{CLockRank::parameterFilter};
    bool isSelecting = false;                       // under the selection lock

    std::unique_ptr<CMaster> master;
    std::unique_ptr<CAudioParamRegistryNameBridge> nameBridge;
    CApplicationDataBridge<CAudioParamRegistry> storeBridge;
    std::atomic<bool> isDefaultStale{false};

    CStringBuf listName;
    bool isListGlobal = false;
    std::atomic<unsigned> listReadings{0};

    mutable CLock listLock;                         // a leaf; all below
    std::shared_ptr<const CAudioPresetBank> list;   // of an enumerated registry; null for none
    unsigned listReading = 0;                       // the number of the reading that it is from
    CArray<CAudioParam*> selectors;
    CArray<CAudioParamRegistryListener*> listeners;
};

}
