// SPDX-License-Identifier: GPL-3.0-or-later
#include "CParamSetting.h"

#include "NearNames.h"
#include "ParamText.h"

#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioInstance.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace kor
{

namespace
{

bool parseIndex(std::string_view text, int& value)
{
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && !text.empty() && value >= 0;
}

// The parameters that have an element for each band.
bool isBandKey(std::string_view key)
{
    constexpr std::string_view folder = "modMorvaEQ.eq-params.";
    if (key.substr(0, folder.size()) != folder)
        return false;
    const std::string_view name = key.substr(folder.size());
    return name != "band-count" && name != "band-sel";
}

std::string validValues(const CAudioParamInfo& info)
{
    if (!info.hasStateNames())
        return "a number from " + shownValue(info, info.minValue(0)) + " to " + shownValue(info, info.maxValue(0));
    std::string text = "one of ";
    const CArray<CAudioParamStateName> names = info.stateNames();
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : ", ") + names[i].longName.toUtf8();
    return text;
}

}

bool CParamAssignment::parsePlace(std::string_view place)
{
    group = 0;
    element = 0;
    const std::size_t bracket = place.find('[');
    key = place.substr(0, bracket);
    if (key.empty())
        return false;
    if (bracket == std::string_view::npos)
        return true;
    const std::size_t comma = place.find(',', bracket);
    return comma != std::string_view::npos && place.back() == ']' &&
           parseIndex(place.substr(bracket + 1, comma - bracket - 1), group) &&
           parseIndex(place.substr(comma + 1, place.size() - comma - 2), element);
}

std::string CParamAssignment::place() const
{
    return key + '[' + std::to_string(group) + ',' + std::to_string(element) + ']';
}

CError CParamSetting::resolve(const CAudioInstance& instance, const CParamAssignment& assignment)
{
    const std::string place = assignment.place();
    param = instance.findParam(CStringBuf::fromUtf8(assignment.key));
    if (param == nullptr || !param->hasInfo())
    {
        std::vector<std::string> names;
        for (const CStringBuf& key : instance.paramKeys())
            names.push_back(key.toUtf8());
        return KOR_FAIL("%1: there is no parameter '%2'%3", place, assignment.key,
                        nearNameHint(assignment.key, names, "; `morvahost tree audio.modMain` lists them"));
    }
    const CAudioParamInfo& info = param->info();
    group = assignment.group;
    element = assignment.element;
    const int groups = info.isSingleGroup ? 1 : instance.groupCount();
    if (group >= groups)
        return groups == 1 ? KOR_FAIL("%1: all groups share it; write [0,%2]", place, element)
                           : KOR_FAIL("%1: there is no group %2; groups are 0 to %3", place, group, groups - 1);
    constexpr int mostElements = 65536;
    const bool isBand = isBandKey(assignment.key);
    bandIndex = isBand ? element : -1;
    const int elements = info.isSingleElement ? 1 : isBand ? instance.maxBandCount() : mostElements;
    if (element >= elements)
        return KOR_FAIL("%1: there is no %2 %3; they are 0 to %4", place, isBand ? "band" : "element", element,
                        elements - 1);

    if (info.type == CAudioParamType::raw)
        return KOR_FAIL("%1: this parameter holds data that no text can give", place);
    const CStringBuf given = CStringBuf::fromUtf8(assignment.text);
    if (info.type == CAudioParamType::string)
    {
        text = given;
        return {};
    }
    bool ok = false;
    const CAudioParamConverter& converter = *info.converter();
    value = converter.parse(info, 0, given, ok);
    if (!ok)
        return KOR_FAIL("%1: '%2' is no value for it; write %3", place, assignment.text, validValues(info));
    bool isNumber = false;
    const double asked = converter.parseBare(given, isNumber);
    // The name of a state may itself read as another number; then the state was meant.
    const bool isStateName = info.hasStateNames() && !(asked < info.minValue(0) || asked > info.maxValue(0));
    if (isNumber && !isStateName && asked != value)
        noteText = place + ": '" + assignment.text + "' is outside its range; " + shownValue(info, value) + " is taken";
    return {};
}

void CParamSetting::give() const
{
    if (param->info().type == CAudioParamType::string)
        param->setText(group, element, text);
    else
        param->setValue(group, element, value);
}

int CParamSetting::channelGroup() const noexcept
{
    return param->info().isSingleGroup ? -1 : group;
}

}
