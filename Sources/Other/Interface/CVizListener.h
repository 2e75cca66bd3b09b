// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

class CAudioVizData;
class CStringBuf;

// A control that shows what a slot brings. Called on the window's thread; may add and remove listeners meanwhile.
class CVizListener
{
public:
    virtual ~CVizListener() = default;

    /// Nothing has come for a while: show rest.
    virtual void onVizInactive() = 0;

    /// name: the slot's. The data is the caller's; copy what is needed.
    virtual void onVizData(const CStringBuf& name, const CAudioVizData& data) = 0;
};

}
