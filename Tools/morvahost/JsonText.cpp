// SPDX-License-Identifier: GPL-3.0-or-later
#include "JsonText.h"

#include <charconv>
#include <cmath>

namespace kor
{

std::string numberText(double value)
{
    char buffer[40];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
}

std::string jsonNumber(double value)
{
    return std::isfinite(value) ? numberText(value) : "null";
}

std::string jsonText(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text)
    {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    return quoted + '"';
}

}
