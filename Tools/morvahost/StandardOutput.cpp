// SPDX-License-Identifier: GPL-3.0-or-later
#include "StandardOutput.h"

#include <cstdio>

namespace kor
{

CError writeOut(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        return KOR_FAIL("unable to write to standard output");
    return {};
}

}
