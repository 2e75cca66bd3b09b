// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioGraphContext.h"

#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/CAudioParamRemapDef.h"

#include <mutex>

namespace kor
{

void CAudioGraphContext::enterDefinitions(const CAudioProcessDefBase& definition, const CStringBuf& nodeName)
{
    definition.visitSubtree(nodeName, [this](const CAudioProcessDefBase& def, const CStringBuf& name)
                            { enterRemaps(def, name); });
    definition.visitSubtree(nodeName, [this](const CAudioProcessDefBase& def, const CStringBuf& name)
                            { enterParams(def, name); });
}

void CAudioGraphContext::enterRemaps(const CAudioProcessDefBase& definition, const CStringBuf& nodeName)
{
    for (const CAudioParamRemapDef* remap : definition.paramRemaps())
    {
        for (const CAudioParamRemapDef::CPair& pair : remap->pairs())
        {
            const CStringBuf orig = definition.expandName(pair.orig, nodeName);
            remaps[orig] = definition.expandName(pair.replacement, nodeName);
        }
    }
}

void CAudioGraphContext::enterParams(const CAudioProcessDefBase& definition, const CStringBuf& nodeName)
{
    for (const CAudioProcessDefBase::CNamedParam& param : definition.paramDefs())
    {
        const CStringBuf fullName = definition.expandName(param.name, nodeName);
        if (remaps.contains(fullName)) // stands for another parameter; its own is never used
            continue;
        if (param.definition->info().isGlobal)
            collector.defineParam(fullName, *param.definition);
        else
            localParams.try_emplace(fullName, param.definition);
    }
}

CStringBuf CAudioGraphContext::resolve(const CStringBuf& fullName) const
{
    CStringBuf name = fullName;
    for (int step = 0; step < maxRemapSteps; ++step)
    {
        const auto found = remaps.find(name);
        if (found == remaps.end())
            break;
        name = found->second;
    }
    return name;
}

CAudioParam& CAudioGraphContext::paramOf(const CStringBuf& fullName)
{
    if (CAudioParam* known = collector.findParam(fullName); known != nullptr && known->hasInfo())
        return *known;
    const auto local = localParams.find(fullName);
    return local != localParams.end() ? collector.defineParam(fullName, *local->second) : collector.getParam(fullName);
}

void CAudioGraphContext::report(CError error)
{
    const std::lock_guard hold(errorLock);
    if (errors.size() < maxErrors)
        errors.push_back(std::move(error));
}

CError CAudioGraphContext::takeError()
{
    const std::lock_guard hold(errorLock);
    if (errors.empty())
        return {};
    CError oldest = std::move(errors.front());
    errors.erase(errors.begin());
    return oldest;
}

}
