// SPDX-License-Identifier: GPL-3.0-or-later
#include "CAutomation.h"

#include "Core/CFileReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace kor
{

namespace
{

constexpr std::int64_t largestFile = 64 << 20;
constexpr double longestSeconds = 1e6;              // eleven days
constexpr std::size_t mostNotes = 3;

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// The fields of a row. A field may stand in quotes, with a quote in it doubled. A comma between brackets is part of its
// field, so that KEY[g,e] needs no quotes.
CError splitRow(std::string_view row, std::vector<std::string>& fields)
{
    for (;;)
    {
        row = trimmed(row);
        std::string field;
        if (!row.empty() && row[0] == '"')
        {
            std::size_t i = 1;
            for (; i < row.size() && (row[i] != '"' || (i + 1 < row.size() && row[i + 1] == '"')); ++i)
            {
                field += row[i];
                if (row[i] == '"')
                    ++i;
            }
            if (i >= row.size())
                return KOR_FAIL("a quote is not closed");
            row = trimmed(row.substr(i + 1));
            if (!row.empty() && row[0] != ',')
                return KOR_FAIL("there is text behind a closing quote");
        }
        else
        {
            std::size_t end = 0;
            for (bool isInBrackets = false; end < row.size() && (row[end] != ',' || isInBrackets); ++end)
            {
                if (row[end] == '[')
                    isInBrackets = true;
                else if (row[end] == ']')
                    isInBrackets = false;
            }
            field = trimmed(row.substr(0, end));
            row = row.substr(end);
        }
        fields.push_back(std::move(field));
        if (row.empty())
            return {};
        row.remove_prefix(1);
    }
}

bool isHeader(std::string field)
{
    std::transform(field.begin(), field.end(), field.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    return field == "seconds" || field == "time";
}

}

std::string CAutomation::at(int line) const
{
    return name + ':' + std::to_string(line) + ": ";
}

CError CAutomation::read(const std::string& path)
{
    name = path;
    CFileReader reader;
    KOR_TRY(reader.open(CStringBuf::fromUtf8(path)));
    std::int64_t size = 0;
    KOR_TRY(reader.getSize(size));
    if (size > largestFile)
        return KOR_FAIL("'%1' is too large for a table of changes", path);
    std::string text(static_cast<std::size_t>(size), '\0');
    KOR_TRY(reader.read(text.data(), size));

    std::string_view rest = text;
    if (rest.substr(0, 3) == "\xEF\xBB\xBF")
        rest.remove_prefix(3);
    for (int number = 1; !rest.empty(); ++number)
    {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        if (CError wrong = readLine(rest.substr(0, end), number))
            return KOR_FAIL("%1%2", at(number), wrong.message());
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return {};
}

CError CAutomation::readLine(std::string_view line, int number)
{
    line = trimmed(line);
    if (line.empty() || line[0] == '#')
        return {};
    std::vector<std::string> fields;
    KOR_TRY(splitRow(line, fields));
    if (std::exchange(isHeaderPossible, false) && isHeader(fields[0]))
        return {};
    if (fields.size() != 3)
        return KOR_FAIL("%1 fields; write seconds,KEY[group,element],TEXT, with \"\" around a text that has a comma",
                        fields.size());

    CRow row;
    row.line = number;
    const std::string& time = fields[0];
    const auto read = std::from_chars(time.data(), time.data() + time.size(), row.seconds);
    if (read.ec != std::errc() || read.ptr != time.data() + time.size() ||
        !(row.seconds >= 0.0 && row.seconds <= longestSeconds))
        return KOR_FAIL("'%1' is no time; write seconds, 0 to %2", time, static_cast<int>(longestSeconds));
    row.place = std::move(fields[1]);
    row.text = std::move(fields[2]);
    rows.push_back(std::move(row));
    return {};
}

CError CAutomation::CRow::parse(CParamAssignment& assignment) const
{
    if (!assignment.parsePlace(place))
        return KOR_FAIL("'%1': write KEY or KEY[group,element]", place);
    assignment.text = text;
    return {};
}

CError CAutomation::resolve(const CAudioInstance& instance, double sampleRate)
{
    for (const CRow& row : rows)
    {
        CAutomationEvent event;
        event.frame = std::llround(row.seconds * sampleRate);
        CParamAssignment assignment;
        CError wrong = row.parse(assignment);
        if (!wrong)
            wrong = event.setting.resolve(instance, assignment);
        if (wrong)
            return KOR_FAIL("%1%2", at(row.line), wrong.message());
        sorted.push_back(std::move(event));
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const CAutomationEvent& a, const CAutomationEvent& b) { return a.frame < b.frame; });
    return {};
}

std::vector<std::string> CAutomation::shortened(std::vector<std::string> notes, const std::string& file)
{
    if (notes.size() <= mostNotes)
        return notes;
    const std::size_t more = notes.size() - mostNotes;
    notes.resize(mostNotes);
    notes.push_back(file + ": " + std::to_string(more) + " more values are outside their ranges");
    return notes;
}

}
