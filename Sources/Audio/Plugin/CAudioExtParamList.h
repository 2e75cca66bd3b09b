// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Plugin/CAudioDirectChanges.h"
#include "Audio/Plugin/CAudioExtParam.h"

#include <span>

namespace kor
{

// Everything that a host may automate (`audio:ext-param-list`), in the order that gives the indices: the rows among its
// children and in the folders among these.
class CAudioExtParamList : public CObject, private CAudioParamCollectorHook
{
public:
    static void initClass(CObjectClassInfo& info);
    CError init() override;
    CError initChilds() override;
    void uninit() override;

    std::span<CAudioExtParam* const> rows() const noexcept { return list; }

    /// Rows talk to the host from now on, or to nobody (null). While nobody changes parameters.
    void setBridge(CAudioExtParamHostBridge* host);

    /// Makes ready for delivery: with all parameters defined, before audio starts. While nothing flushes.
    void prepare();

    // Audio thread; with room for the records (CAudioParamCollector::reserveDelivered) neither allocates nor waits.

    /// A host's write within a block; an index outside the list is dropped. Best right behind a flush of the
    /// collector. Returns false when nothing changed, see CAudioExtParam::deliverNormalized.
    bool deliver(int index, double normalized) noexcept;

    /// Makes what depends on delivered values, those of a CAudioDirectValue included, follow them. The end of every
    /// flush does it by itself from prepare() on; so it is needed only for a slice that is not flushed for.
    void follow() noexcept { changes.follow(); }

    /// Stores what was delivered, in that order, as the host's own changes. Any thread but the audio thread.
    void settle();

private:
    friend class CAudioExtParam;
    void add(CAudioExtParam& row);
    void remove(CAudioExtParam& row);
    void numberRows();
    void onParamDefined(CAudioParam& param) override;
    void onCollectorReady() override;
    bool followsChanges() const noexcept override { return false; }

    CArray<CAudioExtParam*> list;
    CAudioExtParamHostBridge* hostBridge = nullptr;
    CAudioParamCollector* collector = nullptr;
    CAudioDirectChanges changes;
    bool isPrepared = false;
};

}
