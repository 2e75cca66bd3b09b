// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamChangeScope.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamListener.h"
#include "Audio/Parameters/CAudioParamStorage.h"
#include "Platform/CLock.h"

#include <atomic>
#include <functional>
#include <memory>
#include <span>

namespace kor
{

class CAudioParamCollector;
class CAudioParamDef;
class CAudioParamUndoContext;
struct CAudioParamBinding;
struct CAudioParamPooledRecord;

/// Takes part in changes as they are made, under the parameter's lock, on the thread of the change. May change other
/// parameters (sources and destinations must stay acyclic), append to a leaf queue, or put off work behind all locks
/// by CAudioParamChangeScope::defer.
class CAudioParamChangeHook
{
public:
    virtual ~CAudioParamChangeHook() = default;
    virtual void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) = 0;
};

/// Records what a user's action changed, before and after; called under the parameter's lock. A hook may pass it on to
/// the changes it makes, but not keep it.
class CAudioParamUndoContext
{
public:
    virtual ~CAudioParamUndoContext() = default;
    virtual void recordOld(CAudioParam& param, const CAudioParamRequest& request) = 0;
    virtual void recordNew(CAudioParam& param, const CAudioParamRequest& request) = 0;

    /// True while a step of the history is undone or redone: nothing is recorded, and the user's action lies behind.
    virtual bool isReplay() const { return false; }

    /// Keeps `call` until the action is over, whether it becomes a step of the history or not; it is then made with no
    /// lock of the parameters held. False where there is no such end: nothing is kept.
    virtual bool callWhenClosed(std::function<void()>) { return false; }

    /// In a replay: the step restores this group of the parameter by itself, so that whoever derives its values from
    /// another parameter's (a registry from the value that selects a preset) keeps silent about it.
    virtual bool holds(const CAudioParam&, int) const { return false; }
};

/// Which part of a parameter a stored block goes to.
struct CAudioParamLoadTarget
{
    bool toDefaults = false;            // into the default store, without change or undo
    int group = everyIndex;             // everyIndex: the whole parameter; a group takes the block's first group
    int element = everyIndex;           // everyIndex: all elements of the group; else the block's first element
    bool isLast = false;                // the group's list ends behind this element
};

// One parameter of an instance, addressed by its full dotted name, group and element. The change operation is the only
// write path. Any thread; the lock guards the stores and hooks. The listener chain and the copy of the values as the
// audio side has them belong to the audio thread.
class CAudioParam
{
public:
    CAudioParam(CAudioParamCollector& owner, const CStringBuf& fullName);
    ~CAudioParam();
    CAudioParam(const CAudioParam&) = delete;
    CAudioParam& operator=(const CAudioParam&) = delete;

    const CStringBuf& fullName() const noexcept { return name; }

    /// The definition; an empty one while hasInfo() is false. Stays valid for the parameter's life even if another
    /// definition replaces it. Any thread, no lock.
    const CAudioParamInfo& info() const noexcept;
    bool hasInfo() const noexcept { return paramInfo.load(std::memory_order_acquire) != nullptr; }

    /// The definition object, null while there is none. Any thread.
    const CAudioParamDef* definition() const noexcept { return definitionObject.load(std::memory_order_acquire); }

    /// The one write path. Values are clamped to the range, NaN to its low end. Dropped while the parameter has no
    /// info or is locked. Fills a gap before the first element with defaults.
    void change(const CAudioParamRequest& request, CAudioParamUndoContext* undo = nullptr);

    /// One float value, real.
    void setValue(int group, int element, double value, CAudioParamUndoContext* undo = nullptr);

    /// One text of a string parameter, cut at 61,440 bytes of UTF-8.
    void setText(int group, int element, const CStringBuf& text, CAudioParamUndoContext* undo = nullptr);

    /// The second half of CAudioParamCollector::deliver, off the audio thread: stores what the audio side has already,
    /// and sends it once more only if another change overtook it. `mark` is what deliver returned.
    void storeDelivered(const CAudioParamRequest& request, std::uint64_t mark);

    /// For a hook, under lock(): true when the change that it sees reaches the audio side behind all that was delivered
    /// with this mark.
    bool comesBehind(std::uint64_t mark) const;

    /// Copies from the default store; group may be allGroups, element everyIndex. isLast cuts the list behind the
    /// element.
    void reset(int group, int element, CAudioParamUndoContext* undo = nullptr, bool isLast = false);

    /// Replaces values from a stored block: its path, which is ignored, and the store. All groups land in one flush.
    /// On failure nothing has changed. A locked parameter reads the block and keeps its values.
    CError load(CInputStream& stream, const CAudioParamLoadTarget& target, CAudioParamUndoContext* undo = nullptr);

    /// What such a block holds, within the ranges; no groups while the parameter has no definition. Any thread.
    CError readBlock(CInputStream& stream, CAudioParamStorage& values) const;

    /// Writes the block of the current values under the name of the definition; everyIndex writes all groups.
    CError save(COutputStream& stream, const CStringBuf& definitionName, int group) const;

