// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"
#include "Platform/CLock.h"

#include <cstdint>
#include <memory>

namespace kor
{

class CAudioDirectSelection;
class CAudioExtParam;
class CAudioParam;
class CAudioParamCollector;
class CObject;

// What must follow at once, on the audio thread, from values that it set by itself: whether the resamplers are passed,
// and the values of a preset that a parameter selects. Both are worked out from what the audio side has and put right
// where they differ, so a change of the store that comes late does no harm. The stores follow when the values are
// settled, by the parameters' ordinary hooks.
class CAudioDirectChanges
{
public:
    CAudioDirectChanges();
    ~CAudioDirectChanges();

    /// Reads from an object's attributes the names of the parameters that the resamplers' bypass follows:
    /// `oversampling`, `host-oversampling-mode`, `oversampling-bypass`; none of them: there are no resamplers.
    void setUp(CAudioParamCollector& owner, CObject& settings);

    /// A row whose parameter selects from a list of presets. Before audio starts; once each.
    void addSelector(CAudioExtParam& row);

    /// Takes over the lists of presets if they have changed. Any thread but the audio thread.
    void prepare();

    /// Audio thread; neither allocates nor waits.
    void follow() noexcept;

private:
    void followOversampling() noexcept;

    CAudioParamCollector* collector = nullptr;
    CAudioParam* oversampling = nullptr;
    CAudioParam* hostMode = nullptr;
    CAudioParam* bypass = nullptr;
    CLock prepareLock{CLockRank::registryParams};
    CArray<std::unique_ptr<CAudioDirectSelection>> selections;
    std::uint64_t seenDeliveries = 0;               // audio thread
};

}
