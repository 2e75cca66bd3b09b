// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioDirectValue.h"
#include "Audio/Plugin/CAudioExtParamTeller.h"
#include "Core/CObject.h"

#include <atomic>

namespace kor
{

class CAudioExtParamHostBridge;
class CAudioExtParamList;
class CAudioParamCollector;

// One row of what a host may automate (`audio:ext-param`): one element of one group of a parameter, under a short name
// and as a value from 0 to 1 through the parameter's converter. A host's write is never told back to the host; anybody
// else's is, after all locks. Writes come by two doors: setNormalized stores first and sounds at the next flush;
// deliverNormalized, for the audio thread, sounds at once and is stored by settle() later.
class CAudioExtParam : public CObject, private CAudioParamChangeHook
{
public:
    static void initClass(CObjectClassInfo& info);

    /// "Externalized parameter name '%1' is too long" above 7 characters.
    CError init() override;
    void uninit() override;

    /// Short name, at most 7 characters.
    const CStringBuf& extName() const noexcept { return shortName; }
    CAudioParam& param() const noexcept { return *target; }
    CAudioParamCollector& collector() const noexcept { return *owner; }
    int group() const noexcept { return groupIndex; }
    int element() const noexcept { return elementIndex; }

    /// From now on the row talks to the host under this index; null for no more. While nobody changes parameters.
    void setBridge(CAudioExtParamHostBridge* hostBridge, int rowIndex);

    // Any thread but the audio thread. Normalised values are clamped to 0..1, NaN is ignored.

    /// The host's write by its own interface. Nothing when it equals the present value in single precision. While
    /// audio runs, a row that the user holds, or that a block has written within the last second, keeps its value and
    /// only shows it to the host.
    void setNormalized(double value);

    /// The value as the host last wrote it or was told it, what deliverNormalized brought included. Any thread.
    double getNormalized() const noexcept;

    /// The parameter's default; 0.5 without a definition.
    double getDefaultNormalized() const;

    /// The converter's label, empty without a definition.
    CStringBuf getUnit() const;

    /// The text of a value without its unit, the same in every locale; empty without a definition.
    CStringBuf getText(double normalized) const;

    /// A typed text, with or without the unit, as a normalised value; false when it says nothing. 0.5 without a
    /// definition.
    bool fromText(const CStringBuf& text, double& normalized) const;

    /// The host's write within a block, between two slices: straight to the listeners, nothing stored. Audio thread;
    /// neither allocates nor waits. Returns false when nothing changed.
    bool deliverNormalized(double value) noexcept;

    /// The order of the last deliverNormalized that is not stored yet among all rows' of the instance; 0 for none.
    std::uint64_t pendingOrder() const noexcept { return direct.pendingOrder(); }

    /// The order of the last one, stored or not.
    std::uint64_t lastOrder() const noexcept { return direct.lastOrder(); }

    /// Stores what was delivered last, and lets the host's display follow. Any thread but the audio thread.
    void settle();

    /// Takes over the value that the parameter has got with its definition; nobody is told.
    void refresh();

    /// Makes ready for delivery, see CAudioDirectValue::prepare. Any thread but the audio thread.
    void prepare() { direct.prepare(); }

private:
    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;
    bool concerns(const CAudioParamRequest& request) const noexcept;
    bool mustKeepValue() const;
    double presentNormalized() const;               // under the parameter's lock

    CAudioParamCollector* owner = nullptr;
    CAudioExtParamList* list = nullptr;
    CAudioParam* target = nullptr;
    CStringBuf shortName;
    int groupIndex = 0;
    int elementIndex = 0;
    CAudioExtParamTeller teller;

    CAudioDirectValue direct;
    std::atomic<std::int64_t> lastEventNs{0};       // steady clock; 0 for none

    std::atomic<double> cache{0.0};                 // written under the parameter's lock
    bool isOwnChange = false;                       // under it
};

}
