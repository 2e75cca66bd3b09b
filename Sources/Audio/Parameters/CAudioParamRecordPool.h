// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamData.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamListener.h"
#include "Platform/CLock.h"

#include <atomic>
#include <cstdint>

namespace kor
{

/// A record with its values, items and places in lists. Owned by the pool.
struct CAudioParamPooledRecord final : CAudioParamRecord
{
    static constexpr std::size_t inlineValues = 8;

    using CAudioParamRecord::change;

    /// Copies a request with its values and items, and clamps float values to the range of `info`.
    void fill(const CAudioParamRequest& request, int endElement, const CAudioParamInfo& info, std::uint64_t number);

    int touchedEnd = 0;                         // end of the elements that changed, a cut tail included
    std::uint64_t sequence = 0;                 // number of the stored change within its parameter
    std::uint64_t ticket = 0;                   // place in the order of queueing, which batches may change
    const CAudioParamInfo* info = nullptr;
    int references = 0;                         // audio thread, once delivered
    int linksPromised = 0;
    bool isOfAudioThread = false;
    CAudioParamPooledRecord* next = nullptr;    // in the pending list, a batch or a free list
    CAudioParamPooledRecord* previous = nullptr;
    CAudioParamPooledRecord* olderOfParam = nullptr;
    double fewValues[inlineValues];
    CArray<double> manyValues;
    CAudioParamData ownItems;
};

struct CAudioParamListener::CQueueLink
{
    CAudioParamPooledRecord* record;
    CQueueLink* next;
};

// Records and queue links in chunks that double and are never given back, so that neither side of the road allocates
// in the steady state. The changing threads take records; the audio thread, which must not free what a record holds,
// only throws them on a stack from which the changing threads recycle them. Links are taken by the audio thread alone;
// the changing threads see to it that there are enough for what they queue.
class CAudioParamRecordPool
{
public:
    CAudioParamRecordPool() = default;
    CAudioParamRecordPool(const CAudioParamRecordPool&) = delete;
    CAudioParamRecordPool& operator=(const CAudioParamRecordPool&) = delete;
    ~CAudioParamRecordPool();

    /// Changing threads.
    CAudioParamPooledRecord* takeRecord();

    /// Any thread.
    void retire(CAudioParamPooledRecord* record) noexcept;

    /// Any thread: announces that the audio thread will take `count` links for a record about to be queued, and makes
    /// the missing ones.
    void promiseLinks(int count);

    /// Audio thread: the record with this promise has been delivered.
    void redeemLinks(int count) noexcept { promised.fetch_sub(count, std::memory_order_relaxed); }

    // Audio thread. These allocate only when the pool is empty after all.
    CAudioParamPooledRecord* takeAudioRecord();
    CAudioParamListener::CQueueLink* takeLink();
    void freeLink(CAudioParamListener::CQueueLink* link) noexcept;
    void release(CAudioParamPooledRecord& record) noexcept;

    /// Room for `count` records of the audio thread and their links, delivered to about four listeners each.
    void reserveAudio(int count);

private:
    using CRecord = CAudioParamPooledRecord;
    using CLink = CAudioParamListener::CQueueLink;

    template <class T>
    struct CChunk
    {
        CChunk* next;
        T* items;
        int count;
    };
    CRecord* growRecords(int count);
    CLink* growLinks(int count);

    CLock lock;                                 // leaf: the chunk lists and freeRecords
    CChunk<CRecord>* recordChunks = nullptr;
    CChunk<CLink>* linkChunks = nullptr;
    int recordChunk = 32;
    CRecord* freeRecords = nullptr;
    std::atomic<int> linkCapacity{0};

    std::atomic<CRecord*> retired{nullptr};
    std::atomic<CLink*> newLinks{nullptr};
    std::atomic<int> promised{0};
    std::atomic<int> linksInUse{0};             // written by the audio thread

    // Audio thread.
    CRecord* freeAudioRecords = nullptr;
    int audioRecordCount = 0;
    CLink* freeLinks = nullptr;
};

}