    double getValue(int group, int element, int component = 0) const;
    int getElementCount(int group) const;
    CStringBuf getText(int group, int element) const;

    /// The stores themselves, while the caller holds lock().
    const CAudioParamStorage& values() const noexcept { return current; }
    const CAudioParamStorage& defaultValues() const noexcept { return defaults; }

    /// Binds a listener: its storage is laid out and brought up to date at once, exactly to what the last flush made
    /// audible; later changes come once each as records, and the listener's owner writes them to the storage with
    /// `storage.applyChange(record.request())`. group and element may be everyIndex. One listener may bind several
    /// storages; a change of a parameter comes once, however many of its storages it fits. Audio thread, or any thread
    /// while not processing. Allocates.
    void addListener(CAudioParamListener& listener, CAudioParamStorage& storage, int group, int element);

    /// Also drops what waits in the listener for this parameter once none of its storages is bound to it.
    void removeListener(CAudioParamListener& listener, CAudioParamStorage& storage);

    /// Hooks run on every change in the order of their attachment. A hook detaches while no change can be running.
    void addHook(CAudioParamChangeHook& hook);
    void removeHook(CAudioParamChangeHook& hook);

    /// The registry that this parameter selects presets of; runs ahead of the other hooks. Null for none.
    void setSelectionHook(CAudioParamChangeHook* hook);

    /// The text parameters that name the preset which this one's values came from; each is linked once.
    void linkName(CAudioParam& nameParam);
    CArray<CAudioParam*> nameParams() const;

    /// A locked parameter ignores all changes.
    void setLocked(bool locked);

    /// Take no lock of an environment, collector or stream under it. Around changes made with this lock held, open a
    /// CAudioParamChangeScope first, so that put-off calls wait until the lock is left.
    CLock& lock() const noexcept { return mutex; }

private:
    friend class CAudioParamCollector;
    friend class CAudioParamListener;
    friend class CAudioParamQueue;

    struct CPrepared;
    struct CManner;
    void define(const CAudioParamDef& definition);
    void takeInfo(const CAudioParamInfo& next);
    int groupCountOf(const CAudioParamInfo& definition) const noexcept;
    CAudioParamRequest requestFor(int group, int firstElement, int elementCount) const noexcept;
    bool prepare(CPrepared& prepared, const CAudioParamRequest& request) const;
    void run(const CAudioParamRequest& request, const CManner& manner);
    void fillGap(int group, int firstElement, const CManner& manner);
    void store(const CAudioParamRequest& request, const CManner& manner, CAudioParamUndoContext* recorder);
    void sendStored(const CAudioParamRequest& request, int touchedEnd, const CManner& manner);
    void runHooks(const CAudioParamRequest& request, int touchedEnd, CAudioParamUndoContext* undo);
    std::uint64_t deliver(const CAudioParamRequest& request);
    void resetGroup(int group, int element, CAudioParamUndoContext* undo, bool isLast);
    void loadList(const CAudioParamStorage& loaded, const CAudioParamLoadTarget& target, CAudioParamUndoContext* undo);
    void write(const CAudioParamRequest& request, bool toDefaults, CAudioParamUndoContext* undo);

    mutable CLock mutex{CLockRank::parameter};
    CAudioParamCollector& collector;
    CStringBuf name;
    std::atomic<const CAudioParamInfo*> paramInfo{nullptr};
    std::atomic<const CAudioParamDef*> definitionObject{nullptr};

    // Under the lock.
    CArray<std::unique_ptr<const CAudioParamInfo>> infos;       // the last one counts; older ones may still be read
    CAudioParamStorage current;
    CAudioParamStorage defaults;
    CArray<CAudioParamChangeHook*> hooks;
    CAudioParamChangeHook* selectionHook = nullptr;
    CArray<CAudioParam*> linkedNames;
    bool isLocked = false;
    std::uint64_t sequence = 0;                 // number of the latest change

    // Under the environment's lock.
    CAudioParamPooledRecord* lastPending = nullptr;     // newest in the pending list of pendingEpoch
    std::uint64_t pendingEpoch = 0;
    std::uint64_t queuedTicket = 0;             // of the last record that entered the pending list
    std::uint64_t settledSequence = 0;          // of the latest change that entered it or was heard already
    const CAudioParamDef* claimedBy = nullptr;  // under the collector's name lock

    // Of the audio thread.
    CAudioParamStorage audible;
    const CAudioParamInfo* audibleInfo = nullptr;
    CAudioParamBinding* firstBinding = nullptr;
    CAudioParamBinding* lastBinding = nullptr;
    CAudioParamListener::CQueueLink* firstQueued = nullptr;     // delivered since audible was brought up to date
    CAudioParamListener::CQueueLink* lastQueued = nullptr;
    CAudioParam* nextTouched = nullptr;
    std::uint64_t touchedGeneration = 0;
    std::uint64_t flushedTicket = 0;            // of the last record that left the pending list
    std::atomic<int> bindingCount{0};
};

}
