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
    CError initChilds() override;
    void uninit() override;

    std::span<CAudioExtParam* const> rows() const noexcept { return list; }

    /// Rows talk to the host from now on, or to nobody (null). While nobody changes parameters.
    void setBridge(CAudioExtParamHostBridge* bridge);

    /// Makes ready for delivery: call it before audio starts, with all parameters defined. Any thread but the audio
    /// thread.
    void prepare();

    // Audio thread; neither allocates nor waits. Flush the collector first, then follow, then deliver.

    /// A host's write within a block, with what follows from it at once; an index outside the list is dropped. Returns
    /// false when nothing changed, see CAudioExtParam::deliverNormalized.
    bool deliver(int index, double normalized) noexcept;

    /// Sets right what other values depend on the delivered ones: behind each flush, and behind each value that was
    /// delivered past this list (CAudioDirectValue). Costs nothing when nothing was delivered.
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
};

}
