// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamRequest.h"

namespace kor
{

// Whoever follows a parameter at the client's side. Called on the client's thread out of its event loop; may listen and
// unlisten meanwhile.
class CParamClientListener
{
public:
    virtual ~CParamClientListener() = default;

    /// The parameter's definition, an empty one while it has none, and its defaults as a change for all groups, null
    /// with an empty definition. All values known so far are void; the lists of all groups that are not empty follow
    /// as changes.
    virtual void onParamInfo(const CAudioParamInfo& info, const CAudioParamRequest* defaults) = 0;

    /// Values that are in effect at the audio side. One that does not fit the last definition is of a definition to
    /// come and to be ignored.
    virtual void onParamChange(const CAudioParamRequest& change) = 0;
};

}
