// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStream.h"

#include <string>
#include <string_view>

namespace kor
{

// The words of a text of presets, one after another, with the line that each stands in.
class CPresetScanner
{
public:
    /// Both must outlive the object.
    CPresetScanner(const std::string& file, std::string_view content);

    /// A failure "FILE:LINE: what" for the line that was read last.
    CError mistake(const std::string& what) const;

    /// Skip blanks and comments; within a line, unless a bracket is open.
    void skipInLine();
    void skipLines();

    bool atEnd() const noexcept { return pos >= text.size(); }
    bool atLineEnd() const noexcept { return atEnd() || text[pos] == '\n'; }

    /// The next character, 0 at the end.
    char peek() const noexcept { return atEnd() ? '\0' : text[pos]; }

    /// Steps over the next character when it is this one.
    bool take(char c);

    /// Steps over a bracket; lines count as blanks until its end.
    bool open(char c);
    CError close(char c);

    /// Steps over a word with a bracket right behind it, or over a word that is the last of its line.
    bool openCall(std::string_view word);
    bool takeLast(std::string_view word);

    /// What names a key: letters, digits, ".", "-", "_". Empty when something else stands here.
    std::string readWord();

    /// Everything up to a mark or the end of the line, without blanks at the ends.
    std::string readBare();

    /// A text in quotes.
    CError readQuoted(CStringBuf& out);

    /// Pairs of hexadecimal digits and the bracket behind them.
    CError readHex(CByteArray& out);

    /// A whole number, 0 to 4294967295.
    CError readCount(std::uint32_t& value);

private:
    void step();
    void skip(bool acrossLines);
    CError readEscape(CStringBuf& out);

    const std::string& fileName;
    std::string_view text;
    std::size_t pos = 0;
    int line = 1;
    int depth = 0;
};

}
