// SPDX-License-Identifier: GPL-3.0-or-later
#include "ParamText.h"

#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParamInfo.h"

namespace kor
{

std::string shownValue(const CAudioParamInfo& info, double value)
{
    const CAudioParamConverter& converter = *info.converter();
    CStringBuf text;
    converter.format(text, info, 0, value);
    std::string shown = text.toUtf8();
    if (!converter.label().isEmpty())
        shown += ' ' + converter.label().toUtf8();
    return shown;
}

}
