// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

namespace kor
{

class CAudioInstance;
class CAudioParam;
class CAudioParamUndoContext;

/// Learns how many channels the host has and what it calls those that come in.
class CAudioRoutingInfoProvider
{
public:
    virtual ~CAudioRoutingInfoProvider() = default;

    /// inputs, outputs: 1 or more, the side chain not counted. undo: null for none. Any thread but the audio thread, no
    /// lock held that stands before a parameter's.
    virtual void channelsChanged(int inputs, int outputs, const CArray<CStringBuf>& labels,
                                 CAudioParamUndoContext* undo) = 0;
};

// Lets the routing of an instance follow the host's channels as long as nobody has touched it: every channel straight
// through, one in to all out, the first group named after what it then is. What a user routed is left alone.
class CAudioRoutingDefaults : public CAudioRoutingInfoProvider
{
public:
    /// Fails when the instance lacks a parameter of the routing. The instance must outlive this.
    CError init(const CAudioInstance& owner);

    void channelsChanged(int inputs, int outputs, const CArray<CStringBuf>& labels,
                         CAudioParamUndoContext* undo) override;

    /// Names the channels after the host's labels, whatever was routed.
    void importLabels(const CArray<CStringBuf>& labels, CAudioParamUndoContext* undo) const;

private:
    bool isUntouched(int inputs) const;

    const CAudioInstance* instance = nullptr;
    CAudioParam* channelNames = nullptr;
    CAudioParam* groupNames = nullptr;
    CAudioParam* inRouting = nullptr;
    CAudioParam* grouping = nullptr;
    CAudioParam* outRouting = nullptr;
    CAudioParam* pairs = nullptr;
};

}
