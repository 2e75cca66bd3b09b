// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/HostText.h"

#include "Core/CStringBuf.h"

#include <algorithm>

namespace kor
{

using Steinberg::Vst::String128;

std::string textOf(const String128& text)
{
    const std::u16string_view all(text, std::size(text));
    return CStringBuf(all.substr(0, all.find(u'\0'))).toUtf8();
}

void putText(String128& out, std::string_view utf8)
{
    CStringBuf text = CStringBuf::fromUtf8(utf8);
    const int count = std::min(text.length(), static_cast<int>(std::size(out)) - 1);
    for (int i = 0; i < count; ++i)
        out[i] = text[i];
    out[count] = 0;
}

}
