// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModResampler.h"

#include "Audio/Processes/CModResamplerDef.h"
#include "Audio/Processes/ProcessSlots.h"

namespace kor
{

int CModResampler::stageCount(double mode, double hostMode) noexcept
{
    const double m = std::nearbyint(mode);
    const double stages = m != 0.0 ? m - 1.0 : std::nearbyint(hostMode);
    return stages > 0.0 ? static_cast<int>(std::min<double>(stages, maxStages)) : 0;
}

CError CModResampler::init()
{
    KOR_TRY(CAudioProcessChain::init());
    modeSlot = findSlotNamed(paramSlots, "mode");
    hostModeSlot = findSlotNamed(paramSlots, "host-mode");
    return {};
}

void CModResampler::update()
{
    const auto value = [this](const CAudioParamSlot* slot, double fallback)
    { return slot != nullptr ? slot->values.getValue(group(), element()) : fallback; };
    const int wanted = stageCount(value(modeSlot, 1.0), value(hostModeSlot, 0.0));
    while (presentStages() > wanted)
        dropStage();
    while (presentStages() < wanted)
    {
        if (CError error = addStage())
        {
            report(std::move(error));
            return;
        }
    }
}

CError CModResampler::addStage()
{
    const auto& own = static_cast<const CModResamplerDef&>(definition());
    std::unique_ptr<CAudioProcessBase> stage;
    std::unique_ptr<CAudioProcessBase> filter;
    KOR_TRY(makeNode(stage, own.stage(), CModResamplerDef::stageName(name())));
    KOR_TRY(makeNode(filter, own.filter(presentStages()), CModResamplerDef::filterName(name())));
    if (own.isUpsampler())
    {
        chain().append(std::move(stage));
        chain().append(std::move(filter));
    }
    else
    {
        chain().insert(0, std::move(stage));
        chain().insert(0, std::move(filter));
    }
    return {};
}

void CModResampler::dropStage()
{
    const bool isUp = static_cast<const CModResamplerDef&>(definition()).isUpsampler();
    for (int i = 0; i < 2; ++i)
        chain().remove(isUp ? chain().size() - 1 : 0);
}

}
