// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamStorage.h"
#include "Other/Interface/CParamClientListener.h"

namespace kor
{

// A parameter as a client knows it: definition, values and defaults of its own, kept up to date by what comes from the
// audio side. The client's thread.
class CParamCopy : public CParamClientListener
{
public:
    void onParamInfo(const CAudioParamInfo& next, const CAudioParamRequest* defaultList) override;
    void onParamChange(const CAudioParamRequest& change) override;

    /// Empty until there is a definition.
    const CAudioParamInfo& info() const noexcept { return definition; }

    /// Groups up to the last one that ever had an element; what is not there reads as its default.
    const CAudioParamStorage& values() const noexcept { return current; }

    /// What a reset leads to: one list, in group 0, for all groups.
    const CAudioParamStorage& defaults() const noexcept { return defaultLists; }

private:
    CAudioParamInfo definition;
    CAudioParamStorage current;
    CAudioParamStorage defaultLists;
};

}
