// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterBW.h"

#include "Audio/Converters/ConverterNumbers.h"

namespace kor
{

double CAudioParamConverterBW::parseBare(const CStringBuf& text, bool& ok) const
{
    const double value = text.toDouble(ok);
    return ok ? value : 0.001;                      // a range that starts at 0 would hold a filter of no width
}

void CAudioParamConverterBW::format(CStringBuf& out, const CAudioParamInfo&, int, double value,
                                    CAudioParamTextMode mode, const CStringBuf*) const
{
    out = decimalText(value, mode == CAudioParamTextMode::precise ? 3 : 2);
}

double CAudioParamConverterBW::normalisedToReal(const CAudioParamInfo& info, int component, double x) const
{
    return squareToReal(info.minValue(component), info.maxValue(component), x);
}

double CAudioParamConverterBW::realToNormalised(const CAudioParamInfo& info, int component, double value) const
{
    return squareToNormalised(info.minValue(component), info.maxValue(component), value);
}

}
