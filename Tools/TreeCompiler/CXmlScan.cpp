// SPDX-License-Identifier: GPL-3.0-or-later
#include "TreeCompiler/CXmlScan.h"

#include <cstdint>

namespace kor
{

namespace
{

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || static_cast<signed char>(c) < 0;
}

bool isNamePart(char c)
{
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

/// A character that XML allows in a document.
bool isCharacter(std::uint32_t code)
{
    if (code < 0x20)
        return code == '\t' || code == '\n' || code == '\r';
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF) && code != 0xFFFE && code != 0xFFFF;
}

/// Length of the UTF-8 sequence at the start of `bytes` and its code; 0 when the bytes are none.
std::size_t readSequence(std::string_view bytes, std::uint32_t& code)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])); };
    const std::uint32_t first = byte(0);
    const std::size_t length = first < 0x80 ? 1 : first >> 5 == 6 ? 2 : first >> 4 == 14 ? 3 : first >> 3 == 30 ? 4 : 0;
    if (length == 0 || length > bytes.size())
        return 0;
    const std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    code = length == 1 ? first : first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        if (byte(i) >> 6 != 2)
            return 0;
        code = code << 6 | (byte(i) & 0x3F);
    }
    return code >= smallest[length] ? length : 0;
}

/// Code of a character reference such as "#10" or "#xE4"; 0 (no character) when it is none.
std::uint32_t readCharacterReference(std::string_view reference)
{
    const bool isHex = reference.size() > 1 && reference[1] == 'x';
    const std::string_view digits = reference.substr(isHex ? 2 : 1);
    std::uint32_t code = 0;
    for (const char c : digits)
    {
        const std::uint32_t digit = c >= '0' && c <= '9'                ? static_cast<std::uint32_t>(c - '0')
                                    : isHex && c >= 'a' && c <= 'f'     ? static_cast<std::uint32_t>(c - 'a' + 10)
                                    : isHex && c >= 'A' && c <= 'F'     ? static_cast<std::uint32_t>(c - 'A' + 10)
                                                                        : 99;
        if (digit == 99 || code > 0x10FFFF)
            return 0;
        code = code * (isHex ? 16 : 10) + digit;
    }
    return code;
}

std::string quoted(std::string_view name)
{
    return "'" + std::string(name) + "'";
}

}

CMistake CXmlScan::check()
{
    if (CMistake m = checkCharacters())
        return m;
    return checkMarkup();
}

CMistake CXmlScan::checkCharacters()
{
    int line = 1;
    for (std::size_t i = 0; i < text.size();)
    {
        std::uint32_t code = 0;
        const std::size_t length = readSequence(text.substr(i), code);
        if (length == 0)
            return {file, line, "these bytes are not UTF-8"};
        if (!isCharacter(code))
            return {file, line, "character " + std::to_string(code) + " has no place in XML"};
        if (code == '\n')
            ++line;
        i += length;
    }
    return {};
}

CMistake CXmlScan::checkMarkup()
{
    while (!atEnd())
    {
        CMistake m;
        if (at("<!--"))
            m = skipComment();
        else if (at("<![CDATA["))
            m = skipUntil("]]>", "a CDATA section");
        else if (at("<!"))
            m = mistake("a document type has no place in a source tree");
        else if (at("<?"))
            m = skipUntil("?>", "a processing instruction");
        else if (at("</"))
            m = checkEndTag();
        else if (at("<"))
            m = checkStartTag();
        else if (open.empty() && !isBlank(text[pos]))
            m = mistake("text outside the root element");
        else if (at("&"))
            m = checkReference(currentLine);
        else
            step();
        if (m)
            return m;
    }
    if (!open.empty())
        return {file, open.back().line, "'<" + std::string(open.back().name) + ">' is never closed"};
    if (!sawRoot)
        return {file, "there is no root element"};
    return {};
}

