// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Core/CObject.h"

#include <functional>
#include <memory>

namespace kor
{

class CAudioParamDef;
class CAudioParamQueue;

/// Follows the set of an instance's parameters and, off all locks, their changes. Attached and detached while nobody
/// creates or changes parameters.
class CAudioParamCollectorHook
{
public:
    virtual ~CAudioParamCollectorHook() = default;

    /// A parameter exists / has got a definition (again). On the thread that made it so, no lock held.
    virtual void onParamAdded(CAudioParam&) {}
    virtual void onParamDefined(CAudioParam&) {}

    /// The parameter set of the instance is complete.
    virtual void onCollectorReady() {}

    /// Elements firstElement to endElement - 1 of a group (allGroups for all) changed. On the thread of the change,
    /// after it, no lock held.
    virtual void onParamChanged(CAudioParam&, int, int, int) {}

    /// False for a hook without an onParamChanged, so that no change makes a call to it; asked once, by addHook.
    virtual bool followsChanges() const noexcept { return true; }
};

// The owner of all parameters of an instance (`audio:param-collector`). Knows them by full dotted name and carries
// changes from whichever thread made them to the audio thread, which takes them by flush between slices.
class CAudioParamCollector : public CObject
{
public:
    CAudioParamCollector();
    ~CAudioParamCollector() override;

    static constexpr int maxGroupCount = 16;

    /// The environment whose lock and processing flag rule the pending list; set before the first change.
    void setEnvironment(CAudioEnv& environment);
    CAudioEnv* environment() const noexcept;

    /// Groups of every parameter that is not single-group; 1 to 16. Set before parameters exist.
    void setGroupCount(int count);
    int groupCount() const noexcept;

    /// The parameter of a name, null when there is none yet. Any thread.
    CAudioParam* findParam(const CStringBuf& fullName) const;

    /// Creates or finds a parameter by name without giving it an info. Any thread.
    CAudioParam& getParam(const CStringBuf& fullName);

    /// Creates or finds a parameter and gives it the info of a definition if its own is still empty; an identical one
    /// changes nothing, another one replaces info and values, unless the layouts differ and listeners are bound. A
    /// parameter that is not global is keyed by name and definition, so that two definitions under one name never
    /// share it; the first of them is found by the name alone. Any thread.
    CAudioParam& defineParam(const CStringBuf& fullName, const CAudioParamDef& definition);

    /// All parameters in the order of their creation. Any thread; the visit may create parameters, which then count.
    void forEachParam(const std::function<void(CAudioParam&)>& visit) const;

    void addHook(CAudioParamCollectorHook& hook);
    void removeHook(CAudioParamCollectorHook& hook);

    /// Told by the instance when all its parameters exist; passes it on to the hooks.
    void collectorReady();

    /// Takes all pending changes and puts them on the queues of the listeners they match. Audio thread, at the start
    /// of a slice; allocates nothing in the steady state. True when anything was delivered.
    bool flush();

    /// Audio thread between blocks: puts a change of float values straight on the queues of the matching listeners,
    /// with no lock and nothing stored. Returns the mark that CAudioParam::storeDelivered wants afterwards, which a
    /// thread other than the audio thread calls for every delivered change in the same order. A parameter without
    /// info ignores it.
    std::uint64_t deliver(CAudioParam& param, const CAudioParamRequest& request);

    /// Changes put on listeners' queues so far, plus 1: as long as it stays, no listener has got anything new. Audio
    /// thread.
    std::uint64_t deliveryCount() const noexcept;

    // What the audio side has, everything put on queues so far included; float parameters only. Audio thread. A list
    // that has grown past what was reserved allocates.
    double heardValue(CAudioParam& param, int group, int element);
    int heardCount(CAudioParam& param, int group);

    /// Room for lists of this many elements on the audio side. While not processing.
    void reserveHeard(CAudioParam& param, int elements);

    /// Runs at the end of each flush, on its thread; it may deliver changes. An empty one ends it. While nothing
    /// flushes.
    void setFollower(std::function<void()> call);

    /// Room for this many changes delivered in a slice without allocation. Any thread while not processing.
    void reserveDelivered(int count);

private:
    friend class CAudioParam;
    friend class CAudioParamBatch;
    friend class CAudioParamListener;
    using CLocalKey = std::pair<CStringBuf, const CAudioParamDef*>;
    CAudioParam& create(const CStringBuf& fullName);
    template <class Call>
    void tellHooks(Call&& call)
    {
        for (CAudioParamCollectorHook* hook : hooks)
            call(*hook);
    }

    std::unique_ptr<CAudioParamQueue> queue;
    std::function<void()> follower;
    int groups = 8;

    // Under the name lock, a leaf.
    mutable CLock namesLock;
    CMap<CStringBuf, CAudioParam*> paramsByName;
    CMap<CLocalKey, CAudioParam*> localParams;
    CArray<std::unique_ptr<CAudioParam>> params;

    CArray<CAudioParamCollectorHook*> hooks;
    CArray<CAudioParamCollectorHook*> changeHooks;  // those that follow changes
};

}
