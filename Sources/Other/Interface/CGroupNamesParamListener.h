// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Other/Interface/CParamCopy.h"

namespace kor
{

class CObject;

// Follows the parameter that names the channel groups: its owner sends the event "group-names-changed" whenever one
// may be another.
class CGroupNamesParamListener : public CParamCopy
{
public:
    explicit CGroupNamesParamListener(CObject& sender) noexcept : owner(sender) {}

    void onParamInfo(const CAudioParamInfo& next, const CAudioParamRequest* defaultList) override;
    void onParamChange(const CAudioParamRequest& change) override;

private:
    void tell();

    CObject& owner;
};

}
