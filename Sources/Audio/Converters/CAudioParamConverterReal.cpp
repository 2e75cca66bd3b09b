// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterReal.h"

#include "Audio/Converters/ConverterNumbers.h"

namespace kor
{

CError CAudioParamConverterReal::init()
{
    KOR_TRY(CAudioParamConverter::init());
    return readDecimals(decimals);
}

double CAudioParamConverterReal::parseBare(const CStringBuf& text, bool& ok) const
{
    return text.toDouble(ok);
}

void CAudioParamConverterReal::format(CStringBuf& out, const CAudioParamInfo&, int, double value, CAudioParamTextMode,
                                      const CStringBuf*) const
{
    out = decimalText(value, decimals);
}

double CAudioParamConverterReal::normalisedToReal(const CAudioParamInfo& info, int component, double x) const
{
    return linearToReal(info.minValue(component), info.maxValue(component), x);
}

double CAudioParamConverterReal::realToNormalised(const CAudioParamInfo& info, int component, double value) const
{
    return linearToNormalised(info.minValue(component), info.maxValue(component), value);
}

}
