// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace kor
{

class CAudioParam;
class CAudioParamData;

enum class CAudioParamType : std::uint32_t
{
    real = 0,                   // the element is the value
    string = 1,                 // the element is the id of a text item
    raw = 2                     // the element is the id of an item of bytes
};

/// Group number of a request that means all groups.
constexpr int allGroups = 9999;

/// Marks "every element" in a listener's binding, and "every group" likewise.
constexpr int everyIndex = -1;

/// Argument of the change operation: which values of a parameter change to what. Values are real values (a gain is a
/// linear factor, a frequency hertz); the pointers belong to the caller for the time of the call.
struct CAudioParamRequest
{
    int group = 0;              // 0 to the group count - 1, or allGroups
    int firstElement = 0;
    int elementCount = 1;
    bool cut = false;           // the group's list ends behind this range
    CAudioParam* param = nullptr;
    int elementSize = 1;        // doubles in an element
    CAudioParamType type = CAudioParamType::real;
    bool isSingleGroup = false;
    bool isSingleElement = false;
    const double* values = nullptr;             // elementCount x elementSize
    const CAudioParamData* items = nullptr;     // table that ids in `values` belong to
};

}
