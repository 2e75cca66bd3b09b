// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CTextReaderLine.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace kor
{

CTextReaderLine::CTextReaderLine(const void* block, std::size_t size, Encoding textEncoding) noexcept
    : data(static_cast<const unsigned char*>(block)), encoding(textEncoding),
      unitBytes(encoding == Encoding::units32 ? 4 : encoding == Encoding::units16 ? 2 : 1), count(size / unitBytes)
{
    constexpr unsigned char utf8Mark[] = {0xEF, 0xBB, 0xBF};
    if (encoding == Encoding::utf8 && count >= 3 && std::equal(utf8Mark, utf8Mark + 3, data))
        position = 3;
    else if (unitBytes > 1 && count > 0 && unitAt(0) == 0xFEFF)
        position = 1;
}

char32_t CTextReaderLine::unitAt(std::size_t index) const noexcept
{
    const unsigned char* at = data + index * unitBytes;
    char32_t unit = 0;
    for (std::size_t i = unitBytes; i-- > 0;)
        unit = unit << 8 | at[i];
    return unit;
}

bool CTextReaderLine::readLine(CStringBuf& line)
{
    if (position >= count)
        return false;
    std::size_t end = position;
    while (end < count && unitAt(end) != U'\n')
        ++end;

    CStringBuf result;
    if (encoding == Encoding::utf8)
    {
        std::string bytes(reinterpret_cast<const char*>(data) + position, end - position);
        std::erase(bytes, '\r');
        result = CStringBuf::fromUtf8(bytes);
    }
    else
    {
        for (std::size_t i = position; i < end; ++i)
        {
            const char32_t unit = unitAt(i);
            if (unit == U'\r' || unit > 0x10FFFF)
                continue;
            if (unit == 0)                          // ends a text in every encoding, as in UTF-8
                break;
            if (unit > 0xFFFF)
            {
                result.append(static_cast<char16_t>(0xD800 + ((unit - 0x10000) >> 10)));
                result.append(static_cast<char16_t>(0xDC00 + (unit & 0x3FF)));
            }
            else
                result.append(static_cast<char16_t>(unit));
        }
    }
    line = std::move(result);
    position = end + 1;
    return true;
}

}
