// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessDefBase.h"

#include "Audio/Graph/CAudioProcessBypassStateDef.h"
#include "Audio/Graph/CAudioProcessLinkDef.h"
#include "Audio/Graph/MultibandParts.h"
#include "Audio/Parameters/CAudioParamAllocDef.h"
#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/CAudioParamFilterDef.h"
#include "Audio/Parameters/CAudioParamName.h"
#include "Audio/Parameters/CAudioParamRemapDef.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

constexpr double shortestFadeSeconds = 0.0001;

// Definitions that lead back to themselves end here.
constexpr int maxDepth = 64;

/// Keeps `child` in `list` if it is of the list's class.
template <class T>
bool keep(CArray<const T*>& list, const CObject& child)
{
    const T* typed = dynamic_cast<const T*>(&child);
    if (typed != nullptr)
        list.push_back(typed);
    return typed != nullptr;
}

}

CError CAudioProcessDefBase::init()
{
    KOR_TRY(CObject::init());
    CAudioProcessTraits& t = settings;
    t.isSmoothUpdate = getAttrBool("is-smooth-update");
    t.isMultiband = getAttrBool("is-multiband");
    t.multibandFreqParam = getAttrString("multiband-freq-param");
    t.multibandCountParam = getAttrString("multiband-count-param");
    t.multibandPre = getAttrString("multiband-pre");
    t.multibandLp = getAttrString("multiband-lp");
    t.multibandHp = getAttrString("multiband-hp");
    t.isStacked = getAttrBool("is-stacked");
    t.stackParam = getAttrString("stack-param");
    t.stackIndexShift = getAttrInt("stack-index-shift");
    if (t.stackIndexShift < 0)
        return KOR_FAIL("Invalid stack index shift value '%1' specified.", t.stackIndexShift);
    t.isChannelStack = getAttrBool("is-channel-stack");
    t.isTerminalWhole = getAttrBool("is-terminal-whole");
    t.isPrototype = getAttrBool("is-prototype");
    t.isOutOfOrder = getAttrBool("is-outoforder");
    if (hasAttr("bypass-state-id"))
        t.bypassStateId = getAttrInt("bypass-state-id");
    t.isWeightedInput = getAttrBool("is-weighted-input");
    t.isCompInput = getAttrBool("is-comp-input");
    if (hasAttr("xfade-length"))
        t.xfadeLength = getAttrDouble("xfade-length");
    return {};
}

CError CAudioProcessDefBase::initChilds()
{
    KOR_TRY(CObject::initChilds());
    for (const CObject* child : children())
    {
        if (keep(processes, *child) || keep(allocs, *child) || keep(remaps, *child) || keep(linkDefs, *child) ||
            keep(bypassStateDefs, *child) || keep(filterDefs, *child))
            continue;
        if (const CAudioParamDef* param = dynamic_cast<const CAudioParamDef*>(child))
            params.push_back({param->name(), param});
        else if (child->tag().equals("core:object"))
            collectFolder(*child, child->name());
    }
    return {};
}

void CAudioProcessDefBase::collectFolder(const CObject& folder, const CStringBuf& prefix)
{
    for (const CObject* child : folder.children())
    {
        const CStringBuf name = prefix + "." + child->name();
        if (const CAudioParamDef* param = dynamic_cast<const CAudioParamDef*>(child))
            params.push_back({name, param});
        else if (child->tag().equals("core:object"))
            collectFolder(*child, name);
    }
}

CStringBuf CAudioProcessDefBase::expandName(const CStringBuf& name, const CStringBuf& basePath) const
{
    return expandParamName(name, basePath);
}

void CAudioProcessDefBase::visitChildDefs(const CStringBuf& nodeName, const CChildVisitor& visit) const
{
    for (const CAudioProcessDefBase* child : processes)
    {
        if (!child->traits().isPrototype)
            visit(*child, nodeName + "." + child->name());
    }
}

void CAudioProcessDefBase::visitSubtree(const CStringBuf& nodeName, const CChildVisitor& visit) const
{
    visitSubtree(nodeName, visit, false, 0);
}

void CAudioProcessDefBase::visitSubtree(const CStringBuf& nodeName, const CChildVisitor& visit, bool isInMultiband,
                                        int depth) const
{
    if (depth == maxDepth)
        return;
    visit(*this, nodeName);
    if (settings.isMultiband && !isInMultiband)
    {
        for (const CMultibandPart& part : multibandParts)
        {
            if (const CAudioProcessDefBase* definition = findProcessDef(settings.*part.definition))
                definition->visitSubtree(nodeName + part.suffix, visit, false, depth + 1);
        }
        visitSubtree(nodeName + multibandCopySuffix, visit, true, depth + 1);
        return;
    }
    visitChildDefs(nodeName, [&](const CAudioProcessDefBase& child, const CStringBuf& name)
                   { child.visitSubtree(name, visit, false, depth + 1); });
}

const CAudioProcessDefBase* CAudioProcessDefBase::findProcessDef(const CStringBuf& name) const
{
    const auto found = std::ranges::find_if(processes, [&](const auto* child) { return child->name() == name; });
    return found != processes.end() ? *found : nullptr;
}

int CAudioProcessDefBase::fadeSamples(double sampleRate) const
{
    const double seconds = std::max(settings.xfadeLength, shortestFadeSeconds);
    return std::max(1, static_cast<int>(std::nearbyint(seconds * sampleRate)));
}

}
