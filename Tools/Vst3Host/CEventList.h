// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"

#include "pluginterfaces/vst/ivstevents.h"

#include <array>

namespace kor
{

// The notes and the like of one block, in and out. Of fixed room; what does not fit is refused. One thread at a time.
class CEventList : public CHostObject<Steinberg::Vst::IEventList>
{
public:
    void clear() noexcept { used = 0; }

    Steinberg::int32 PLUGIN_API getEventCount() override { return used; }
    Steinberg::tresult PLUGIN_API getEvent(Steinberg::int32 index, Steinberg::Vst::Event& event) override;
    Steinberg::tresult PLUGIN_API addEvent(Steinberg::Vst::Event& event) override;

private:
    std::array<Steinberg::Vst::Event, 128> events = {};
    int used = 0;
};

}
