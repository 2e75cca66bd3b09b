// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioGraphFilters.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Parameters/CAudioParamFilter.h"
#include "Audio/Parameters/CAudioParamFilterDef.h"

#include <algorithm>
#include <iterator>

namespace kor
{

CAudioGraphFilters::CAudioGraphFilters() = default;

CAudioGraphFilters::~CAudioGraphFilters()
{
    for (const std::unique_ptr<CAudioParamFilter>& filter : filters)
        filter->stop();
}

CError CAudioGraphFilters::make(const CAudioProcessDefBase& definition, const CStringBuf& nodeName,
                                CAudioGraphContext& context)
{
    CFilters made;
    CError failure;
    definition.visitSubtree(nodeName,
                            [&](const CAudioProcessDefBase& def, const CStringBuf& name)
                            {
                                if (!failure)
                                    failure = collect(made, def, name, context);
                            });
    KOR_TRY(std::move(failure));
    KOR_TRY(checkForRings(made));
    for (const std::unique_ptr<CAudioParamFilter>& filter : made)
        filter->start();
    std::ranges::move(made, std::back_inserter(filters));
    return {};
}

CError CAudioGraphFilters::collect(CFilters& made, const CAudioProcessDefBase& definition, const CStringBuf& nodeName,
                                   CAudioGraphContext& context)
{
    for (const CAudioParamFilterDef* filterDef : definition.paramFilters())
    {
        made.push_back(filterDef->createFilter());
        KOR_TRY(made.back()->init(*filterDef,
                                  [&](const CStringBuf& name) -> CAudioParam&
                                  { return context.paramOf(context.resolve(definition.expandName(name, nodeName))); }));
    }
    return {};
}

// A ring would run for ever on one thread and lock up two. Takes away filters that nothing feeds until none is left.
CError CAudioGraphFilters::checkForRings(const CFilters& all)
{
    CArray<const CAudioParamFilter*> left;
    for (const std::unique_ptr<CAudioParamFilter>& filter : all)
        left.push_back(filter.get());
    const auto feeds = [](const CAudioParamFilter* from, const CAudioParamFilter* to)
    { return std::ranges::any_of(from->destinations(), [&](CAudioParam* param) { return to->hasSource(*param); }); };
    while (!left.empty())
    {
        const auto free = std::ranges::find_if(
            left, [&](const CAudioParamFilter* to)
            { return std::ranges::none_of(left, [&](const CAudioParamFilter* from) { return feeds(from, to); }); });
        if (free == left.end())
            return KOR_FAIL("Parameter '%1' depends on itself through param filters.",
                            left.front()->destinations().front()->fullName());
        left.erase(free);
    }
    return {};
}

}
