// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"

#include <functional>

namespace kor
{

// Turns the stored size of the window, which knows no scale, into pixels of the screen and back.
class CWinSizeParamListener : private CAudioParamChangeHook
{
public:
    /// Width and height in pixels.
    struct CSize
    {
        int width;
        int height;

        friend bool operator==(const CSize&, const CSize&) = default;
    };

    /// param: width and height at scale 1 as elements 0 and 1; must outlive this. smallest: at scale 1.
    CWinSizeParamListener(CAudioParam& param, CSize smallest);
    ~CWinSizeParamListener() override;

    /// Called with the wanted size whenever the parameter has changed, on the thread of the change with no lock held;
    /// null for nobody. On the thread of the window, while nobody changes the parameter.
    void setHandler(std::function<void(CSize)> call) { handler = std::move(call); }

    /// The size that the parameter asks for, and the smallest there may be. Any thread but the audio thread.
    CSize wantedSize() const;
    CSize smallestSize() const;

    /// The window has got this size. Any thread but the audio thread.
    void setSize(CSize size);

private:
    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) override;

    CAudioParam& parameter;
    const CSize smallest;
    std::function<void(CSize)> handler;
};

}
