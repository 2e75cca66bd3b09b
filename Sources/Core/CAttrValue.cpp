// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CAttrValue.h"

#include <cmath>
#include <limits>

namespace kor
{
namespace
{

// True when the text is what fromInt would write for its own value: such text need not be kept.
bool readsAsOwnInteger(const CStringBuf& text, std::int32_t& value)
{
    const int length = text.length();
    const int start = length > 0 && text[0] == u'-' ? 1 : 0;
    const int digits = length - start;
    if (digits < 1 || digits > 10)
        return false;
    std::int64_t sum = 0;
    for (int i = start; i < length; ++i)
    {
        const char16_t c = text[i];
        if (c < u'0' || c > u'9')
            return false;
        sum = sum * 10 + (c - u'0');
    }
    const bool isZeroLed = text[start] == u'0';
    if (isZeroLed && (digits > 1 || start == 1))
        return false;
    if (start == 1)
        sum = -sum;
    if (sum < std::numeric_limits<std::int32_t>::min() || sum > std::numeric_limits<std::int32_t>::max())
        return false;
    value = static_cast<std::int32_t>(sum);
    return true;
}

}

CAttrValue::CAttrValue(const CAttrValue& other)
{
    copyFrom(other);
}

CAttrValue& CAttrValue::operator=(const CAttrValue& other)
{
    if (this != &other)
        copyFrom(other);
    return *this;
}

CAttrValue CAttrValue::ofBool(bool value)
{
    CAttrValue result;
    result.setBool(value);
    return result;
}

CAttrValue CAttrValue::ofDouble(double value)
{
    CAttrValue result;
    result.setDouble(value);
    return result;
}

CAttrValue CAttrValue::ofInt(std::int32_t value)
{
    CAttrValue result;
    result.setInt(value);
    return result;
}

CAttrValue CAttrValue::ofString(const CStringBuf& value)
{
    CAttrValue result;
    result.setString(value);
    return result;
}

CAttrValue CAttrValue::ofPlainString(const CStringBuf& value)
{
    CAttrValue result;
    result.setPlainString(value);
    return result;
}

void CAttrValue::setBool(bool value)
{
    boolSlot = value;
    valueType = Type::boolean;
    keepOnly(boolValid);
}

void CAttrValue::setDouble(double value)
{
    doubleSlot = value;
    valueType = Type::real;
    keepOnly(doubleValid);
}

void CAttrValue::setInt(std::int32_t value)
{
    intSlot = value;
    valueType = Type::integer;
    keepOnly(intValid);
}

void CAttrValue::setString(const CStringBuf& value)
{
    std::int32_t number = 0;
    if (readsAsOwnInteger(value, number))
        setInt(number);
    else if (value.isEmpty())
    {
        valueType = Type::empty;
        keepOnly(0);
    }
    else if (value.equals("true"))
        setBool(true);
    else if (value.equals("false"))
        setBool(false);
    else
    {
        valueType = Type::string;
        keepOnly(0);
        storeText(value);
    }
}

void CAttrValue::setPlainString(const CStringBuf& value)
{
    setString(value);
    if (valueType == Type::string)
        flags |= plainText;
}

void CAttrValue::setValue(const CAttrValue& value)
{
    if (this != &value)
        copyFrom(value);
}

bool CAttrValue::asBool() const
{
    bool ok = false;
    return asBool(ok);
}

double CAttrValue::asDouble() const
{
    bool ok = false;
    return asDouble(ok);
}

std::int32_t CAttrValue::asInt() const
{
    bool ok = false;
    return asInt(ok);
}

bool CAttrValue::asBool(bool& ok) const
{
    ok = true;
    if ((flags & boolValid) != 0)
        return boolSlot;
    bool result = false;
    switch (valueType)
    {
    case Type::integer:
        result = intSlot != 0;
        break;
    case Type::empty:
        break;
    default:
        ok = false;     // the texts that read as a bool have taken another type when they were set
        break;
    }
    if (ok)
    {
        boolSlot = result;
        flags |= boolValid;
    }
    return result;
}

double CAttrValue::asDouble(bool& ok) const
{
    ok = true;
    if ((flags & doubleValid) != 0)
        return doubleSlot;
    double result = 0.0;
    switch (valueType)
    {
    case Type::integer:
        result = intSlot;
        break;
    case Type::string:
        result = stringSlot.toDouble(ok);
        break;
    case Type::empty:
        break;
    default:
        ok = false;
        break;
    }
    if (!ok)
        return 0.0;
    doubleSlot = result;
    flags |= doubleValid;
    return result;
}

std::int32_t CAttrValue::asInt(bool& ok) const
{
    ok = true;
    if ((flags & intValid) != 0)
        return intSlot;
    std::int32_t result = 0;
    switch (valueType)
    {
    case Type::boolean:
        result = boolSlot ? 1 : 0;
        break;
    case Type::real:
    {
        const double rounded = std::round(doubleSlot);
        ok = rounded >= std::numeric_limits<std::int32_t>::min() && rounded <= std::numeric_limits<std::int32_t>::max();
        result = ok ? static_cast<std::int32_t>(rounded) : 0;
        break;
    }
    case Type::string:
        result = stringSlot.toInt(ok);
        break;
    default:
        break;
    }
    if (!ok)
        return 0;
    intSlot = result;
    flags |= intValid;
    return result;
}

const CStringBuf& CAttrValue::asString() const
{
    if ((flags & stringValid) != 0)
        return stringSlot;
    switch (valueType)
    {
    case Type::boolean:
        storeText(boolSlot ? "true" : "false");
        break;
    case Type::real:
        storeText(CStringBuf::fromDouble(doubleSlot));
        break;
    case Type::integer:
        storeText(CStringBuf::fromInt(intSlot));
        break;
    default:
        return gEmptyString;
    }
    return stringSlot;
}

void CAttrValue::freeze()
{
    asBool();
    asDouble();
    asInt();
    asString();
}

void CAttrValue::keepOnly(int written) noexcept
{
    flags = static_cast<std::uint8_t>((flags & placeFlags) | written);
}

void CAttrValue::storeText(const CStringBuf& text) const
{
    stringSlot = text;
    flags |= stringValid;
}

void CAttrValue::copyFrom(const CAttrValue& other)
{
    valueType = other.valueType;
    boolSlot = other.boolSlot;
    intSlot = other.intSlot;
    doubleSlot = other.doubleSlot;
    keepOnly(other.flags & (slotFlags | plainText) & ~stringValid);
    if ((other.flags & stringValid) != 0)
        storeText(other.stringSlot);
}

}
