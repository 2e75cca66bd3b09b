// SPDX-License-Identifier: GPL-3.0-or-later
#include "PresetText/CPresetScanner.h"

#include "PresetText/PresetValueText.h"

#include <charconv>

namespace kor
{

namespace
{

bool isWordCharacter(char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-' ||
           c == '_';
}

int hexDigit(char c) noexcept
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}

CPresetScanner::CPresetScanner(const std::string& file, std::string_view content) : fileName(file), text(content)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
}

CError CPresetScanner::mistake(const std::string& what) const
{
    return KOR_FAIL("%1:%2: %3", fileName, line, what);
}

void CPresetScanner::step()
{
    if (text[pos++] == '\n')
        ++line;
}

void CPresetScanner::skip(bool acrossLines)
{
    while (!atEnd())
    {
        const char c = peek();
        if (c == '#')
            while (!atLineEnd())
                step();
        else if (c == ' ' || c == '\t' || c == '\r' || (c == '\n' && acrossLines))
            step();
        else
            return;
    }
}

void CPresetScanner::skipInLine()
{
    skip(depth > 0);
}

void CPresetScanner::skipLines()
{
    skip(true);
}

bool CPresetScanner::take(char c)
{
    skipInLine();
    if (atEnd() || peek() != c)
        return false;
    step();
    return true;
}

bool CPresetScanner::open(char c)
{
    if (!take(c))
        return false;
    ++depth;
    return true;
}

CError CPresetScanner::close(char c)
{
    if (!take(c))
        return mistake(std::string("'") + c + "' is missing");
    --depth;
    return {};
}

bool CPresetScanner::openCall(std::string_view word)
{
    skipInLine();
    const std::string_view rest = text.substr(pos);
    if (!rest.starts_with(word) || rest.size() == word.size() || rest[word.size()] != '(')
        return false;
    pos += word.size();
    return open('(');
}

bool CPresetScanner::takeLast(std::string_view word)
{
    skipInLine();
    if (!text.substr(pos).starts_with(word))
        return false;
    const std::size_t next = text.find_first_not_of(" \t\r", pos + word.size());
    if (next != std::string_view::npos && text[next] != '\n' && text[next] != '#')
        return false;
    pos += word.size();
    return true;
}

std::string CPresetScanner::readWord()
{
    skipInLine();
    const std::size_t start = pos;
    while (!atEnd() && isWordCharacter(peek()))
        step();
    return std::string(text.substr(start, pos - start));
}

std::string CPresetScanner::readBare()
{
    skipInLine();
    const std::size_t start = pos;
    while (!atEnd() && presetMarks.find(peek()) == std::string_view::npos)
        step();
    const std::string_view found = text.substr(start, pos - start);
    const std::size_t last = found.find_last_not_of(" \t");
    return std::string(found.substr(0, last == std::string_view::npos ? 0 : last + 1));
}

CError CPresetScanner::readEscape(CStringBuf& out)
{
    const char c = peek();
    if (atLineEnd())
        return mistake("a text in quotes ends in its line");
    step();
    const std::string_view plain = "\"\\nrt";
    const std::size_t known = plain.find(c);
    if (known != std::string_view::npos)
    {
        out.append(static_cast<char16_t>("\"\\\n\r\t"[known]));
        return {};
    }
    unsigned unit = 0;
    bool isValid = c == 'u';
    for (int i = 0; isValid && i < 4; ++i)
    {
        const int digit = hexDigit(peek());
        isValid = digit >= 0;
        if (isValid)
        {
            unit = unit * 16 + static_cast<unsigned>(digit);
            step();
        }
    }
    if (!isValid || unit == 0)
        return mistake("unknown escape in a text; there are \\\" \\\\ \\n \\r \\t and \\u0001 to \\uffff");
    out.append(static_cast<char16_t>(unit));
    return {};
}

CError CPresetScanner::readQuoted(CStringBuf& out)
{
    skipInLine();
    if (peek() != '"')
        return mistake("a text in quotes is missing");
    step();
    CStringBuf read;
    for (;;)
    {
        const std::size_t start = pos;
        while (!atLineEnd() && peek() != '"' && peek() != '\\')
            step();
        const std::string_view plain = text.substr(start, pos - start);
        const CStringBuf decoded = CStringBuf::fromUtf8(plain);
        if (decoded.toUtf8() != plain)
            return mistake("a text is not valid UTF-8");
        read.append(decoded);
        if (atLineEnd())
            return mistake("a text in quotes ends in its line");
        const bool isEscape = peek() == '\\';
        step();
        if (!isEscape)
            break;
        KOR_TRY(readEscape(read));
    }
    if (read.toUtf8().size() > maxStringBytes)
        return mistake("a text is longer than 61440 bytes");
    out = std::move(read);
    return {};
}

CError CPresetScanner::readHex(CByteArray& out)
{
    CByteArray read;
    for (skipLines(); peek() != ')'; skipLines())
    {
        const int high = hexDigit(peek());
        if (high >= 0)
            step();
        const int low = high >= 0 ? hexDigit(peek()) : -1;
        if (low < 0)
            return mistake("bytes are pairs of hexadecimal digits up to ')'");
        step();
        read.push_back(static_cast<unsigned char>(high * 16 + low));
    }
    KOR_TRY(close(')'));
    out = std::move(read);
    return {};
}

CError CPresetScanner::readCount(std::uint32_t& value)
{
    const std::string word = readWord();
    std::uint32_t read = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), read);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size())
        return mistake("a whole number is missing");
    value = read;
    return {};
}

}
