// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModFilterFIRModule.h"

#include "Audio/Filters/CPartitionedConvolver.h"
#include "Audio/Processes/CModFilterDefBase.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr double fixedRateHz = 44100.0;
constexpr double usualLatency = 7.0;        // 128 samples

}

CModFilterFIRModule::CModFilterFIRModule() = default;
CModFilterFIRModule::~CModFilterFIRModule() = default;

void CModFilterFIRModule::registerParams()
{
    filterDef = static_cast<const CModFilterDefBase*>(&definition());
    indexSlot = registerParam(filterDef->slotOf("index"));
    if (const int slot = filterDef->slotOf("latency"); slot >= 0)
        latencySlot = registerParam(slot);
    if (const int slot = filterDef->slotOf("fixsr"); slot >= 0)
        fixedRateSlot = registerParam(slot);
    settings.filter.valueCount = filterDef->designNames().count();
    for (int i = 0; i < settings.filter.valueCount; ++i)
        designSlots[static_cast<std::size_t>(i)] = registerParam(filterDef->designSlot(i));
}

bool CModFilterFIRModule::update()
{
    CSettings next = settings;
    next.filter.index = CModFilterSettings::roundToInt(paramValue(indexSlot));
    for (std::size_t i = 0; i < static_cast<std::size_t>(next.filter.valueCount); ++i)
        next.filter.values[i] = paramValue(designSlots[i]);
    next.filter.generator = filterDef->generators().getItem(next.filter.index);
    next.latency = CModFilterSettings::roundToInt(paramValue(latencySlot, usualLatency));
    next.isRateFixed = paramValue(fixedRateSlot) >= 0.5;
    if (next == settings)
        return false;
    settings = next;
    build();
    return true;
}

void CModFilterFIRModule::build()
{
    spec.clear();
    if (settings.filter.generator != nullptr)
        settings.filter.generator->generate(spec, settings.isRateFixed ? fixedRateHz : sampleRate,
                                            {filterDef->designNames(), settings.filter.span()}, nullptr);
    const auto stages = spec.stages();
    if (stages.size() > 1)
    {
        const auto errorContext = [this]() -> const CStringBuf& { return filterDef->fullName(); };
        report(KOR_FAIL("FIR filter combining was not implemented yet!"));
        return;
    }
    convolver.reset();
    totalLatency = 0;
    if (stages.empty() || !stages[0].denominator.empty())
        return;
    const CArray<double>& taps = stages[0].numerator;
    convolver = CPartitionedConvolver::create(taps.data(), static_cast<int>(taps.size()), settings.latency);
    if (convolver != nullptr)
        totalLatency = spec.latency + convolver->delaySamples();
}

void CModFilterFIRModule::reset()
{
    if (convolver != nullptr)
        convolver->reset();
}

void CModFilterFIRModule::process(const double* in, double* out, int count)
{
    if (convolver != nullptr)
        convolver->process(in, out, count);
    else
        CAudioModule::process(in, out, count);
}

bool CModFilterFIRModule::hasSameSettings(const CAudioModule& current) const
{
    return settings == static_cast<const CModFilterFIRModule&>(current).settings;
}

}
