// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CStringBuf.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace kor
{

namespace
{

constexpr std::size_t inlineLimit = 30;             // bytes with the terminator that stay in the object
constexpr std::size_t narrowSlack = 8;
constexpr std::size_t wideSlack = 16;
constexpr std::size_t maxLength = std::size_t{1} << 30;     // keeps every byte count within 32 bits

std::strong_ordering compareNarrow(const char* a, const char* b, std::size_t n) noexcept
{
    return std::memcmp(a, b, n) <=> 0;
}

std::strong_ordering compareWide(const char16_t* a, const char16_t* b, std::size_t n) noexcept
{
    // Four units at a time up to the first difference: memcmp would order them by their low bytes.
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4)
    {
        std::uint64_t left;
        std::uint64_t right;
        std::memcpy(&left, a + i, sizeof left);
        std::memcpy(&right, b + i, sizeof right);
        if (left != right)
            break;
    }
    for (; i < n; ++i)
        if (a[i] != b[i])
            return a[i] <=> b[i];
    return std::strong_ordering::equal;
}

std::strong_ordering compareMixed(const char* narrow, const char16_t* wide, std::size_t n) noexcept
{
    for (std::size_t i = 0; i < n; ++i)
    {
        const char16_t left = static_cast<unsigned char>(narrow[i]);
        if (left != wide[i])
            return left <=> wide[i];
    }
    return std::strong_ordering::equal;
}

void copyWidening(char16_t* to, const char* from, std::size_t n) noexcept
{
    for (std::size_t i = 0; i < n; ++i)
        to[i] = static_cast<unsigned char>(from[i]);
}

}

// Holds the shared empty string: there before any other static object and still there after the last one.
class CEmptyString
{
public:
    constexpr CEmptyString() noexcept : value(CStringBuf::Constant::empty) {}
    ~CEmptyString() {}
    CEmptyString(const CEmptyString&) = delete;
    CEmptyString& operator=(const CEmptyString&) = delete;

    union
    {
        CStringBuf value;
    };
};

namespace
{
constinit CEmptyString emptyString;
}

constinit const CStringBuf& gEmptyString = emptyString.value;

CStringBuf::CStringBuf(const char* latin1) : CStringBuf(std::string_view(latin1 != nullptr ? latin1 : ""))
{
}

CStringBuf::CStringBuf(std::string_view latin1) : CStringBuf()
{
    assign(latin1.data(), latin1.size(), false);
}

CStringBuf::CStringBuf(std::u16string_view text) : CStringBuf()
{
    assign(text.data(), text.size(), true);
}

CStringBuf::CStringBuf(const CStringBuf& other) : CStringBuf()
{
    assign(other.data, static_cast<std::size_t>(other.count), other.wide);
}

CStringBuf::CStringBuf(CStringBuf&& other) noexcept
    : data(inlineBuffer), capacity(other.capacity), count(other.count), wide(other.wide)
{
    if (capacity != 0)
        data = other.data;
    else
        std::memcpy(inlineBuffer, other.inlineBuffer, sizeof inlineBuffer);
    other.data = other.inlineBuffer;
    other.capacity = 0;
    other.clear();
}

CStringBuf& CStringBuf::operator=(const CStringBuf& other)
{
    if (this != &other)
        assign(other.data, static_cast<std::size_t>(other.count), other.wide);
    return *this;
}

CStringBuf& CStringBuf::operator=(CStringBuf&& other) noexcept
{
    if (this == &other)
        return *this;
    if (other.capacity == 0)
    {
        assign(other.data, static_cast<std::size_t>(other.count), other.wide);
        other.clear();
        return *this;
    }
    if (capacity != 0)
        freeBlock(data);
    data = other.data;
    capacity = other.capacity;
    count = other.count;
    wide = other.wide;
    other.data = other.inlineBuffer;
    other.capacity = 0;
    other.clear();
    return *this;
}

char16_t CStringBuf::at(int index) const noexcept
{
    return wide ? wideUnits()[index] : static_cast<unsigned char>(narrow()[index]);
}

void CStringBuf::clear() noexcept
{
    count = 0;
    wide = false;
    bytes()[0] = 0;
}

