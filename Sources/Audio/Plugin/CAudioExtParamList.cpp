// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioExtParamList.h"

#include "Audio/Plugin/CAudioHostCall.h"

#include <algorithm>

namespace kor
{

namespace
{
constexpr int heardElements = 64;                   // of a list on the audio side, without allocation
}

void CAudioExtParamList::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
}

CError CAudioExtParamList::init()
{
    KOR_TRY(CObject::init());
    if (!getAttrString("param-collector").isEmpty())
        KOR_TRY(findObjectByAttr(collector, "param-collector"));
    return {};
}

CError CAudioExtParamList::initChilds()
{
    KOR_TRY(CObject::initChilds());
    if (collector == nullptr)
        return {};
    collector->addHook(*this);
    changes.setUp(*collector, *this);
    return {};
}

void CAudioExtParamList::uninit()
{
    if (collector != nullptr)
    {
        if (isPrepared)
            collector->setFollower({});
        collector->removeHook(*this);
        collector = nullptr;
    }
    CObject::uninit();
}

void CAudioExtParamList::add(CAudioExtParam& row)
{
    list.push_back(&row);
    numberRows();
}

void CAudioExtParamList::remove(CAudioExtParam& row)
{
    std::erase(list, &row);
    row.setBridge(nullptr, 0);
    numberRows();
}

void CAudioExtParamList::setBridge(CAudioExtParamHostBridge* host)
{
    hostBridge = host;
    numberRows();
}

void CAudioExtParamList::numberRows()
{
    int index = 0;
    for (CAudioExtParam* row : list)
        row->setBridge(hostBridge, index++);
}

void CAudioExtParamList::onParamDefined(CAudioParam& param)
{
    for (CAudioExtParam* row : list)
    {
        if (&row->param() != &param)
            continue;
        row->refresh();
        row->prepare();
    }
}

void CAudioExtParamList::onCollectorReady()
{
    for (CAudioExtParam* row : list)
        row->prepare();
}

void CAudioExtParamList::prepare()
{
    for (CAudioExtParam* row : list)
        row->prepare();
    if (collector == nullptr)
        return;
    if (!isPrepared)
    {
        for (CAudioExtParam* row : list)
        {
            collector->reserveHeard(row->param(), heardElements);
            if (!row->param().info().paramRegistry.isEmpty())
                changes.addSelector(*row);
        }
        collector->setFollower([this] { changes.follow(); });
        isPrepared = true;
    }
    changes.prepare();
}

bool CAudioExtParamList::deliver(int index, double normalized) noexcept
{
    if (index < 0 || static_cast<std::size_t>(index) >= list.size())
        return false;
    return list[static_cast<std::size_t>(index)]->deliverNormalized(normalized);
}

void CAudioExtParamList::settle()
{
    const CAudioHostCall ofHost;
    CArray<std::pair<std::uint64_t, CAudioExtParam*>> pending;
    for (CAudioExtParam* row : list)
        if (const std::uint64_t order = row->pendingOrder(); order != 0)
            pending.emplace_back(order, row);
    std::ranges::sort(pending);
    for (const auto& [order, row] : pending)
        row->settle();
    if (isPrepared)
        changes.prepare();
}

}
