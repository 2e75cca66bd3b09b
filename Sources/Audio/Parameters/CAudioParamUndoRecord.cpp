// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamUndoRecord.h"

#include "Audio/Parameters/CAudioParamCollector.h"

#include <algorithm>

namespace kor
{

namespace
{

// Goes with the changes of a replay, so that whoever follows them can tell what is being restored.
class CReplayContext : public CAudioParamUndoContext
{
public:
    explicit CReplayContext(const CAudioParamUndoRecord& replayed) : record(replayed) {}
    void recordOld(CAudioParam&, const CAudioParamRequest&) override {}
    void recordNew(CAudioParam&, const CAudioParamRequest&) override {}
    bool isReplay() const override { return true; }
    bool holds(const CAudioParam& param, int group) const override { return record.restores(param.fullName(), group); }

private:
    const CAudioParamUndoRecord& record;
};

// Calls visit for every group that a request means.
template <class Visit>
void forEachGroup(const CAudioParamRequest& request, const CAudioParamStorage& values, Visit&& visit)
{
    const int first = request.group == allGroups ? 0 : request.group;
    const int end = request.group == allGroups ? values.groupCount() : request.group + 1;
    for (int g = first; g < end; ++g)
        visit(g);
}

}

CAudioParamUndoRecord::CAudioParamUndoRecord(const CStringBuf& label, bool mergeable, int key)
    : title(label), isMergeable(mergeable), mergeKey(key)
{
}

int CAudioParamUndoRecord::changeCount() const noexcept
{
    std::size_t count = 0;
    for (const auto& [name, groups] : params)
        for (const CGroup& group : groups)
            count += group.extents.size();
    return static_cast<int>(count);
}

void CAudioParamUndoRecord::CList::take(const CAudioParamStorage& from, int group)
{
    const std::span<const double> list = from.values(group);
    values.assign(list.begin(), list.end());
    if (from.type() == CAudioParamType::real)
        return;
    items.clear();
    for (double& value : values)
        value = items.add(from.data().find(CAudioParamData::idOf(value)));
}

bool CAudioParamUndoRecord::CGroup::hasLayoutOf(const CAudioParamRequest& request) const noexcept
{
    return elementSize == request.elementSize && type == request.type && isSingleGroup == request.isSingleGroup &&
           isSingleElement == request.isSingleElement;
}

CAudioParamUndoRecord::CGroup* CAudioParamUndoRecord::findGroup(CGroups& groups, int group,
                                                                const CAudioParamRequest& request) noexcept
{
    const auto known = std::find_if(groups.rbegin(), groups.rend(), [&](const CGroup& each)
                                    { return each.group == group && each.hasLayoutOf(request); });
    return known != groups.rend() ? &*known : nullptr;
}

void CAudioParamUndoRecord::recordOld(CAudioParam& param, const CAudioParamRequest& request)
{
    CGroups& groups = params[param.fullName()];
    const CExtent extent{request.firstElement, request.elementCount, request.cut};
    forEachGroup(request, param.values(),
                 [&](int g)
                 {
                     CGroup* known = findGroup(groups, g, request);
                     if (known == nullptr)
                     {
                         known = &groups.emplace_back(CGroup{g, request.elementSize, request.type,
                                                             request.isSingleGroup, request.isSingleElement, {}, {}, {}});
                         known->before.take(param.values(), g);
                     }
                     if (std::ranges::find(known->extents, extent) == known->extents.end())
                         known->extents.push_back(extent);
                 });
}

void CAudioParamUndoRecord::recordNew(CAudioParam& param, const CAudioParamRequest& request)
{
    CGroups& groups = params[param.fullName()];
    forEachGroup(request, param.values(),
                 [&](int g)
                 {
                     if (CGroup* known = findGroup(groups, g, request))
                         known->after.take(param.values(), g);
                 });
}

bool CAudioParamUndoRecord::callWhenClosed(std::function<void()> call)
{
    closingCalls.push_back(std::move(call));
    return true;
}

void CAudioParamUndoRecord::close()
{
    CArray<std::function<void()>> due;
    due.swap(closingCalls);
    for (std::function<void()>& call : due)
        CAudioParamChangeScope::defer(std::move(call));
}

bool CAudioParamUndoRecord::isSameExtent(const CGroups& a, const CGroups& b) noexcept
{
    return std::ranges::equal(a, b,
                              [](const CGroup& x, const CGroup& y)
                              {
                                  return x.group == y.group && x.elementSize == y.elementSize && x.type == y.type &&
                                         x.isSingleGroup == y.isSingleGroup &&
                                         x.isSingleElement == y.isSingleElement && x.extents == y.extents;
                              });
}

bool CAudioParamUndoRecord::mergesWith(const CAudioParamUndoRecord& earlier) const
{
    return isMergeable && earlier.isMergeable && mergeKey == earlier.mergeKey &&
           std::ranges::equal(params, earlier.params, [](const auto& a, const auto& b)
                              { return a.first == b.first && isSameExtent(a.second, b.second); });
}

void CAudioParamUndoRecord::prepend(const CAudioParamUndoRecord& earlier)
{
    title = earlier.title;
    for (auto& [name, groups] : params)
    {
        const CGroups& from = earlier.params.find(name)->second;
        for (std::size_t i = 0; i < groups.size(); ++i)
            groups[i].before = from[i].before;
    }
}

void CAudioParamUndoRecord::put(CAudioParam& param, const CGroup& group, const CList& list,
                                CAudioParamUndoContext& context)
{
    CAudioParamRequest request;
    request.group = group.group;
    request.elementSize = group.elementSize;
    request.type = group.type;
    request.elementCount = static_cast<int>(list.values.size()) / group.elementSize;
    request.cut = true;
    request.values = list.values.data();
    request.items = &list.items;
    param.change(request, &context);
}

void CAudioParamUndoRecord::replay(CAudioParamCollector& collector, CDirection direction) const
{
    CReplayContext context(*this);
    for (const auto& [name, groups] : params)
    {
        CAudioParam& param = collector.getParam(name);
        if (direction == CDirection::forward)
            for (const CGroup& group : groups)
                put(param, group, group.after, context);
        else
            for (auto group = groups.rbegin(); group != groups.rend(); ++group)
                put(param, *group, group->before, context);
    }
}

bool CAudioParamUndoRecord::restores(const CStringBuf& fullName, int group) const
{
    const auto found = params.find(fullName);
    return found != params.end() &&
           std::ranges::any_of(found->second, [&](const CGroup& known)
                               { return group == allGroups || known.group == group || known.isSingleGroup; });
}

}
