// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamFilter.h"

#include "Audio/Parameters/CAudioParamFilterDef.h"

#include <algorithm>

namespace kor
{

CAudioParamFilter::~CAudioParamFilter()
{
    stop();
}

const CStringBuf& CAudioParamFilter::errorContext() const noexcept
{
    return def->fullName();
}

CError CAudioParamFilter::init(const CAudioParamFilterDef& definition, const CParamFinder& find)
{
    def = &definition;
    const std::size_t sourceCount = definition.sources().size();
    if (sourceCount < getSrcCount())
        return KOR_FAIL("Not enough source parameters %1 defined in the param filter (required %2).", sourceCount,
                        getSrcCount());
    if (sourceCount > getSrcCount())
        return KOR_FAIL("Too many source parameters %1 defined in the param filter.", sourceCount);
    const std::size_t destinationCount = definition.destinations().size();
    if (destinationCount < getDstCount())
        return KOR_FAIL("Not enough destination parameters %1 defined in the param filter (required %2).",
                        destinationCount, getDstCount());
    if (destinationCount > getDstCount())
        return KOR_FAIL("Too many destination parameters %1 defined in the param filter.", destinationCount);

    ownSources.resize(sourceCount);
    for (std::size_t i = 0; i < sourceCount; ++i)
        ownSources[i].param = &find(definition.sources()[i]);
    for (const CStringBuf& name : definition.destinations())
        destinationParams.push_back(&find(name));
    return {};
}

// Reading a source and following it is one step, so that no change falls between the two. Until the last source is
// read a change may compute with some that are not; the run at the end sets that right.
void CAudioParamFilter::start()
{
    for (CSource& source : ownSources)
    {
        CLockHolder holdSource(source.param->lock());
        CLockHolder hold(mutex);
        take(source);
        if (std::ranges::find(followed, source.param) != followed.end())
            continue;
        followed.push_back(source.param);
        source.param->addHook(*this);
    }
    CAudioParamRequest everything;
    everything.group = allGroups;
    everything.elementCount = 0;
    everything.cut = true;
    CAudioParamChangeScope scope;
    CLockHolder hold(mutex);
    process(ownSources, destinationParams, everything, nullptr);
}

void CAudioParamFilter::stop()
{
    for (CAudioParam* param : followed)
        param->removeHook(*this);
    followed.clear();
}

void CAudioParamFilter::take(CSource& source)
{
    source.info = &source.param->info();
    source.values = source.param->values();
}

void CAudioParamFilter::onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo)
{
    CLockHolder hold(mutex);
    for (CSource& source : ownSources)
    {
        if (source.param != request.param)
            continue;
        if (source.info != &source.param->info()) // the parameter was defined anew, or at all
            take(source);
        else
            source.values.applyChange(request);
    }
    process(ownSources, destinationParams, request, undo);
}

void CAudioParamFilter::process(std::span<const CSource> from, std::span<CAudioParam* const> to,
                                const CAudioParamRequest& request, CAudioParamUndoContext* undo)
{
    const int group = groupOf(request);
    int count = request.elementCount;
    if (request.cut)
    {
        for (const CSource& source : from)
            count = std::max(count, source.values.elementCount(group) - request.firstElement);
    }
    const std::size_t elements = static_cast<std::size_t>(count);
    work.assign(elements * to.size() + from.size() + to.size(), 0.0);
    const std::span<double> results(work.data(), elements * to.size()); // list by list
    const std::span<double> values(work.data() + results.size(), from.size() + to.size());
    for (std::size_t e = 0; e < elements; ++e)
    {
        std::ranges::fill(values, 0.0);
        for (std::size_t s = 0; s < from.size(); ++s)
            values[s] = from[s].values.getValue(group, request.firstElement + static_cast<int>(e));
        calc(values);
        for (std::size_t d = 0; d < to.size(); ++d)
            results[d * elements + e] = values[from.size() + d];
    }
    for (std::size_t d = 0; d < to.size(); ++d)
    {
        CAudioParamRequest write;
        write.group = request.group;
        write.firstElement = request.firstElement;
        write.elementCount = count;
        write.cut = request.cut;
        write.values = results.data() + d * elements;
        to[d]->change(write, undo);
    }
}

void CAudioParamFilter::calc(std::span<double>) const
{
}

bool CAudioParamFilter::hasSource(const CAudioParam& param) const noexcept
{
    return std::ranges::any_of(ownSources, [&](const CSource& source) { return source.param == &param; });
}

void CAudioParamFilter::writeSole(CAudioParam& destination, int group, double value, CAudioParamUndoContext* undo)
{
    CAudioParamRequest write;
    write.group = group;
    write.cut = true;
    write.values = &value;
    destination.change(write, undo);
}

}
