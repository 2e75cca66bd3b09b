// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/ClassId.h"

#include <array>

namespace kor
{

namespace
{

constexpr int textLength = 36;
constexpr std::array<int, 16> byteOfPair = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

bool isDashPlace(int place) noexcept
{
    return place == 8 || place == 13 || place == 18 || place == 23;
}

int digit(char16_t unit) noexcept
{
    if (unit >= '0' && unit <= '9')
        return unit - '0';
    if (unit >= 'a' && unit <= 'f')
        return unit - 'a' + 10;
    if (unit >= 'A' && unit <= 'F')
        return unit - 'A' + 10;
    return -1;
}

}

bool parseClassId(const CStringBuf& text, Steinberg::TUID id) noexcept
{
    if (text.length() < textLength)
        return false;
    std::array<int, 32> digits{};
    std::size_t count = 0;
    for (int i = 0; i < textLength; ++i)
    {
        if (isDashPlace(i))
        {
            if (text.at(i) != '-')
                return false;
            continue;
        }
        digits[count] = digit(text.at(i));
        if (digits[count++] < 0)
            return false;
    }
    for (std::size_t pair = 0; pair < byteOfPair.size(); ++pair)
        id[byteOfPair[pair]] = static_cast<Steinberg::int8>(digits[2 * pair] * 16 + digits[2 * pair + 1]);
    return true;
}

}
