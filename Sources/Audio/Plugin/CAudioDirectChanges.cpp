// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioDirectChanges.h"

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamFilterBypassOS.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/CAudioDirectSelection.h"
#include "Audio/Plugin/CAudioExtParam.h"

#include <algorithm>

namespace kor
{

CAudioDirectChanges::CAudioDirectChanges() = default;

CAudioDirectChanges::~CAudioDirectChanges() = default;

void CAudioDirectChanges::setUp(CAudioParamCollector& owner, CObject& settings)
{
    collector = &owner;
    if (settings.getAttrString("oversampling-bypass").isEmpty())
        return;
    oversampling = &owner.getParam(settings.getAttrString("oversampling"));
    hostMode = &owner.getParam(settings.getAttrString("host-oversampling-mode"));
    bypass = &owner.getParam(settings.getAttrString("oversampling-bypass"));
}

void CAudioDirectChanges::addSelector(CAudioExtParam& row)
{
    auto* const registry = dynamic_cast<CAudioParamRegistry*>(row.findObject(row.param().info().paramRegistry));
    if (registry == nullptr)
        return;
    auto found = std::ranges::find_if(selections, [&](const auto& each) { return &each->registry() == registry; });
    if (found == selections.end())
        found = selections.insert(found, std::make_unique<CAudioDirectSelection>(*collector, *registry));
    (*found)->addRow(row);
}

void CAudioDirectChanges::prepare()
{
    CLockHolder hold(prepareLock);
    for (const auto& selection : selections)
        selection->prepare();
}

void CAudioDirectChanges::follow() noexcept
{
    if (collector == nullptr || collector->deliveryCount() == seenDeliveries)
        return;
    followOversampling();
    for (const auto& selection : selections)
        selection->follow();
    seenDeliveries = collector->deliveryCount();
}

void CAudioDirectChanges::followOversampling() noexcept
{
    if (bypass == nullptr || !bypass->hasInfo())
        return;
    const double wanted = CAudioParamFilterBypassOS::bypassOf(collector->heardValue(*oversampling, 0, 0),
                                                              collector->heardValue(*hostMode, 0, 0));
    if (collector->heardValue(*bypass, 0, 0) == wanted)
        return;
    CAudioParamRequest request;
    request.cut = true;
    request.values = &wanted;
    collector->deliver(*bypass, request);
}

}
