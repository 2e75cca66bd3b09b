// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <string>
#include <string_view>

namespace kor
{

class CAudioInstance;
class CAudioParam;

/// A setting as it was written: KEY[g,e] and a text, or KEY alone for group 0, element 0.
struct CParamAssignment
{
    std::string key;                // name below the main process
    int group = 0;
    int element = 0;
    std::string text;               // what a user would type

    /// Reads KEY or KEY[g,e]; false when it is neither.
    bool parsePlace(std::string_view place);

    std::string place() const;      // KEY[g,e]
};

// What a written setting means for an instance: the parameter is there, the place is one of its places, the value within
// its range.
class CParamSetting
{
public:
    /// Checks everything without changing anything. The failure begins with the place. A value outside its range is no
    /// failure: the nearest end is taken, and note() says so.
    CError resolve(const CAudioInstance& instance, const CParamAssignment& assignment);

    /// True when it is that place's.
    bool isAt(const CAudioParam& other, int otherGroup, int otherElement) const noexcept
    {
        return param == &other && group == otherGroup && element == otherElement;
    }

    /// Real value, not of a text parameter.
    double number() const noexcept { return value; }

    /// Gives the value to the parameter.
    void give() const;

    const std::string& note() const noexcept { return noteText; }

    /// Which group's setting it is; -1 for a parameter that all groups share.
    int channelGroup() const noexcept;

    /// Which band of channelGroup() it concerns; -1 for none.
    int band() const noexcept { return bandIndex; }

private:
    CAudioParam* param = nullptr;
    int group = 0;
    int element = 0;
    int bandIndex = -1;
    double value = 0.0;
    CStringBuf text;                // of a text parameter
    std::string noteText;
};

}
