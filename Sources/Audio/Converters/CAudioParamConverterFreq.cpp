// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterFreq.h"

#include "Audio/Converters/ConverterNumbers.h"

namespace kor
{

double CAudioParamConverterFreq::parseBare(const CStringBuf& text, bool& ok) const
{
    const int last = text.length() - 1;
    if (last >= 0 && (text[last] == 'k' || text[last] == 'K'))
        return text.substr(0, last).toDouble(ok) * 1000.0;
    return text.toDouble(ok);
}

void CAudioParamConverterFreq::format(CStringBuf& out, const CAudioParamInfo&, int, double value,
                                      CAudioParamTextMode mode, const CStringBuf*) const
{
    if (mode == CAudioParamTextMode::precise)
        out = decimalText(value, 2);
    else if (roundsBelow(value, 1, 100.0))
        out = decimalText(value, 1);
    else if (roundsBelow(value, 0, 1000.0))
        out = decimalText(value, 0);
    else if (roundsBelow(value / 1000.0, 2, 10.0))
        out = decimalText(value / 1000.0, 2) + "k";
    else
        out = decimalText(value / 1000.0, 1) + "k";
}

}
