// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterRatio.h"

#include "Audio/Converters/ConverterNumbers.h"

#include <cmath>

namespace kor
{

CError CAudioParamConverterRatio::init()
{
    KOR_TRY(CAudioParamConverter::init());
    return readDecimals(decimals);
}

double CAudioParamConverterRatio::parseBare(const CStringBuf& text, bool& ok) const
{
    const int colon = text.findChar(':');
    if (colon < 0)
        return text.toDouble(ok);
    const double first = text.substr(0, colon).toDouble(ok);
    ok = ok && first > 0 && text.substr(colon + 1).equals("1");
    return ok ? 1.0 / first : 0.0;
}

// From a thousand to one on, decimals would say nothing.
void CAudioParamConverterRatio::format(CStringBuf& out, const CAudioParamInfo&, int, double value, CAudioParamTextMode,
                                       const CStringBuf*) const
{
    const double inverse = 1.0 / value;
    if (value >= 1.0 || !(value > 0) || std::isinf(inverse))
        out = decimalText(value, decimals);
    else
        out = decimalText(inverse, roundsBelow(inverse, decimals, 1000.0) ? decimals : 0) + ":1";
}

double CAudioParamConverterRatio::normalisedToReal(const CAudioParamInfo& info, int component, double x) const
{
    const double low = std::log(info.minValue(component));
    return std::exp(low + (std::log(info.maxValue(component)) - low) * x);
}

double CAudioParamConverterRatio::realToNormalised(const CAudioParamInfo& info, int component, double value) const
{
    const double low = std::log(info.minValue(component));
    return (std::log(value) - low) / (std::log(info.maxValue(component)) - low);
}

}
