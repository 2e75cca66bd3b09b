// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"

#include <functional>

namespace kor
{

class CAudioParamFilterDef;

// Derives the values of destination parameters from source parameters at the moment these change, on the thread of the
// change and under the changed parameter's lock. That lock is the only one of a source it ever has: what the other
// sources hold it knows from its own copies, which it keeps from their changes. Its own lock, taken behind a source's
// and ahead of a destination's, makes taking a change, computing and writing one step, so that of two threads that
// change two sources at once the later one computes with both new values and writes last.
class CAudioParamFilter : public CAudioParamChangeHook
{
public:
    /// A source and its values as of the last change that this filter saw. Under the filter's lock.
    struct CSource
    {
        CAudioParam* param = nullptr;
        const CAudioParamInfo* info = nullptr; // layout of `values`
        CAudioParamStorage values;
    };

    CAudioParamFilter() = default;
    CAudioParamFilter(const CAudioParamFilter&) = delete;
    CAudioParamFilter& operator=(const CAudioParamFilter&) = delete;

    /// Stops, if that has not been done; changes made meanwhile would meet half a filter.
    ~CAudioParamFilter() override;

    /// Finds the parameters that a definition names. The definition must outlive the filter. Once.
    using CParamFinder = std::function<CAudioParam&(const CStringBuf& name)>;
    virtual CError init(const CAudioParamFilterDef& definition, const CParamFinder& find);

    /// How many parameters the filter wants.
    virtual std::size_t getSrcCount() const = 0;
    virtual std::size_t getDstCount() const = 0;

    /// Brings the destinations up to date with a change. Default: calc for every element of the request's range, in its
    /// group, or in group 0 when it is for all; the results go out as one change of that group and range. A request
    /// that cuts reaches to the end of the longest source list.
    virtual void process(std::span<const CSource> sources, std::span<CAudioParam* const> destinations,
                         const CAudioParamRequest& request, CAudioParamUndoContext* undo);

    /// Computes one element for the default process: `values` holds the sources' values and, behind them, the
    /// destinations', to be filled in. Default: leaves these 0.
    virtual void calc(std::span<double> values) const;

    /// After init: follows the sources from now on and runs once, for all groups. The ways from sources to destinations
    /// must not form a ring, over all filters. Any thread that holds no parameter's lock.
    void start();

    /// Withdraws from the sources, which must still be there. Others may change them. Any thread that holds no
    /// parameter's lock.
    void stop();

    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) final;

    bool hasSource(const CAudioParam& param) const noexcept;
    std::span<CAudioParam* const> destinations() const noexcept { return destinationParams; }

protected:
    /// The group whose values a request bears on; group 0 stands for all.
    static int groupOf(const CAudioParamRequest& request) noexcept
    {
        return request.group == allGroups ? 0 : request.group;
    }

    /// Makes `value` the only element of a group (allGroups for all) of `destination`.
    static void writeSole(CAudioParam& destination, int group, double value, CAudioParamUndoContext* undo);

private:
    const CStringBuf& errorContext() const noexcept;
    static void take(CSource& source);

    const CAudioParamFilterDef* def = nullptr;
    CArray<CAudioParam*> destinationParams;
    CArray<CAudioParam*> followed; // each source once

    CLock mutex{CLockRank::parameterFilter};
    CArray<CSource> ownSources;
    CArray<double> work;
};

}
