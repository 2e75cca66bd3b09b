// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterPercent.h"

#include "Audio/Converters/ConverterNumbers.h"

namespace kor
{

double CAudioParamConverterPercent::parseBare(const CStringBuf& text, bool& ok) const
{
    return text.toDouble(ok) * 0.01;
}

// One decimal below 10 %, none above; the precise text keeps one more up to 100 %.
void CAudioParamConverterPercent::format(CStringBuf& out, const CAudioParamInfo&, int, double value,
                                         CAudioParamTextMode mode, const CStringBuf*) const
{
    const double percent = 100.0 * value;
    const int more = mode == CAudioParamTextMode::precise ? 1 : 0;
    if (roundsBelow(percent, 1 + more, 10.0))
        out = decimalText(percent, 1 + more);
    else if (roundsBelow(percent, more, 100.0))
        out = decimalText(percent, more);
    else
        out = decimalText(percent, 0);
}

double CAudioParamConverterPercent::normalisedToReal(const CAudioParamInfo& info, int component, double x) const
{
    return linearToReal(info.minValue(component), info.maxValue(component), x);
}

double CAudioParamConverterPercent::realToNormalised(const CAudioParamInfo& info, int component, double value) const
{
    return linearToNormalised(info.minValue(component), info.maxValue(component), value);
}

double CAudioParamConverterPercent::normalisedToDisplay(const CAudioParamInfo& info, int component, double x) const
{
    return 100.0 * normalisedToReal(info, component, x);
}

}
