// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kor
{

// The framework's string: narrow (one byte a character, Latin-1) or wide (16-bit units) per instance, always ended by
// a NUL. Narrow and wide contents compare and convert transparently, by character value, unsigned, the shorter string
// first on a common prefix; every map of the framework is ordered by that. Short strings live in the object itself.
// A string belongs to one thread at a time.
class CStringBuf
{
public:
    CStringBuf() noexcept : data(inlineBuffer), capacity(0), count(0), wide(false)
    {
        inlineBuffer[0] = inlineBuffer[1] = 0;      // a terminator in either width
    }
    CStringBuf(const char* latin1);                 // NUL-terminated Latin-1 text (ASCII literals); null is empty
    CStringBuf(std::string_view latin1);
    CStringBuf(std::u16string_view wide);           // stays wide
    CStringBuf(const CStringBuf& other);
    CStringBuf(CStringBuf&& other) noexcept;
    CStringBuf& operator=(const CStringBuf& other);
    CStringBuf& operator=(CStringBuf&& other) noexcept;
    ~CStringBuf()
    {
        if (capacity != 0)
            freeBlock(data);
    }

    int length() const noexcept { return count; }
    bool isEmpty() const noexcept { return count == 0; }
    bool isWide() const noexcept { return wide; }
    bool isInline() const noexcept { return capacity == 0; }

    /// Character at `index`, 0 to length() - 1, as an unsigned code unit.
    char16_t at(int index) const noexcept;
    char16_t operator[](int index) const noexcept { return at(index); }

    /// The characters of a narrow / wide string; null when the string is of the other width.
    const char* narrow() const noexcept { return wide ? nullptr : static_cast<const char*>(data); }
    const char16_t* wideUnits() const noexcept { return wide ? static_cast<const char16_t*>(data) : nullptr; }

    void clear() noexcept;                          // keeps the storage; the result is narrow
    void append(char16_t unit);                     // widens when above 255
    void append(const CStringBuf& text);
    void append(std::string_view latin1);
    void append(const char* latin1) { append(std::string_view(latin1)); }
    CStringBuf& operator+=(const CStringBuf& text) { append(text); return *this; }
    friend CStringBuf operator+(CStringBuf left, const CStringBuf& right) { left.append(right); return left; }

    /// Widens in place; / drops the high bytes in place.
    void widen();
    void makeNarrow();

    /// Characters from `start`, `length` of them, -1 meaning to the end; positions outside are cut to what is there.
    void substr(CStringBuf& out, int start, int length = -1) const;
    CStringBuf substr(int start, int length = -1) const;

    /// Puts `text` in the place of `length` characters from `start`.
    void replace(int start, int length, const CStringBuf& text);

    /// First position of `c` at or after `start`, -1 when absent; / the last position before `before` (-1: the end).
    int findChar(char16_t c, int start = 0) const noexcept;
    int findLastChar(char16_t c, int before = -1) const noexcept;

    /// Cuts at every `separator`. With skipEmpty empty pieces are left out.
    void split(CArray<CStringBuf>& out, char16_t separator, bool skipEmpty) const;

    /// Without leading and trailing blanks.
    CStringBuf trimmed() const;

    bool startsWith(const CStringBuf& prefix) const noexcept;

    /// Optional "-", then decimal, or hexadecimal after "0x", "0X", "#" or "$". Anything else, or a value beyond 32
    /// bits, gives 0 with ok false.
    int toInt(bool& ok) const noexcept;

    /// Optional "-" at the very start, digits, "," or "." as separator, digits; anything else gives 0.0, ok false.
    /// "-" reads as -0 with ok true; an empty string is unreadable. Correctly rounded.
    double toDouble(bool& ok) const noexcept;

    static CStringBuf fromInt(long long value, int minDigits = 1, int radix = 10);

    /// Shortest decimal text that reads back as the same double; never an exponent, C locale.
    static CStringBuf fromDouble(double value);

    /// Decodes UTF-8 as compiled trees and files do: narrow while all characters are at most 255; characters above
    /// 0xFFFF become surrogate pairs; a code of 0 ends the text; stray bytes above 127 are skipped; a byte that does
    /// not continue a sequence ends the sequence.
    static CStringBuf fromUtf8(std::string_view utf8);
    std::string toUtf8() const;

    /// Cuts the text at a character boundary so that it has at most `bytes` bytes in UTF-8.
    void cutToUtf8Bytes(std::size_t bytes);

    std::strong_ordering compare(const CStringBuf& other) const noexcept;
    bool equals(std::string_view latin1) const noexcept;
    friend bool operator==(const CStringBuf& a, const CStringBuf& b) noexcept
    {
        return a.count == b.count && a.compare(b) == 0;
    }
    friend std::strong_ordering operator<=>(const CStringBuf& a, const CStringBuf& b) noexcept
    {
        return a.compare(b);
    }

private:
    static constexpr int inlineBytes = 32;

    friend class CEmptyString;
    enum class Constant
    {
        empty
    };
    constexpr explicit CStringBuf(Constant) noexcept
        : inlineBuffer{}, data(inlineBuffer), capacity(0), count(0), wide(false)
    {
    }

    void reserveBytes(std::size_t bytes);           // with terminator; keeps the contents
    void assign(const void* characters, std::size_t newCount, bool isWide);
    bool owns(const void* address) const noexcept;
    void terminate() noexcept;
    char* bytes() noexcept { return static_cast<char*>(data); }
    char16_t* units() noexcept { return static_cast<char16_t*>(data); }

    alignas(16) char inlineBuffer[inlineBytes];
    void* data;
    std::uint32_t capacity;                         // bytes; 0 while inline
    std::int32_t count;                             // characters, without the terminator
    bool wide;
};

/// The shared empty string, for optional arguments.
extern const CStringBuf& gEmptyString;

inline namespace literals
{
inline CStringBuf operator""_s(const char* text, std::size_t length)
{
    return CStringBuf(std::string_view(text, length));
}
}

}
