// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModFilterIIRModule.h"

#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Audio/Processes/CModFilterDefBase.h"

namespace kor
{

namespace
{

constexpr std::size_t usualStages = 8;      // of the longest comb among the band types

}

void CModFilterIIRModule::registerParams()
{
    filterDef = static_cast<const CModFilterDefBase*>(&definition());
    indexSlot = registerParam(filterDef->slotOf("index"));
    settings.valueCount = filterDef->designNames().count();
    for (int i = 0; i < settings.valueCount; ++i)
        designSlots[static_cast<std::size_t>(i)] = registerParam(filterDef->designSlot(i));
}

void CModFilterIIRModule::prepare()
{
    stages.reserve(usualStages);
    for (std::size_t i = 0; i < usualStages; ++i)
    {
        CAudioFilterStage& stage = spec.addStage(nullptr);
        stage.numerator.reserve(8);
        stage.denominator.reserve(8);
    }
    spec.clear();
}

bool CModFilterIIRModule::update()
{
    CModFilterSettings next = settings;
    next.index = CModFilterSettings::roundToInt(paramValue(indexSlot));
    for (std::size_t i = 0; i < static_cast<std::size_t>(next.valueCount); ++i)
        next.values[i] = paramValue(designSlots[i]);
    next.generator = filterDef->generators().getItem(next.index);
    if (next == settings)
        return false;
    if (next.index != settings.index)
        stages.clear();
    settings = next;
    spec.clear();
    if (settings.generator != nullptr)
        settings.generator->generate(spec, sampleRate, {filterDef->designNames(), settings.span()},
                                     &CDCDAWFilterWorkspace::instance());
    stages.update(spec, sampleRate);
    return true;
}

void CModFilterIIRModule::reset()
{
    stages.restart(spec, sampleRate);
}

void CModFilterIIRModule::process(const double* in, double* out, int count)
{
    stages.process(in, out, count);
}

bool CModFilterIIRModule::hasSameSettings(const CAudioModule& current) const
{
    return settings == static_cast<const CModFilterIIRModule&>(current).settings;
}

}
