// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/VstText.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr int longest = 127; // and the 0 behind it

bool isHighSurrogate(char16_t unit) noexcept
{
    return unit >= 0xD800 && unit < 0xDC00;
}

}

void putText(const CStringBuf& text, Steinberg::Vst::String128 out) noexcept
{
    int count = std::min(text.length(), longest);
    if (count == longest && text.length() > longest && isHighSurrogate(text.at(count - 1)))
        --count;
    for (int i = 0; i < count; ++i)
        out[i] = text.at(i);
    out[count] = 0;
}

CStringBuf takeText(const Steinberg::Vst::TChar* text)
{
    CStringBuf result;
    for (int i = 0; text != nullptr && i < longest && text[i] != 0; ++i)
        result.append(text[i]);
    return result;
}

}
