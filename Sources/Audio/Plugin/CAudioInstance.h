// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <memory>
#include <vector>

namespace kor
{

class CAudioEnv;
class CAudioGraphHost;
class CAudioParam;
class CAudioParamCollector;
class CObject;

// One instance of the equalizer, under whatever face it wears: its own object tree, grown from the shared tree's
// template, and the graph that runs in it. Everything that makes it this product it reads from the shared tree.
class CAudioInstance
{
public:
    CAudioInstance();
    ~CAudioInstance();
    CAudioInstance(const CAudioInstance&) = delete;
    CAudioInstance& operator=(const CAudioInstance&) = delete;

    /// Builds tree and graph, with every parameter at its default. Once; needs an application that has started. On
    /// failure the instance is of no use but to be destroyed.
    CError create();

    // Valid after create().
    CAudioEnv& environment() const noexcept { return *env; }
    CAudioParamCollector& collector() const noexcept { return *params; }
    CAudioGraphHost& graph() const noexcept { return *graphHost; }

    /// Channels inside the graph at most, and groups that they may belong to; 1 to 16.
    int channelCount() const noexcept { return channels; }
    int groupCount() const noexcept { return groups; }

    /// Group of each of `count` channels, 0 to channelCount(), as the product assigns them by itself.
    std::vector<int> defaultGrouping(int count) const;

    /// Bands of the chain, the same in every group.
    int bandCount() const noexcept { return bands; }

    /// The parameter of a name below the main process ("modMorvaEQ.eq-params.freq"); null when there is none.
    CAudioParam* findParam(const CStringBuf& key) const;

    /// Names below the main process, of all parameters that exist.
    std::vector<CStringBuf> paramKeys() const;

private:
    CError readProject(CObject& project);

    CObject* root = nullptr;
    CAudioEnv* env = nullptr;
    CAudioParamCollector* params = nullptr;
    std::unique_ptr<CAudioGraphHost> graphHost;
    int channels = 0;
    int groups = 0;
    int bands = 0;
    std::vector<int> grouping;
};

}
