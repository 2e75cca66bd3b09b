// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Core/CObject.h"
#include "Other/Interface/CAudioVizExportChannel.h"
#include "Other/Interface/CAudioVizPool.h"
#include "Other/Interface/CAudioVizSlot.h"

#include <array>
#include <atomic>
#include <memory>

namespace kor
{

class CAudioParamDef;
class CExportSlotNameListener;
class CExportSlotParamListener;
class CNameParamListener;

// Where everything that a display shows of the running audio gathers (`audio:viz-collector`): modules post data under
// their slot, the interface fetches what has gathered. Nothing is measured that nobody looks at: the listeners of a slot
// switch the parameter with the slot's name and "-enable" behind it, by which the graph takes the module in. A group that
// exports also feeds a channel of CAudioVizSlotManager, from which other instances of the process read.
//
// The audio thread: makeMeter, makeSpectrum, post, frameUpdate, changeListeners. In the steady state they neither allocate
// nor free, and take leaf locks for a few pointers only. Everything else comes from other threads.
class CAudioVizCollector : public CObject, private CAudioParamCollectorHook
{
public:
    static constexpr int maxGroups = CAudioVizSlot::maxGroups;
    static constexpr int maxPending = 1024;         // objects of a slot; then the oldest go

    CAudioVizCollector();
    ~CAudioVizCollector() override;
    CError init() override;
    void uninit() override;

    /// The slot of a name; a new one makes its enable parameter with it. Any thread.
    CAudioVizSlot& getSlot(const CStringBuf& name);

    /// The same for a name that a client says: slots stay for good, so that past maxForeignSlots of such it is null for
    /// one that there is none of. Any thread but the audio thread.
    static constexpr int maxForeignSlots = 64;
    CAudioVizSlot* findOrMakeSlot(const CStringBuf& name);

    /// An object to be filled and posted to this slot. Comes from a pool; where that has none, the slot's oldest one is
    /// used again if nobody has fetched it for a tenth of a second, and else a new one is made. valueCount: 0 to 65,537;
    /// the values are of any content. Audio thread.
    CAudioVizRef<CAudioVizDataMeter> makeMeter(CAudioVizSlot& slot);
    CAudioVizRef<CAudioVizDataSpectrum> makeSpectrum(CAudioVizSlot& slot, int valueCount);

    /// Hands an object over. Audio thread.
    void post(CAudioVizSlot& slot, CAudioVizDataPtr data);

    /// The start of a host's block: listeners that came and went, export slots that changed, what nobody has read in
    /// time. Audio thread, or whoever stands in for it while nothing is processed. The graph hears of a switched module
    /// at once; its parameter has the new value from the interface's next call on.
    void frameUpdate();

    /// group: -1 for a listener of this instance, else the group whose export slot it came through. Audio thread.
    void changeListeners(CAudioVizSlot& slot, int delta, int group);

    /// Forgets what waits, here and for importers. While nothing is processed.
    void clearPending();

    // The interface's thread.

    /// A display of this instance begins or ends to listen; counts from the next frameUpdate on.
    void addLocalListener(CAudioVizSlot& slot) { noteLocalListener(slot, 1); }
    void removeLocalListener(CAudioVizSlot& slot) { noteLocalListener(slot, -1); }

    /// The same for what comes by an export slot, 0 to 47; any other index is ignored.
    void addImport(int slotIndex, const CStringBuf& name) { noteImport(slotIndex, name, 1); }
    void removeImport(int slotIndex, const CStringBuf& name) { noteImport(slotIndex, name, -1); }

    /// Takes all that waits and writes it: the present audio time, then records of count, slot name and objects, then 0.
    CError writeVizData(COutputStream& stream);

    /// The used export slots of the process: their count, then index and text of each.
    CError writeExportSlotNames(COutputStream& stream);

    /// Told by writeVizData when the names have changed since the last time; null for nobody.
    void setNameListener(CExportSlotNameListener* listener) noexcept { nameListener = listener; }

    int instanceId() const noexcept { return instance; }

    /// Frames a second that modules post at most.
    double vizFps() const noexcept;

private:
    friend class CExportSlotParamListener;
    friend class CNameParamListener;
    using CImportKey = std::pair<CStringBuf, int>;  // slot name, export slot

    void onCollectorReady() override;
    bool followsChanges() const noexcept override { return false; }

    void makeRoom(CAudioVizSlot& slot, int objectClass);
    CAudioVizDataPtr copyOf(const CAudioVizData& data);
    void exportData(const CAudioVizSlot& slot, CAudioVizDataPtr data);
    CAudioParam* makeEnableParam(const CStringBuf& slotName);
    void noteLocalListener(CAudioVizSlot& slot, int delta);
    void noteImport(int slotIndex, const CStringBuf& name, int delta);
    void switchModule(CAudioVizSlot& slot, bool isOn);
    void storeSwitched();
    void takeLocalDeltas();
    void serveChannel(int group);
    void applyExportConfig();
    void leaveChannel(int group);
    void enterChannel(int group);

    struct CTaken
    {
        CAudioVizSlot* slot;
        CAudioVizQueue data;
    };
    void takePending(CArray<CTaken>& taken);
    CError writePending(COutputStream& stream, double now);
    CError writeImported(COutputStream& stream);
    void tellOfNames();

    void noteExportSlots(const CAudioParam& param);
    void publishNames();

    CAudioEnv* env = nullptr;
    CAudioParamCollector* params = nullptr;
    const CAudioParamDef* enableDefinition = nullptr;
    CAudioVizPool* const pool;
    int instance = 0;
    std::atomic<double> time{0.0};                  // the environment's, for other threads

    CLock slotsLock;
    CMap<CStringBuf, std::unique_ptr<CAudioVizSlot>> slots;
    int foreignSlots = 0;

    CLock pendingLock;                              // the queues of the slots

    CLock localLock;
    CAudioVizSlot* firstChanged = nullptr;
    std::atomic<bool> hasLocalDeltas{false};

    std::atomic<CAudioVizSlot*> firstSwitched{nullptr};

    CLock importLock;
    CMap<CImportKey, int> imports;                  // listeners by name and export slot, none with 0

    // What is exported: as the parameters have it, and as the audio thread has it.
    std::unique_ptr<CExportSlotParamListener> exportListener;
    std::unique_ptr<CNameParamListener> textListener;
    std::array<std::atomic<int>, maxGroups> wantedIndex;
    std::atomic<bool> isExportChanged{false};
    std::array<int, maxGroups> exportIndex;
    std::array<CAudioVizExportChannel*, maxGroups> exportChannel{};
    int heldChannelCount = 0;
    CArray<CAudioVizExportChannel::CRequest> requests;

    std::atomic<unsigned> nameTicket{0};
    unsigned publishedTicket = 0;                   // under the manager's lock
    int seenGeneration = -1;                        // of the names; under the import lock
    CExportSlotNameListener* nameListener = nullptr;
};

}
