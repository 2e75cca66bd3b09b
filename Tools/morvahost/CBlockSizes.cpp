// SPDX-License-Identifier: GPL-3.0-or-later
#include "CBlockSizes.h"

#include <charconv>

namespace kor
{

CError CBlockSizes::read(const COptions& options)
{
    constexpr std::string_view word = "random:";
    const std::string_view text = options.text(option.name);
    isRandom = text.substr(0, word.size()) == word;
    if (!isRandom)
        return options.readInt(option.name, 1, 65536, fixed);
    const std::string_view digits = text.substr(word.size());
    std::uint32_t seed = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), seed);
    if (read.ec != std::errc() || read.ptr != digits.data() + digits.size())
        return KOR_FAIL("option %1: '%2' is no seed; write random: and a whole number from 0 to 4294967295", option.name,
                        digits);
    numbers.seed(seed);
    return {};
}

int CBlockSizes::next()
{
    return isRandom ? 1 + static_cast<int>(numbers() % largestRandom) : fixed;
}

}
