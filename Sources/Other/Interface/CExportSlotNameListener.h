// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

// Told that some instance's export slots have other names now; the interface then sends them all to its clients.
class CExportSlotNameListener
{
public:
    virtual ~CExportSlotNameListener() = default;

    /// On the thread that asked the collector for its data, no lock of the collector held.
    virtual void onExportSlotNames() = 0;
};

}
