// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterSerialGen.h"

#include "Audio/Filters/CAudioFilterSerialGenItem.h"

#include <array>

namespace kor
{

CError CAudioFilterSerialGen::initChilds()
{
    KOR_TRY(CAudioFilterGen::initChilds());
    items.clear();
    for (const CObject* child : children())
        if (const auto* item = dynamic_cast<const CAudioFilterSerialGenItem*>(child))
            items.push_back(item);
    return {};
}

void CAudioFilterSerialGen::generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                                     const CDCDAWFilterWorkspace* workspace) const
{
    std::array<double, CAudioFilterParamNames::maxCount> values;
    const std::size_t count = params.values.size();
    if (count > values.size())
        return;
    for (const CAudioFilterSerialGenItem* item : items)
    {
        for (std::size_t i = 0; i < count; ++i)
            values[i] = params.values[i] * item->multiplier(i);
        item->generator().generate(spec, sampleRate, {params.names, {values.data(), count}}, workspace);
    }
}

}
