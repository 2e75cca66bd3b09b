// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMorvaEnvEQ.h"

#include <algorithm>

namespace kor
{

namespace
{

CModMorvaEnvEQModule& moduleOf(const CAudioModuleRun& run) noexcept
{
    return *static_cast<CModMorvaEnvEQModule*>(run.module);
}

bool hasSameResult(const CAudioModuleRun& a, const CAudioModuleRun& b) noexcept
{
    return std::ranges::equal(a.inputs, b.inputs) && moduleOf(a).isAlike(moduleOf(b));
}

void processOne(const CAudioModuleRun& run, int count)
{
    run.module->processPorts(run.inputs, run.output, count);
}

void processTwo(const CAudioModuleRun& a, const CAudioModuleRun& b, int count)
{
    CModMorvaEnvEQModule& first = moduleOf(a);
    CModMorvaEnvEQModule& second = moduleOf(b);
    const CMorvaEnvRun both[] = {first.run(a.inputs, a.output), second.run(b.inputs, b.output)};
    if (&first.routine() != &second.routine() || both[0].dry == nullptr || both[1].dry == nullptr)
    {
        processOne(a, count);
        processOne(b, count);
        return;
    }
    first.routine().two(both, count);
    first.recover();
    second.recover();
}

}

void CModMorvaEnvEQ::processSteady(std::span<const CAudioModuleRun> steadyRuns, int count)
{
    // Whose result a run shares: its own index, or that of an earlier run. States are compared before any moves on.
    std::size_t sharesWith[maxPortChannels];
    for (std::size_t i = 0; i < steadyRuns.size(); ++i)
    {
        sharesWith[i] = i;
        for (std::size_t j = 0; j < i && sharesWith[i] == i; ++j)
        {
            if (sharesWith[j] == j && hasSameResult(steadyRuns[i], steadyRuns[j]))
                sharesWith[i] = j;
        }
    }

    const CAudioModuleRun* waiting = nullptr;
    for (std::size_t i = 0; i < steadyRuns.size(); ++i)
    {
        if (sharesWith[i] != i)
            continue;
        if (waiting != nullptr)
            processTwo(*waiting, steadyRuns[i], count);
        waiting = waiting != nullptr ? nullptr : &steadyRuns[i];
    }
    if (waiting != nullptr)
        processOne(*waiting, count);

    for (std::size_t i = 0; i < steadyRuns.size(); ++i)
    {
        if (sharesWith[i] == i)
            continue;
        const CAudioModuleRun& source = steadyRuns[sharesWith[i]];
        std::copy_n(source.output, count, steadyRuns[i].output);
        moduleOf(steadyRuns[i]).takeState(moduleOf(source));
    }
}

}
