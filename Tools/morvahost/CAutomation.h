// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CParamSetting.h"

#include "Core/CError.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kor
{

/// A change of a parameter while the sound runs.
struct CAutomationEvent
{
    std::int64_t frame = 0;         // the first sample that it holds for
    CParamSetting setting;
};

// A table of changes over time: rows of seconds, KEY[g,e] and a text, as CSV. Everything that is wrong with a row is a
// failure that begins with FILE:LINE. A value outside its range is taken to the nearest end, and said.
class CAutomation
{
public:
    struct CRow
    {
        int line = 0;
        double seconds = 0.0;
        std::string place;          // KEY[g,e], or whatever else a reader knows
        std::string text;

        /// The row as a setting; fails when the place is none.
        CError parse(CParamAssignment& assignment) const;
    };

    /// Reads the rows; knows of no parameter yet.
    CError read(const std::string& path);

    /// Checks the rows against an instance without changing it, and turns their times into frames. Says
    /// nothing of values that do not fit.
    CError resolve(const CAudioInstance& instance, double sampleRate);

    /// After resolve(), by time; rows of the same time in the order of the file.
    std::span<const CAutomationEvent> events() const noexcept { return sorted; }

    const std::vector<CRow>& allRows() const noexcept { return rows; }
    const std::string& path() const noexcept { return name; }

    /// "FILE:LINE: ".
    std::string at(int line) const;

    /// The first few of the notes on the rows of a file, and how many more.
    static std::vector<std::string> shortened(std::vector<std::string> notes, const std::string& file);

private:
    CError readLine(std::string_view line, int number);

    std::string name;
    std::vector<CRow> rows;
    std::vector<CAutomationEvent> sorted;
    bool isHeaderPossible = true;
};

}
