// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <utility>

namespace kor
{

// What is wrong in a source tree and where, as one line "file:line: text". Empty means that nothing is wrong, so that a
// check reads as `if (CMistake m = check()) return m;`. The compiler stops at the first mistake.
class [[nodiscard]] CMistake
{
public:
    CMistake() = default;

    /// A mistake in a whole file.
    CMistake(const std::string& file, const std::string& text) : line(file + ": " + text) {}

    /// A mistake at a line of a file; lines count from 1.
    CMistake(const std::string& file, int lineNumber, const std::string& text)
        : line(file + ":" + std::to_string(lineNumber) + ": " + text)
    {
    }

    explicit operator bool() const { return !line.empty(); }
    const std::string& text() const { return line; }

private:
    std::string line;
};

}