bool CStringBuf::owns(const void* address) const noexcept
{
    const auto here = reinterpret_cast<std::uintptr_t>(data);
    const auto there = reinterpret_cast<std::uintptr_t>(address);
    return there >= here && there - here < (capacity != 0 ? capacity : sizeof inlineBuffer);
}

void CStringBuf::terminate() noexcept
{
    if (wide)
        units()[count] = 0;
    else
        bytes()[count] = 0;
}

void CStringBuf::reserveBytes(std::size_t needed)
{
    if (needed <= (capacity != 0 ? capacity : inlineLimit))
        return;
    const std::size_t size = needed + (wide ? wideSlack : narrowSlack);
    void* block = needBlock(size);
    std::memcpy(block, data, (static_cast<std::size_t>(count) + 1) * (wide ? 2 : 1));
    if (capacity != 0)
        freeBlock(data);
    data = block;
    capacity = static_cast<std::uint32_t>(size);
}

void CStringBuf::assign(const void* characters, std::size_t newCount, bool isWide)
{
    newCount = std::min(newCount, maxLength);
    const std::size_t size = newCount * (isWide ? 2 : 1);
    const std::size_t terminator = isWide ? 2 : 1;
    if (newCount != 0 && owns(characters))          // a piece of this string: it fits where it is
    {
        std::memmove(data, characters, size);
        wide = isWide;
    }
    else
    {
        count = 0;
        wide = isWide;
        terminate();
        reserveBytes(size + terminator);
        if (size != 0)
            std::memcpy(data, characters, size);
    }
    count = static_cast<std::int32_t>(newCount);
    terminate();
}

void CStringBuf::append(char16_t unit)
{
    if (static_cast<std::size_t>(count) >= maxLength)
        return;
    if (unit > 255)
        widen();
    const std::size_t newCount = static_cast<std::size_t>(count) + 1;
    reserveBytes((newCount + 1) * (wide ? 2 : 1));
    if (wide)
        units()[count] = unit;
    else
        bytes()[count] = static_cast<char>(unit);
    ++count;
    terminate();
}

void CStringBuf::append(const CStringBuf& text)
{
    if (!text.wide)
    {
        append(std::string_view(text.narrow(), static_cast<std::size_t>(text.count)));
        return;
    }
    if (&text == this)
    {
        append(CStringBuf(text));
        return;
    }
    widen();
    const std::size_t have = static_cast<std::size_t>(count);
    const std::size_t added = std::min(static_cast<std::size_t>(text.count), maxLength - have);
    reserveBytes((have + added + 1) * 2);
    std::memcpy(units() + count, text.data, added * 2);
    count += static_cast<std::int32_t>(added);
    terminate();
}

void CStringBuf::append(std::string_view latin1)
{
    if (latin1.empty())
        return;
    if (owns(latin1.data()))
    {
        append(CStringBuf(latin1));
        return;
    }
    const std::size_t added = std::min(latin1.size(), maxLength - static_cast<std::size_t>(count));
    reserveBytes((static_cast<std::size_t>(count) + added + 1) * (wide ? 2 : 1));
    if (wide)
        copyWidening(units() + count, latin1.data(), added);
    else
        std::memcpy(bytes() + count, latin1.data(), added);
    count += static_cast<std::int32_t>(added);
    terminate();
}

void CStringBuf::widen()
{
    if (wide)
        return;
    const std::size_t needed = (static_cast<std::size_t>(count) + 1) * 2;
    if (needed <= (capacity != 0 ? capacity : inlineLimit))
    {
        char16_t* to = units();
        const char* from = bytes();
        for (int i = count; i >= 0; --i)            // from the end: the wide text overlaps the narrow one
        {
            const char16_t unit = static_cast<unsigned char>(from[i]);
            to[i] = unit;
        }
        wide = true;
        return;
    }
    const std::size_t size = needed + wideSlack;
    void* block = needBlock(size);
    copyWidening(static_cast<char16_t*>(block), bytes(), static_cast<std::size_t>(count) + 1);
    if (capacity != 0)
        freeBlock(data);
    data = block;
    capacity = static_cast<std::uint32_t>(size);
    wide = true;
}

