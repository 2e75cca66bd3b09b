// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverterGain.h"

#include "Audio/Converters/ConverterNumbers.h"

#include <cmath>

namespace kor
{

namespace
{
constexpr double dbPerNeper = 8.685889638065037;        // 20 / ln 10
}

CError CAudioParamConverterGain::init()
{
    KOR_TRY(CAudioParamConverterLog::init());
    if (hasAttr("decimals"))
        decimals = getAttrInt("decimals");
    if (decimals < 0)
        return KOR_FAIL("Invalid 'decimals' attribute value %1 specified.", decimals);
    return {};
}

double CAudioParamConverterGain::parseBare(const CStringBuf& text, bool& ok) const
{
    const double db = text.toDouble(ok);
    return ok ? std::exp(db / dbPerNeper) : 0.0;
}

void CAudioParamConverterGain::format(CStringBuf& out, const CAudioParamInfo&, int, double value,
                                      CAudioParamTextMode mode, const CStringBuf*) const
{
    const double db = dbPerNeper * std::log(value);
    if (mode == CAudioParamTextMode::precise)
        out = decimalText(db, 2);
    else if (mode == CAudioParamTextMode::compact)
        out = decimalText(db, roundsBelow(db, 1, 10.0) ? 1 : 0);
    else
        out = decimalText(db, decimals);
}

double CAudioParamConverterGain::normalisedToDisplay(const CAudioParamInfo& info, int component, double x) const
{
    return dbPerNeper * std::log(normalisedToReal(info, component, x));
}

}
