// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamChangeScope.h"

#include <utility>

namespace kor
{

namespace
{
thread_local CAudioParamChangeScope* innermost = nullptr;
}

CAudioParamChangeScope::CAudioParamChangeScope(CAudioParamBatch* batch) noexcept
    : outer(innermost), openBatch(batch != nullptr ? batch : currentBatch())
{
    innermost = this;
}

CAudioParamChangeScope::~CAudioParamChangeScope()
{
    innermost = outer;
    if (outer != nullptr)
        return;
    const std::vector<std::function<void()>> due = std::move(calls);    // a call may change parameters and defer anew
    for (const std::function<void()>& call : due)
        call();
}

void CAudioParamChangeScope::defer(std::function<void()> call)
{
    CAudioParamChangeScope* scope = innermost;
    if (scope == nullptr)
    {
        call();
        return;
    }
    while (scope->outer != nullptr)
        scope = scope->outer;
    scope->calls.push_back(std::move(call));
}

CAudioParamBatch* CAudioParamChangeScope::currentBatch() noexcept
{
    return innermost != nullptr ? innermost->openBatch : nullptr;
}

}
