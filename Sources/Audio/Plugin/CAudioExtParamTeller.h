// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/CLock.h"

#include <memory>

namespace kor
{

class CAudioExtParamHostBridge;
class CAudioParamUndoContext;

// The way of one row's changes to the host. Behind all locks, one call for all changes of a hold, with the last value.
// A gesture begins with the first value under a record of undo and ends when that record is closed; changes without one
// are gestures of their own. Any thread but the audio thread.
class CAudioExtParamTeller
{
public:
    /// null: nobody is told any more. While nobody changes parameters.
    void connect(CAudioExtParamHostBridge* bridge, int index);

    /// The row has a new value. Called under the parameter's lock.
    void tell(double value, CAudioParamUndoContext* undo);

    /// The host has just said something newer than what it was to be told.
    void cancel();

    /// At once: shows the host what the row has. No lock held.
    void show(double value);

    /// True while a gesture is open.
    bool isHeld() const;

private:
    // Deferred calls and open records hold on to it, so that it may outlive the row.
    struct CState
    {
        mutable CLock lock;                         // a leaf
        CAudioExtParamHostBridge* bridge = nullptr;
        int index = 0;
        double value = 0.0;
        bool isDue = false;                         // a call is on its way
        bool isEdit = false;                        // and tells more than what the host itself did
        bool isHeld = false;                        // a record is open
        bool hasBegun = false;                      // and the host knows

        void run();
        void release();
    };
    std::shared_ptr<CState> state = std::make_shared<CState>();
};

}
