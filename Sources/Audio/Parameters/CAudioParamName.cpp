// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamName.h"

namespace kor
{

CStringBuf expandParamName(const CStringBuf& name, const CStringBuf& basePath)
{
    if (name.length() > 0 && name[0] == '/')
        return name.substr(1);

    int start = 0;
    int pathLength = basePath.length();
    while (start < name.length() && name[start] == '^')
    {
        const int dot = pathLength > 0 ? basePath.findLastChar('.', pathLength) : -1;
        pathLength = dot < 0 ? 0 : dot;
        ++start;
    }
    CStringBuf result = basePath.substr(0, pathLength);
    if (start == name.length())
        return result;
    if (!result.isEmpty())
        result.append('.');
    result.append(name.substr(start));
    return result;
}

}
