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
    /// Reads the rows; knows of no parameter yet.
    CError read(const std::string& path);

    /// Checks the rows against an instance without changing it, and turns their times into frames.
    CError resolve(const CAudioInstance& instance, double sampleRate);

    /// After resolve(), by time; rows of the same time in the order of the file.
    std::span<const CAutomationEvent> events() const noexcept { return sorted; }

    /// What resolve() changed to make it fit: the first few and how many more.
    std::vector<std::string> notes() const;

private:
    struct CRow
    {
        int line = 0;
        double seconds = 0.0;
        CParamAssignment assignment;
    };

    CError readLine(std::string_view line, int number);
    std::string at(int line) const;

    std::string name;
    std::vector<CRow> rows;
    std::vector<CAutomationEvent> sorted;
    std::vector<std::string> noteTexts;
    bool isHeaderPossible = true;
};

}
