// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterText.h"

#include "Audio/Converters/ConverterNumbers.h"

namespace kor
{

double CAudioParamConverterText::parseBare(const CStringBuf& text, bool& ok) const
{
    return text.toDouble(ok);
}

void CAudioParamConverterText::format(CStringBuf& out, const CAudioParamInfo&, int, double value, CAudioParamTextMode,
                                      const CStringBuf* itemText) const
{
    out = itemText != nullptr ? *itemText : decimalText(value, 2);
}

double CAudioParamConverterText::normalisedToReal(const CAudioParamInfo& info, int component, double x) const
{
    return linearToReal(info.minValue(component), info.maxValue(component), x);
}

double CAudioParamConverterText::realToNormalised(const CAudioParamInfo& info, int component, double value) const
{
    return linearToNormalised(info.minValue(component), info.maxValue(component), value);
}

}
