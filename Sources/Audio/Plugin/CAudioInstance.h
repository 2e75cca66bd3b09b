// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Plugin/CPluginProject.h"
#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <memory>
#include <vector>

namespace kor
{

class CAudioEnv;
class CAudioGraphHost;
class CAudioInterfaceBase;
class CAudioParam;
class CAudioParamCollector;
class CAudioParamRegistry;
class CAudioVizCollector;
class CInputStream;
class CObject;
class COutputStream;

// One instance of the equalizer, under whatever face it wears: its own object tree, grown from the shared tree's
// template, and the graph that runs in it. Everything that makes it this product it reads from the shared tree.
class CAudioInstance
{
public:
    CAudioInstance();
    ~CAudioInstance();
    CAudioInstance(const CAudioInstance&) = delete;
    CAudioInstance& operator=(const CAudioInstance&) = delete;

    /// Builds tree and graph, with the parameters as the first program has them. Once; needs an application that has started. On
    /// failure the instance is of no use but to be destroyed.
    CError create();

    // Valid after create().
    CAudioEnv& environment() const noexcept { return *env; }
    CAudioParamCollector& collector() const noexcept { return *params; }
    CAudioGraphHost& graph() const noexcept { return *graphHost; }

    /// Where all that a display shows gathers.
    CAudioVizCollector& viz() const noexcept { return *vizCollector; }

    /// What windows and other clients drive the instance by, and the root of the tree that they find it in.
    CAudioInterfaceBase& interfaceBase() const noexcept { return *clients; }
    CObject& tree() const noexcept { return *root; }

    /// The registry of all that a project keeps; the others by the id of their presets, null for an unknown one.
    CAudioParamRegistry& registry() const noexcept { return *master; }
    CAudioParamRegistry* findRegistry(const CStringBuf& id) const;

    /// What a host keeps with its project: the present values as one compressed master preset. Loading one makes no
    /// step of undo; one that does not fit leaves what was set before the misfit. Any thread but the audio thread.
    CError saveState(COutputStream& stream);
    CError loadState(CInputStream& stream);

    /// Makes the graph ready for a host's channels and rate in hertz, or for others, and tells the clients of them. Fails
    /// as CAudioGraphHost::setLayout. stop: what runs is over, in the graph and for the displays. Any thread but the
    /// audio thread, while nothing is processed.
    CError start(int inputs, int outputs, double rate);
    void stop();

    /// What the product is. Channels inside the graph at most, and groups that they may belong to.
    const CPluginProject& project() const noexcept { return product; }
    int channelCount() const noexcept { return product.channels; }
    int groupCount() const noexcept { return product.groups; }

    /// Group of each of `count` channels, 0 to channelCount(), as the product assigns them by itself.
    std::vector<int> defaultGrouping(int count) const;

    /// Bands in series of a group, as the parameters have it now, and the most that there can be.
    int bandCount(int group) const;
    int maxBandCount() const;

    /// The parameter of a name below the main process ("modMorvaEQ.eq-params.freq"); null when there is none.
    CAudioParam* findParam(const CStringBuf& key) const;

    /// Names below the main process, of all parameters that exist.
    std::vector<CStringBuf> paramKeys() const;

private:
    CObject* root = nullptr;
    CAudioEnv* env = nullptr;
    CAudioParamCollector* params = nullptr;
    CAudioInterfaceBase* clients = nullptr;
    CAudioVizCollector* vizCollector = nullptr;
    CAudioParamRegistry* master = nullptr;
    CAudioParam* bands = nullptr;
    std::unique_ptr<CAudioGraphHost> graphHost;
    CPluginProject product;
};

}
