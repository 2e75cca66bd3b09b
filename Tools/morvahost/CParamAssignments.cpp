// SPDX-License-Identifier: GPL-3.0-or-later
#include "CParamAssignments.h"

#include "Audio/Plugin/CAudioInstance.h"

#include <utility>

namespace kor
{

CError CParamAssignments::parseOne(std::string_view text, CParamAssignment& assignment)
{
    const std::size_t sign = text.find('=');
    if (sign == std::string_view::npos || !assignment.parsePlace(text.substr(0, sign)))
        return KOR_FAIL("--set '%1': write KEY=TEXT or KEY[group,element]=TEXT", text);
    assignment.text = text.substr(sign + 1);
    return {};
}

CError CParamAssignments::parse(const std::vector<std::string>& texts)
{
    for (const std::string& text : texts)
    {
        CParamAssignment assignment;
        KOR_TRY(parseOne(text, assignment));
        list.push_back(std::move(assignment));
    }
    return {};
}

CError CParamAssignments::resolve(const CAudioInstance& instance)
{
    for (const CParamAssignment& assignment : list)
    {
        CParamSetting setting;
        if (CError wrong = setting.resolve(instance, assignment))
            return KOR_FAIL("--set %1", wrong.message());
        if (!setting.note().empty())
            noteTexts.push_back(setting.note());
        keep(std::move(setting));
    }
    return {};
}

void CParamAssignments::keep(CParamSetting setting)
{
    if (setting.channelGroup() >= 0)
        namedGroups.insert(setting.channelGroup());
    settings.push_back(std::move(setting));
}

void CParamAssignments::add(const CParamAssignment& assignment, CParamSetting setting)
{
    list.push_back(assignment);
    keep(std::move(setting));
}

const CParamSetting* CParamAssignments::find(std::string_view key) const
{
    const CParamSetting* found = nullptr;
    for (std::size_t i = 0; i < settings.size(); ++i)
        if (list[i].key == key)
            found = &settings[i];
    return found;
}

void CParamAssignments::give(const CAudioInstance& instance)
{
    for (const CParamSetting& setting : settings)
        setting.give();

    std::set<std::pair<int, int>> unused;
    for (const CParamSetting& setting : settings)
        if (setting.band() >= instance.bandCount(setting.channelGroup()))
            unused.emplace(setting.channelGroup(), setting.band());
    for (const auto& [group, band] : unused)
        noteTexts.push_back("group " + std::to_string(group) + " has " + std::to_string(instance.bandCount(group)) +
                            " bands, so band " + std::to_string(band) +
                            " is not heard; modMorvaEQ.eq-params.band-count sets how many there are");
}

}
