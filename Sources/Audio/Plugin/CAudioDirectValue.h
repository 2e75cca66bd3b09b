// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace kor
{

class CAudioParam;
class CAudioParamCollector;

// One value that the audio thread sets by itself, at once and without a lock: it goes straight to the parameter's
// listeners, and another thread stores it later. Of several such writes the last is stored; sound and store agree in
// the end whatever else changes the parameter meanwhile.
class CAudioDirectValue
{
public:
    static constexpr int elementLimit = 256;

    /// element: below elementLimit. Once, before anything else. The parameter must have elements of one value.
    void setUp(CAudioParamCollector& owner, CAudioParam& param, int group, int element);

    CAudioParam& param() const noexcept { return *target; }

    /// Takes over the defaults of the elements before this one, which a write fills in where there are none yet. Any
    /// thread but the audio thread.
    void prepare();

    /// Sets the real value and keeps `note` with it, whatever the caller wants to find again. Audio thread, best right
    /// behind a flush of the collector, since what is pending is heard over it for a while. With room for the records
    /// (CAudioParamCollector::reserveDelivered) it neither allocates nor waits. Ignored while the parameter has no
    /// definition.
    void deliver(double real, double note = 0.0) noexcept;

    // Any thread.

    /// Place of the write that is not stored yet among all of the instance; 0 for none.
    std::uint64_t pendingOrder() const noexcept;

    /// The place of the last write, stored or not, and its note.
    std::uint64_t lastOrder() const noexcept { return order.load(std::memory_order_acquire); }
    double note() const noexcept { return lastNote.load(std::memory_order_relaxed); }

    // Any thread but the audio thread.

    /// Stores the last write, and returns whether there was one. Its note goes to `noteTo` before it counts as stored.
    bool settle(std::atomic<double>* noteTo = nullptr);

    /// Under the parameter's lock, from a hook that sees another's change of this value: a write that the change
    /// reaches the audio side behind is not to be stored any more. Returns false when one remains.
    bool supersede() noexcept;

private:
    CAudioParamCollector* collector = nullptr;
    CAudioParam* target = nullptr;
    int group = 0;
    int element = 0;
    std::unique_ptr<std::atomic<double>[]> gapDefaults;

    // The last write. Each is written by the audio thread, `order` last and with release. A reader may catch value and
    // mark of a later write than the order that it has seen: that write then remains, and is stored in its turn.
    std::atomic<double> lastReal{0.0};
    std::atomic<double> lastNote{0.0};
    std::atomic<std::uint64_t> mark{0};
    std::atomic<std::uint64_t> order{0};
    std::atomic<std::uint64_t> settled{0};          // the order that is stored; written under the parameter's lock
};

}
