// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TreeCompiler/CMistake.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kor
{

// Walks through a source file before the XML library parses it and vouches that it is well-formed. The library is
// lenient: it takes text in place of a stray "&", two attributes of one name, broken UTF-8, and it tells where it gave
// up rather than what is wrong. Here every fault has its own text and its line.
class CXmlScan
{
public:
    /// `text` is the whole file without byte order mark; both must outlive the object.
    CXmlScan(const std::string& fileName, std::string_view fileText) : file(fileName), text(fileText) {}

    CMistake check();

private:
    struct COpenElement
    {
        std::string_view name;
        int line;
    };

    CMistake checkCharacters();
    CMistake checkMarkup();
    CMistake checkStartTag();
    CMistake checkEndTag();
    CMistake checkAttribute(std::set<std::string_view>& seen);
    CMistake checkReference(int line);
    CMistake skipComment();
    CMistake skipUntil(std::string_view end, const char* what);

    CMistake mistake(const std::string& what) const { return {file, currentLine, what}; }
    bool at(std::string_view start) const { return text.substr(pos, start.size()) == start; }
    bool atEnd() const { return pos >= text.size(); }
    void step();
    void skipBlanks();
    std::string_view readName();

    const std::string& file;
    std::string_view text;
    std::size_t pos = 0;
    int currentLine = 1;
    bool sawRoot = false;
    std::vector<COpenElement> open;
};

}
