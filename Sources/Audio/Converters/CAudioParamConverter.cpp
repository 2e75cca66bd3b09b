// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverter.h"

namespace kor
{

CError CAudioParamConverter::init()
{
    KOR_TRY(CObject::init());
    labelText = getAttrString("label");
    discrete = getAttrBool("is-discrete");
    return {};
}

CError CAudioParamConverter::readDecimals(int& decimals) const
{
    if (hasAttr("decimals"))
        decimals = getAttrInt("decimals");
    if (decimals < 0)
        return KOR_FAIL("Invalid decimals %1 specified.", decimals);
    return {};
}

double CAudioParamConverter::parse(const CAudioParamInfo& info, int component, const CStringBuf& text, bool& ok) const
{
    const double value = parseBare(text, ok);
    return ok ? info.clamp(component, value) : info.minValue(component);
}

double CAudioParamConverter::normalisedToDisplay(const CAudioParamInfo& info, int component, double x) const
{
    return normalisedToReal(info, component, x);
}

}
