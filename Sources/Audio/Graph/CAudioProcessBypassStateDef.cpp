// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessBypassStateDef.h"

#include <cmath>

namespace kor
{

namespace
{

// Room for values that a converter has rounded: 0.9 and 1.1 both count as 1.0.
constexpr double valueTolerance = 0.1 + 1e-9;

// False for a text that is no number; an empty one is an absent bound.
bool readBound(std::optional<double>& bound, const CStringBuf& text, double step)
{
    if (text.isEmpty())
        return true;
    bool isReadable = false;
    const double value = text.toDouble(isReadable);
    if (isReadable)
        bound = std::round(value / step);
    return isReadable;
}

}

bool CAudioProcessBypassStateDef::CTest::holds(double tested) const
{
    if (!range)
        return std::abs(tested - value) <= valueTolerance;

    const double n = std::round(tested / range->step);
    const bool isAboveLow = !range->low || (range->isLowIncluded ? n >= *range->low : n > *range->low);
    const bool isBelowHigh = !range->high || (range->isHighIncluded ? n <= *range->high : n < *range->high);
    return isAboveLow && isBelowHigh;
}

bool CAudioProcessBypassStateDef::parseRange(CRange& range, const CStringBuf& text)
{
    const int length = text.length();
    if (length < 5)
        return false;
    const char16_t opening = text[0];
    const char16_t closing = text[length - 1];
    if ((opening != u'[' && opening != u'(') || (closing != u']' && closing != u')'))
        return false;

    CArray<CStringBuf> fields;
    text.substr(1, length - 2).split(fields, u';', false);
    if (fields.size() < 2 || fields.size() > 3)
        return false;

    CRange read;
    read.isLowIncluded = opening == u'[';
    read.isHighIncluded = closing == u']';
    if (fields.size() == 3 && !fields[2].trimmed().isEmpty())
    {
        bool isReadable = false;
        read.step = fields[2].trimmed().toDouble(isReadable);
        if (!isReadable || !(read.step > 0.0))
            return false;
    }
    if (!readBound(read.low, fields[0].trimmed(), read.step) || !readBound(read.high, fields[1].trimmed(), read.step))
        return false;
    range = read;
    return true;
}

CError CAudioProcessBypassStateDef::readTest(CTest& out, const char* valueAttribute, const char* rangeAttribute) const
{
    if (hasAttr(valueAttribute))
        out.value = getAttrDouble(valueAttribute);

    const CStringBuf& text = getAttrString(rangeAttribute);
    if (!text.isEmpty())
    {
        CRange range;
        if (!parseRange(range, text))
            return KOR_FAIL("Invalid '%1' attribute value '%2' specified.", rangeAttribute, text);
        out.range = range;
    }
    return {};
}

CError CAudioProcessBypassStateDef::init()
{
    KOR_TRY(CObject::init());
    number = hasAttr("id") ? getAttrInt("id") : -1;
    paramName = getAttrString("param");
    if (paramName.isEmpty())
        return KOR_FAIL("Invalid parameter name specified.");
    KOR_TRY(readTest(test, "value", "range"));
    andParamName = getAttrString("and-param");
    KOR_TRY(readTest(andTest, "and-value", "and-range"));
    isInverted = getAttrBool("is-inverted");
    servesViz = name().startsWith("process-bypass-state-viz"); // behind it an index where there are several
    return {};
}

bool CAudioProcessBypassStateDef::evaluate(double value, double second) const
{
    const bool isTrue = test.holds(value) && (andParamName.isEmpty() || andTest.holds(second));
    return isTrue != isInverted;
}

}
