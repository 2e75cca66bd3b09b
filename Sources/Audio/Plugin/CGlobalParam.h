// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"
#include "Core/CApplicationDataBridge.h"

#include <atomic>
#include <functional>

namespace kor
{

// Keeps a parameter of an instance equal to a setting that all instances share, in both directions. A setting that says
// nothing, or is no number, leaves the parameter as it is. What another instance writes is taken over by update().
class CGlobalParam : private CAudioParamChangeHook
{
public:
    /// param: of one value; must outlive this. key: name of the setting in the global store.
    CGlobalParam(CAudioParam& param, const CStringBuf& key);
    ~CGlobalParam() override;

    /// Takes the setting over and follows it from now on. onStale: called when another instance has changed it, on that
    /// one's thread and under locks, so it may only note that update() is due.
    void start(std::function<void()> onStale);

    /// Takes the setting over if another instance has changed it. Any thread but the audio thread.
    void update();

private:
    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;
    CError onStoreWritten(const CStringBuf& name);
    void take();
    void write();

    CAudioParam& parameter;
    const CStringBuf name;
    std::function<void()> tellStale;
    std::atomic<bool> isStale{false};
    bool isFollowing = false;
    CApplicationDataBridge<CGlobalParam> bridge;
};

}