void CStringBuf::makeNarrow()
{
    if (!wide)
        return;
    const char16_t* from = units();
    char* to = bytes();
    for (int i = 0; i <= count; ++i)
        to[i] = static_cast<char>(from[i]);
    wide = false;
}

void CStringBuf::substr(CStringBuf& out, int start, int length) const
{
    start = std::clamp(start, 0, count);
    const int taken = length < 0 ? count - start : std::min(length, count - start);
    const char* from = static_cast<const char*>(data) + static_cast<std::size_t>(start) * (wide ? 2 : 1);
    out.assign(from, static_cast<std::size_t>(taken), wide);
}

CStringBuf CStringBuf::substr(int start, int length) const
{
    CStringBuf out;
    substr(out, start, length);
    return out;
}

void CStringBuf::replace(int start, int length, const CStringBuf& text)
{
    start = std::clamp(start, 0, count);
    const int removed = length < 0 ? count - start : std::min(length, count - start);
    if (removed == 0 && text.isEmpty())
        return;
    CStringBuf result = substr(0, start);
    if (wide)
        result.widen();
    result.append(text);
    result.append(substr(start + removed));
    *this = std::move(result);
}

int CStringBuf::findChar(char16_t c, int start) const noexcept
{
    start = std::max(start, 0);
    if (start >= count)
        return -1;
    if (wide)
    {
        const char16_t* from = wideUnits();
        const char16_t* end = from + count;
        const char16_t* hit = std::find(from + start, end, c);
        return hit == end ? -1 : static_cast<int>(hit - from);
    }
    if (c > 255)
        return -1;
    const char* from = narrow();
    const void* hit = std::memchr(from + start, c, static_cast<std::size_t>(count - start));
    return hit == nullptr ? -1 : static_cast<int>(static_cast<const char*>(hit) - from);
}

int CStringBuf::findLastChar(char16_t c, int before) const noexcept
{
    int i = before < 0 ? count : std::min(before, count);
    while (--i >= 0)
        if (at(i) == c)
            return i;
    return -1;
}

void CStringBuf::split(CArray<CStringBuf>& out, char16_t separator, bool skipEmpty) const
{
    out.clear();
    int start = 0;
    while (start <= count)
    {
        const int hit = findChar(separator, start);
        const int end = hit < 0 ? count : hit;
        if (end > start || !skipEmpty)
            substr(out.emplace_back(), start, end - start);
        start = end + 1;
    }
}

CStringBuf CStringBuf::trimmed() const
{
    int start = 0;
    int end = count;
    while (start < end && at(start) == ' ')
        ++start;
    while (end > start && at(end - 1) == ' ')
        --end;
    return substr(start, end - start);
}

bool CStringBuf::startsWith(const CStringBuf& prefix) const noexcept
{
    if (prefix.count > count)
        return false;
    const std::size_t n = static_cast<std::size_t>(prefix.count);
    if (wide && !prefix.wide)
        return compareMixed(prefix.narrow(), wideUnits(), n) == 0;
    if (!wide && prefix.wide)
        return compareMixed(narrow(), prefix.wideUnits(), n) == 0;
    return std::memcmp(data, prefix.data, n * (wide ? 2 : 1)) == 0;
}

std::strong_ordering CStringBuf::compare(const CStringBuf& other) const noexcept
{
    const std::size_t n = static_cast<std::size_t>(std::min(count, other.count));
    std::strong_ordering order = std::strong_ordering::equal;
    if (!wide && !other.wide)
        order = compareNarrow(narrow(), other.narrow(), n);
    else if (wide && other.wide)
        order = compareWide(wideUnits(), other.wideUnits(), n);
    else if (other.wide)
        order = compareMixed(narrow(), other.wideUnits(), n);
    else
        order = 0 <=> compareMixed(other.narrow(), wideUnits(), n);
    return order != 0 ? order : count <=> other.count;
}

bool CStringBuf::equals(std::string_view latin1) const noexcept
{
    if (latin1.size() != static_cast<std::size_t>(count))
        return false;
    if (wide)
        return compareMixed(latin1.data(), wideUnits(), latin1.size()) == 0;
    return latin1.empty() || std::memcmp(data, latin1.data(), latin1.size()) == 0;
}

}
