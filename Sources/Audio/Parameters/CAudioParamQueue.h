// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamChangeScope.h"
#include "Audio/Parameters/CAudioParamData.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamListener.h"
#include "Audio/Parameters/CAudioParamRecordPool.h"
#include "Platform/CLock.h"

#include <memory>

namespace kor
{

class CAudioEnv;
class CAudioParam;
class CAudioParamStorage;

/// One storage of one listener, as bound to a parameter. Audio thread.
struct CAudioParamBinding
{
    CAudioParam* param = nullptr;
    CAudioParamListener* listener = nullptr;
    CAudioParamStorage* storage = nullptr;
    int group = everyIndex;
    int element = everyIndex;
    const CAudioParamInfo* info = nullptr;      // layout of the storage
    std::uint64_t seen = 0;                     // stored changes up to this number are in the storage already
    CAudioParamBinding* previousOfParam = nullptr;
    CAudioParamBinding* nextOfParam = nullptr;
    CAudioParamBinding* nextOfListener = nullptr;
};

// The road from the changing threads to the audio thread: a pending list that the audio thread takes whole, and from
// there a queue for every listener. Every value that a change stored also travels here, so that in the end store and
// sound agree; a record knows the number of its change, by which nobody gets the same change twice.
class CAudioParamQueue
{
public:
    CAudioParamQueue() = default;
    CAudioParamQueue(const CAudioParamQueue&) = delete;
    CAudioParamQueue& operator=(const CAudioParamQueue&) = delete;

    /// Lock and processing flag of this environment rule the pending list; without one changes merge as if nothing was
    /// processing.
    void setEnvironment(CAudioEnv* environment) noexcept { env = environment; }
    CAudioEnv* environment() const noexcept { return env; }

    // Changing threads, under the parameter's lock.

    /// Sends a stored change to the audio side, by way of the thread's open batch if there is one. touchedEnd: end of
    /// the elements that changed, a cut tail included.
    void send(CAudioParam& param, const CAudioParamRequest& request, int touchedEnd);

    /// The change was heard before it was stored; sends it only if a change queued later than `mark` overtook it.
    void settle(CAudioParam& param, const CAudioParamRequest& request, int touchedEnd, std::uint64_t mark);

    /// True when the latest change of the parameter leaves the pending list behind `mark`.
    bool comesBehind(const CAudioParam& param, std::uint64_t mark) const;

    void submit(CAudioParamBatch& batch);

    // Audio thread.

    bool flush();
    std::uint64_t deliveryCount() const noexcept { return deliveries; }

    /// Puts a change on the matching queues at once. info: the parameter's definition.
    void deliverNow(CAudioParam& param, const CAudioParamRequest& request, int touchedEnd, const CAudioParamInfo& info);

    void bind(CAudioParam& param, CAudioParamListener& listener, CAudioParamStorage& storage, int group, int element,
              const CAudioParamInfo* info, std::uint64_t seen);
    void unbind(CAudioParam& param, CAudioParamListener& listener, const CAudioParamStorage& storage);
    void unbindAll(CAudioParamListener& listener) noexcept;
    void dropFirst(CAudioParamListener& listener) noexcept;
    void letGo(CAudioParam& param) noexcept;

    /// Brings the parameter's audio-side values up to the last flush.
    void drainAudible(CAudioParam& param);

    void reserveDelivered(int count) { pool.reserveAudio(count); }

private:
    using CRecord = CAudioParamPooledRecord;
    using CLink = CAudioParamListener::CQueueLink;

    CRecord* makeRecord(CAudioParam& param, const CAudioParamRequest& request, int touchedEnd);
    void append(CRecord* record);               // under the parameter's lock
    void link(CRecord* record) noexcept;
    void unlink(CRecord* record) noexcept;
    CRecord* findMergeable(const CRecord& record) const noexcept;
    void mergeFromStore(CRecord& older, const CRecord& newer);
    void dropOlder(const CRecord& record) noexcept;
    void submitOneByOne(CRecord* first);
    void resend(CAudioParam& param, int group, int firstElement, int touchedEnd);
    void deliver(CRecord& record);
    void append(CLink*& first, CLink*& last, CRecord& record);
    void forgetWaiting(CAudioParamListener& listener, const CAudioParam& param) noexcept;

    /// Past this many pending changes they merge even while processing: the host has stopped calling.
    static constexpr std::size_t mergeLimit = 65536;

    CAudioEnv* env = nullptr;
    mutable CLock ownLock{CLockRank::environment};  // in the place of the environment's while there is none
    CLock& pendingLock() const noexcept;

    CAudioParamRecordPool pool;

    // Under the environment's lock.
    CRecord* firstPending = nullptr;
    CRecord* lastPending = nullptr;
    std::size_t pendingCount = 0;
    std::uint64_t epoch = 1;                    // rises with every take of the list
    std::uint64_t tickets = 0;                  // given out so far

    // Audio thread.
    CAudioParam* firstTouched = nullptr;
    std::uint64_t generation = 1;
    std::uint64_t deliveries = 1;
    CArray<std::unique_ptr<CAudioParamBinding[]>> bindingChunks;
    std::size_t bindingTotal = 0;
    CAudioParamBinding* freeBindings = nullptr;
};

}
