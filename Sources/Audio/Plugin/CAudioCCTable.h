// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamCollector.h"

#include <array>

namespace kor
{

class CInputStream;

// Which parameter a MIDI controller moves (`audio:cctable`), as the user has it in the data "ccmap": a count, and as
// often a controller number and the name of a parameter. Belongs beside a collector; reads the data when that one's
// parameters exist. Any thread but the audio thread.
class CAudioCCTable : public CObject, private CAudioParamCollectorHook
{
public:
    static constexpr int controllerCount = 128;
    static constexpr std::uint32_t dataId = fourCC("adat");

    static void initClass(CObjectClassInfo& info);
    CError initChilds() override;
    void uninit() override;

    /// Reads the table anew. Data that breaks off or names an impossible controller is reported, and what was read
    /// before stays.
    void load();

    /// The parameter of a controller, null for none.
    CAudioParam* param(int controller) const;

private:
    using CSlots = std::array<CAudioParam*, controllerCount>;
    void onCollectorReady() override { load(); }
    bool followsChanges() const noexcept override { return false; }
    CError read(CInputStream& stream, CSlots& found) const;

    CAudioParamCollector* collector = nullptr;
    mutable CLock lock;                             // a leaf: the slots
    CSlots slots{};
};

}
