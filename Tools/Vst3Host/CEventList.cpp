// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CEventList.h"

namespace kor
{

using namespace Steinberg;

tresult CEventList::getEvent(int32 index, Vst::Event& event)
{
    if (index < 0 || index >= used)
        return kInvalidArgument;
    event = events[static_cast<std::size_t>(index)];
    return kResultOk;
}

tresult CEventList::addEvent(Vst::Event& event)
{
    if (used == static_cast<int>(events.size()))
        return kOutOfMemory;
    events[static_cast<std::size_t>(used++)] = event;
    return kResultOk;
}

}
