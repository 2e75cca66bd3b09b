// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <vector>

namespace kor
{

class CAudioParamCollector;
struct CAudioParamPooledRecord;

// Changes held back to reach the audio side together, in one flush, such as those of one preset. Stored values follow
// at once; only the audio side waits for submit. One thread at a time.
class CAudioParamBatch
{
public:
    explicit CAudioParamBatch(CAudioParamCollector& owner) noexcept : collector(owner) {}
    CAudioParamBatch(const CAudioParamBatch&) = delete;
    CAudioParamBatch& operator=(const CAudioParamBatch&) = delete;
    ~CAudioParamBatch() { submit(); }

    /// Hands everything collected to the collector and starts anew. Where the same parameter was changed past the
    /// batch meanwhile, the value that is stored now goes out, so that store and sound agree in the end.
    void submit();

    bool isEmpty() const noexcept { return first == nullptr; }

private:
    friend class CAudioParamQueue;
    CAudioParamCollector& collector;
    CAudioParamPooledRecord* first = nullptr;
    CAudioParamPooledRecord* last = nullptr;
};

// Span of one or more changes on a thread. Work that hooks put off runs when the outermost scope of the thread ends,
// with no parameter's lock held, provided that locks around changes are taken inside the scope. A change opens one by
// itself. With a batch, deferred changes of its collector made on this thread go there, those of hooks included.
class CAudioParamChangeScope
{
public:
    explicit CAudioParamChangeScope(CAudioParamBatch* batch = nullptr) noexcept;
    ~CAudioParamChangeScope();
    CAudioParamChangeScope(const CAudioParamChangeScope&) = delete;
    CAudioParamChangeScope& operator=(const CAudioParamChangeScope&) = delete;

    /// Runs `call` at the end of the thread's outermost scope, in the order of these requests; at once when no scope is
    /// open. Capture by value.
    static void defer(std::function<void()> call);

    /// The innermost batch open on this thread, null for none.
    static CAudioParamBatch* currentBatch() noexcept;

private:
    CAudioParamChangeScope* outer;
    CAudioParamBatch* openBatch;
    std::vector<std::function<void()>> calls;   // of the outermost scope only
};

}
