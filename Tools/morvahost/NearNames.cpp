// SPDX-License-Identifier: GPL-3.0-or-later
#include "NearNames.h"

#include <algorithm>
#include <cctype>

namespace kor
{

namespace
{

// Edits (insert, delete, replace) from one text to the other, without regard to case.
int editDistance(std::string_view a, std::string_view b)
{
    std::vector<int> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = static_cast<int>(j);
    for (std::size_t i = 1; i <= a.size(); ++i)
    {
        int diagonal = row[0];
        row[0] = static_cast<int>(i);
        for (std::size_t j = 1; j <= b.size(); ++j)
        {
            const bool isSame = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                                std::tolower(static_cast<unsigned char>(b[j - 1]));
            const int replaced = diagonal + (isSame ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::string_view lastStep(std::string_view name)
{
    return name.substr(name.rfind('.') + 1);
}

}

std::string nearNameHint(std::string_view typed, const std::vector<std::string>& names, const char* otherwise)
{
    struct CCandidate
    {
        int distance;
        const std::string* name;
    };
    std::vector<CCandidate> near;
    const int limit = std::max(2, static_cast<int>(typed.size()) / 4);
    const int stepLimit = std::max(1, static_cast<int>(lastStep(typed).size()) / 4);
    for (const std::string& name : names)
    {
        const int whole = editDistance(typed, name);
        const int step = editDistance(lastStep(typed), lastStep(name));
        if (whole <= limit || step <= stepLimit)
            near.push_back({std::min(whole, step + 1), &name});
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const CCandidate& a, const CCandidate& b) { return a.distance < b.distance; });
    if (near.size() > 3)
        near.resize(3);

    std::string hint;
    for (std::size_t i = 0; i < near.size(); ++i)
        hint += (i == 0 ? ", did you mean '" : i + 1 == near.size() ? "' or '" : "', '") + *near[i].name;
    return hint.empty() ? otherwise : hint + "'?";
}

}