CMistake CXmlScan::checkStartTag()
{
    const int line = currentLine;
    step();
    const std::string_view name = readName();
    if (name.empty())
        return mistake("'<' begins no element here (write it as '&lt;')");
    if (open.empty() && sawRoot)
        return {file, line, "a second root element '<" + std::string(name) + ">'"};
    sawRoot = true;
    std::set<std::string_view> seen;
    while (true)
    {
        const bool isApart = !atEnd() && isBlank(text[pos]);
        skipBlanks();
        if (atEnd())
            return {file, line, "the tag '<" + std::string(name) + "' is never closed"};
        if (at("/>"))
        {
            pos += 2;
            return {};
        }
        if (at(">"))
        {
            ++pos;
            open.push_back({name, line});
            return {};
        }
        if (!isApart)
            return mistake("a blank is missing in front of an attribute of '<" + std::string(name) + ">'");
        if (CMistake m = checkAttribute(seen))
            return m;
    }
}

CMistake CXmlScan::checkAttribute(std::set<std::string_view>& seen)
{
    const std::string_view name = readName();
    if (name.empty())
        return mistake("'" + std::string(text.substr(pos, 1)) + "' where the name of an attribute should begin");
    if (!seen.insert(name).second)
        return mistake("attribute " + quoted(name) + " is given twice");
    skipBlanks();
    if (!at("="))
        return mistake("attribute " + quoted(name) + " has no value");
    step();
    skipBlanks();
    if (!at("\"") && !at("'"))
        return mistake("the value of attribute " + quoted(name) + " is not in quotes");
    const char quote = text[pos];
    const int line = currentLine;
    step();
    while (!atEnd() && text[pos] != quote)
    {
        if (at("<"))
            return mistake("'<' in the value of attribute " + quoted(name) +
                           " (a quote is missing, or write it as '&lt;')");
        if (at("&"))
        {
            if (CMistake m = checkReference(currentLine))
                return m;
        }
        else
            step();
    }
    if (atEnd())
        return {file, line, "the value of attribute " + quoted(name) + " is never closed"};
    step();
    return {};
}

CMistake CXmlScan::checkEndTag()
{
    pos += 2;
    const std::string_view name = readName();
    skipBlanks();
    if (name.empty() || !at(">"))
        return mistake("a closing tag should read '</name>'");
    step();
    if (open.empty())
        return mistake("'</" + std::string(name) + ">' closes nothing");
    if (open.back().name != name)
        return mistake("'</" + std::string(name) + ">' where '<" + std::string(open.back().name) + ">' of line " +
                       std::to_string(open.back().line) + " should be closed");
    open.pop_back();
    return {};
}

CMistake CXmlScan::checkReference(int line)
{
    const std::size_t end = text.find(';', pos);
    const std::string_view reference = text.substr(pos + 1, end == std::string_view::npos ? 0 : end - pos - 1);
    const bool isNamed = reference == "amp" || reference == "lt" || reference == "gt" || reference == "quot" ||
                         reference == "apos";
    const bool isNumber = !reference.empty() && reference[0] == '#' && isCharacter(readCharacterReference(reference));
    if (!isNamed && !isNumber)
        return {file, line, "'&' begins no known reference (write it as '&amp;')"};
    pos = end + 1;
    return {};
}

CMistake CXmlScan::skipComment()
{
    const int line = currentLine;
    const std::size_t end = text.find("--", pos + 4);
    if (end == std::string_view::npos)
        return {file, line, "a comment is never closed"};
    while (pos < end)
        step();
    if (!at("-->"))
        return mistake("'--' inside the comment of line " + std::to_string(line));
    pos += 3;
    return {};
}

CMistake CXmlScan::skipUntil(std::string_view end, const char* what)
{
    const std::size_t stop = text.find(end, pos);
    if (stop == std::string_view::npos)
        return mistake(std::string(what) + " is never closed");
    while (pos < stop + end.size())
        step();
    return {};
}

void CXmlScan::step()
{
    if (text[pos] == '\n')
        ++currentLine;
    ++pos;
}

void CXmlScan::skipBlanks()
{
    while (!atEnd() && isBlank(text[pos]))
        step();
}

std::string_view CXmlScan::readName()
{
    const std::size_t start = pos;
    if (!atEnd() && isNameStart(text[pos]))
        while (!atEnd() && isNamePart(text[pos]))
            ++pos;
    return text.substr(start, pos - start);
}

}
