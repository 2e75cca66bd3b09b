// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"
#include "Core/CStringBuf.h"
#include "Other/Interface/CAudioVizExportChannel.h"
#include "Platform/CLock.h"

#include <array>
#include <utility>

namespace kor
{

// The export slots of the process, by which its instances see each other's spectra. Made by the first collector and never
// destroyed. Any thread.
class CAudioVizSlotManager
{
public:
    static constexpr int slotCount = 48;

    static CAudioVizSlotManager& get();

    /// A number that no other instance of the process has or had, from 1 on.
    int newInstanceId();

    /// index: 0 to 47.
    CAudioVizExportChannel& channel(int index) noexcept { return channels[static_cast<std::size_t>(index)]; }

    /// The texts of an instance's slots, in place of those that it gave before; a slot that another instance uses too
    /// shows the later text. Tickets rise from call to call: one that comes after a higher one is too late and does
    /// nothing. lastTicket: the instance's, kept for this call alone.
    void publish(int instanceId, const CMap<int, CStringBuf>& texts, unsigned ticket, unsigned& lastTicket);

    /// Rises whenever a text changes; 0 at first.
    int generation();

    /// Index and text of each slot in use, in rising order.
    CArray<std::pair<int, CStringBuf>> names();

private:
    CAudioVizSlotManager();

    CLock lock;
    int nameGeneration = 0;
    int instanceCounter = 0;
    std::array<CStringBuf, slotCount> texts;
    std::array<int, slotCount> owners;
    std::array<CAudioVizExportChannel, slotCount> channels;
};

}
