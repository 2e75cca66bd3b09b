// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamRequest.h"

namespace kor
{

class CAudioParamQueue;
class CAudioParamStorage;
struct CAudioParamBinding;

// One change on its way to its listeners: a request with its values copied in. Reference-counted, since one record may
// wait in several queues. Comes from the collector's pool; audio thread once it has left the pending list.
class CAudioParamRecord
{
public:
    virtual ~CAudioParamRecord() = default;

    /// The change; valid while the record lives.
    const CAudioParamRequest& request() const noexcept { return change; }

protected:
    CAudioParamRequest change;
};

// Whoever follows parameters on the audio thread: a queue of records in the order of their arrival, and a flag that
// says that something waits. The owner walks the queue at the start of its block by takeChanges().
class CAudioParamListener
{
public:
    CAudioParamListener() = default;
    CAudioParamListener(const CAudioParamListener&) = delete;
    CAudioParamListener& operator=(const CAudioParamListener&) = delete;

    /// Withdraws from every parameter and releases what waits. The collector must still live.
    virtual ~CAudioParamListener();

    /// True when records wait. Audio thread.
    bool hasChanges() const noexcept { return first != nullptr; }

    /// Calls `apply(record)` for every waiting record in order and releases them. Audio thread; never allocates.
    template <class Function>
    void takeChanges(Function&& apply)
    {
        while (first != nullptr)
        {
            apply(static_cast<const CAudioParamRecord&>(*peekRecord()));
            dropFirst();
        }
    }

    struct CQueueLink;

private:
    friend class CAudioParam;
    friend class CAudioParamCollector;
    friend class CAudioParamQueue;
    const CAudioParamRecord* peekRecord() const noexcept;
    void dropFirst() noexcept;

    CAudioParamQueue* queue = nullptr;          // of the collector, from the first binding on
    CAudioParamBinding* firstBinding = nullptr;
    CQueueLink* first = nullptr;
    CQueueLink* last = nullptr;
};

}
