// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamListener.h"
#include "Audio/Parameters/CAudioParamStorage.h"
#include "Platform/CLock.h"

namespace kor
{

class CAudioParamCollector;

/// Takes part in changes as they are made, under the parameter's lock, on the thread of the change.
class CAudioParamChangeHook
{
public:
    virtual ~CAudioParamChangeHook() = default;
    virtual void onParamChange(const CAudioParamRequest& request, class CAudioParamUndoContext* undo) = 0;
};

/// Records what a user's action changed, before and after.
class CAudioParamUndoContext
{
public:
    virtual ~CAudioParamUndoContext() = default;
    virtual void recordOld(CAudioParam& param, const CAudioParamRequest& request) = 0;
    virtual void recordNew(CAudioParam& param, const CAudioParamRequest& request) = 0;
};

/// How a change reaches the audio side.
enum class CAudioParamDelivery
{
    deferred,                   // any thread: at the next flush
    immediate                   // the audio thread between blocks: straight into the listeners' queues
};

// One parameter of an instance, addressed by its full dotted name, group and element. The change operation is the only
// write path. Any thread; the lock guards the stores and the listener chain. Listener storage belongs to the audio
// thread.
class CAudioParam
{
public:
    CAudioParam(CAudioParamCollector& owner, const CStringBuf& fullName);
    ~CAudioParam();

    const CStringBuf& fullName() const noexcept { return name; }
    const CAudioParamInfo& info() const noexcept { return paramInfo; }
    bool hasInfo() const noexcept;

    /// The one write path. Values are clamped to the range, NaN to its low end. Dropped while the parameter has no
    /// info or is locked. Fills a gap before the first element with defaults.
    void change(const CAudioParamRequest& request, CAudioParamUndoContext* undo = nullptr,
                CAudioParamDelivery delivery = CAudioParamDelivery::deferred);

    /// One float value, real.
    void setValue(int group, int element, double value, CAudioParamUndoContext* undo = nullptr,
                  CAudioParamDelivery delivery = CAudioParamDelivery::deferred);

    /// One text of a string parameter, cut at 61,440 bytes of UTF-8.
    void setText(int group, int element, const CStringBuf& text, CAudioParamUndoContext* undo = nullptr);

    /// Copies from the default store; group may be allGroups, element everyIndex.
    void reset(int group, int element, CAudioParamUndoContext* undo = nullptr);

    double getValue(int group, int element) const;
    int getElementCount(int group) const;
    CStringBuf getText(int group, int element) const;

    /// Binds a listener: its storage is brought up to date at once and follows from then on. group and element may be
    /// everyIndex. One listener may bind several storages. Audio thread, or any thread while not processing.
    void addListener(CAudioParamListener& listener, CAudioParamStorage& storage, int group, int element);
    void removeListener(CAudioParamListener& listener, CAudioParamStorage& storage);

    void addHook(CAudioParamChangeHook& hook);
    void removeHook(CAudioParamChangeHook& hook);

    void setLocked(bool locked);

    CLock& lock() const noexcept { return mutex; }

private:
    friend class CAudioParamCollector;
    mutable CLock mutex;
    CAudioParamCollector& collector;
    CStringBuf name;
    CAudioParamInfo paramInfo;
    CAudioParamStorage current;
    CAudioParamStorage defaults;
};

}
