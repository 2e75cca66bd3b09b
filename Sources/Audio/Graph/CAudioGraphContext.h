// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioBufferPool.h"
#include "Audio/Graph/CAudioGraphFilters.h"
#include "Audio/Graph/CAudioScratch.h"
#include "Core/CError.h"
#include "Core/CStringBuf.h"
#include "Platform/CLock.h"

namespace kor
{

class CAudioEnv;
class CAudioParam;
class CAudioParamCollector;
class CAudioParamDef;
class CAudioProcessDefBase;
class CAudioVizCollector;

// What all nodes of one instance share: parameters, environment, sample buffers, and the one table that says which
// parameter a name of the definitions really means. Must outlive the nodes.
class CAudioGraphContext
{
public:
    CAudioGraphContext(CAudioParamCollector& paramCollector, CAudioEnv& environment)
        : collector(paramCollector), env(environment)
    {
    }

    CAudioParamCollector& collector;
    CAudioEnv& env;
    CAudioBufferPool pool;
    CAudioGraphFilters paramFilters;
    CAudioScratch scratch;

    /// Where nodes post what they measure for the display; null when nobody takes it. Set before the nodes are made.
    CAudioVizCollector* viz = nullptr;

    /// The graph is being made ready off the audio thread: nodes may make ahead what they will need.
    bool isPriming = false;

    // A window that opens or closes may bring in or take out a node in every band of every group. So that this never
    // makes a block late, each slice has room for a few, and the others wait for the next ones.

    /// A slice begins. Audio thread.
    void beginSlice() noexcept
    {
        vizChangesLeft = vizChangesPerSlice;
        if (hasVizWaiting)
            ++vizRoundCount;
        hasVizWaiting = false;
    }

    /// Whether one more node that serves the display only may come or go in this slice; the second uses the place up.
    /// Audio thread.
    bool canAdmitVizChange() const noexcept { return vizChangesLeft > 0; }
    bool admitVizChange() noexcept { return --vizChangesLeft >= 0; }

    /// Somebody has found no place in this slice. The rounds go up with the next one, so that whoever holds nodes asks
    /// them again. Audio thread.
    void noteVizWaiting() noexcept { hasVizWaiting = true; }
    std::uint64_t vizRounds() const noexcept { return vizRoundCount; }

    static constexpr int vizChangesPerSlice = 4;

    /// Enters the remaps of a definition and everything below it as if its node had this full name, nodes that are not
    /// made yet included, then registers the global parameters of them all.
    void enterDefinitions(const CAudioProcessDefBase& definition, const CStringBuf& nodeName);

    /// The full name that a full name stands for; itself when nothing remaps it. A ring of remaps ends after 16 steps.
    CStringBuf resolve(const CStringBuf& fullName) const;

    /// The parameter behind a full name. Made from its definition if a definition has been entered for it, else
    /// without one, so that it gets its values when somebody defines it.
    CAudioParam& paramOf(const CStringBuf& fullName);

    /// Keeps a failure that came up during processing, for a thread that may log. Beyond maxErrors the newest are
    /// dropped, so that a fault in every block does not fill the memory. Any thread.
    void report(CError error);

    /// The oldest failure that was kept; success when there is none. Any thread.
    CError takeError();

    static constexpr std::size_t maxErrors = 32;

private:
    static constexpr int maxRemapSteps = 16;
    void enterRemaps(const CAudioProcessDefBase& definition, const CStringBuf& nodeName);
    void enterParams(const CAudioProcessDefBase& definition, const CStringBuf& nodeName);

    CMap<CStringBuf, CStringBuf> remaps;
    CMap<CStringBuf, const CAudioParamDef*> localParams; // definitions that are not global, by full name
    CLock errorLock;
    CArray<CError> errors;
    int vizChangesLeft = vizChangesPerSlice;
    bool hasVizWaiting = false;
    std::uint64_t vizRoundCount = 0;
};

}
