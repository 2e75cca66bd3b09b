// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"
#include "Other/Interface/CAudioVizData.h"
#include "Other/Interface/CAudioVizDataMeter.h"
#include "Other/Interface/CAudioVizDataSpectrum.h"

#include <array>
#include <atomic>

namespace kor
{

// Where the data objects of one instance come from and go back to, so that the audio thread neither allocates nor frees
// once there are enough of them. Spectra lie by the power of two that holds their values. It lives until its owner and
// all its objects have let go of it: another instance may still read one when this instance is gone.
class CAudioVizPool
{
public:
    /// Spectra of more values are made and freed one by one.
    static constexpr int maxPooledValues = (1 << 16) + 1;
    static constexpr int classCount = 18;

    static CAudioVizPool* create() { return new CAudioVizPool; }

    /// The owner lets go.
    void release() noexcept { letGo(); }

    static constexpr int meterClass = 0;
    static int spectrumClass(int valueCount) noexcept;

    // The audio thread. Empty when nothing is there. A taken object has the fields of a new one; a spectrum has
    // `valueCount` values of any content.
    CAudioVizRef<CAudioVizDataMeter> takeMeter() noexcept;
    CAudioVizRef<CAudioVizDataSpectrum> takeSpectrum(int valueCount) noexcept;

    /// Makes one more object of the class. / Makes them until there are `count`, in use or not. Any thread; allocates.
    void addOne(int objectClass);
    void fillUp(int objectClass, int count);

    /// An object that nobody refers to any more. Any thread; neither allocates nor waits.
    void takeBack(CAudioVizData& data) noexcept;

private:
    CAudioVizPool() = default;
    ~CAudioVizPool();
    static std::size_t toIndex(int objectClass) noexcept { return static_cast<std::size_t>(objectClass); }
    CAudioVizData* take(int objectClass) noexcept;
    void push(CAudioVizData& data) noexcept;
    void sortReturned() noexcept;
    void letGo() noexcept;

    std::atomic<int> users{1};                      // the owner, and every object that is not here
    std::atomic<CAudioVizData*> returned{nullptr};  // pushed by any thread, taken whole by the audio thread
    std::array<std::atomic<int>, classCount> made{};
    std::array<CAudioVizData*, classCount> free{};  // the audio thread's
};

}
