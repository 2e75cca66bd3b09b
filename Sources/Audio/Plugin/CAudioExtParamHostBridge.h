// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

/// How the plug-in's parameters reach the host that it lives in; implemented by the face towards that host. Rows are
/// indices of the list of external parameters. Any thread but the audio thread, no lock held.
class CAudioExtParamHostBridge
{
public:
    virtual ~CAudioExtParamHostBridge() = default;

    /// A row has a new value, 0 to 1, that the host does not know yet: the user, a preset or a step of undo set it.
    /// Always between beginEdit and endEdit of the row.
    virtual void sendValue(int index, double normalized) = 0;

    /// A row has a new value that follows from something the host itself did: only what is shown changes.
    virtual void showValue(int index, double normalized) = 0;

    /// The user takes hold of a row, and lets go of it.
    virtual void beginEdit(int index) = 0;
    virtual void endEdit(int index) = 0;

    /// The programs, their names or the current one changed. isByHost: because the host said so.
    virtual void programChanged(bool isByHost) = 0;
};

}
