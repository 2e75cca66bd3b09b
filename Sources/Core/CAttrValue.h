// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

#include <cstdint>

namespace kor
{

class CError;
class CObject;
class CAttrValue;

/// Takes an attribute's value into its object's class fields.
using CAttrHandler = CError (*)(CObject& object, CAttrValue& value);

// A typed, lazily converted attribute value. A value that came as text keeps its text and takes a type from it;
// reading another representation converts once and caches. A failed conversion is no error: it yields the neutral
// value (false, 0.0, 0, empty) and is not cached. Belongs to the thread of its tree.
class CAttrValue
{
public:
    enum class Type : std::uint8_t
    {
        boolean = 0,
        real = 1,
        integer = 2,
        string = 3,
        empty = 5
    };

    CAttrValue() noexcept = default;
    CAttrValue(const CAttrValue& other);            // value only: neither handler nor place in a pending list
    CAttrValue& operator=(const CAttrValue& other);
    ~CAttrValue() = default;
    static CAttrValue ofBool(bool value);
    static CAttrValue ofDouble(double value);
    static CAttrValue ofInt(std::int32_t value);
    static CAttrValue ofString(const CStringBuf& value);
    static CAttrValue ofPlainString(const CStringBuf& value);   // text whose braces are never expanded

    void setBool(bool value);
    void setDouble(double value);
    void setInt(std::int32_t value);
    void setString(const CStringBuf& value);        // type by the text: int, empty, bool, else string
    void setPlainString(const CStringBuf& value);   // the same; its braces are text and never expanded
    void setValue(const CAttrValue& value);         // keeps handler and pending state

    Type type() const noexcept { return valueType; }
    bool isPlainText() const noexcept { return (flags & plainText) != 0; }
    bool asBool() const;
    double asDouble() const;
    std::int32_t asInt() const;
    const CStringBuf& asString() const;

    /// As above; ok tells whether the conversion succeeded.
    bool asBool(bool& ok) const;
    double asDouble(bool& ok) const;
    std::int32_t asInt(bool& ok) const;

    /// Converts in all forms, so that other threads may read without writing a cache.
    void freeze();

private:
    friend class CObject;

    enum Flag : std::uint8_t
    {
        boolValid = 1,
        doubleValid = 2,
        intValid = 4,
        stringValid = 8,
        plainText = 16,
        isPending = 32,
        handlerFound = 64,
        isBeingSet = 128
    };
    static constexpr int slotFlags = boolValid | doubleValid | intValid | stringValid;
    static constexpr int placeFlags = isPending | handlerFound | isBeingSet;

    void keepOnly(int written) noexcept;
    void storeText(const CStringBuf& text) const;
    void copyFrom(const CAttrValue& other);

    CAttrValue* nextPending = nullptr;
    CAttrHandler handler = nullptr;
    mutable std::uint8_t flags = 0;
    Type valueType = Type::empty;
    mutable bool boolSlot = false;
    mutable std::int32_t intSlot = 0;
    mutable double doubleSlot = 0.0;
    mutable CStringBuf stringSlot;                  // in place: most values are short texts
};

/// Attributes of an object, and the parameters of an event.
using CAttrMap = CMap<CStringBuf, CAttrValue>;

}
