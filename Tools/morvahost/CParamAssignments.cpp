// SPDX-License-Identifier: GPL-3.0-or-later
#include "CParamAssignments.h"

#include "NearNames.h"

#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioInstance.h"

#include <charconv>
#include <cmath>

namespace kor
{

namespace
{

constexpr std::string_view bandFolder = "modMorvaEQ.eq-params.";

bool parseIndex(std::string_view text, int& value)
{
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && !text.empty() && value >= 0;
}

std::string place(const CParamAssignment& assignment)
{
    return assignment.key + '[' + std::to_string(assignment.group) + ',' + std::to_string(assignment.element) + ']';
}

// A value with its unit, as the plug-in would show it.
std::string shown(const CAudioParamInfo& info, double value)
{
    const CAudioParamConverter& converter = *info.converter();
    CStringBuf text;
    converter.format(text, info, 0, value);
    std::string result = text.toUtf8();
    if (!converter.label().isEmpty())
        result += ' ' + converter.label().toUtf8();
    return result;
}

std::string validValues(const CAudioParamInfo& info)
{
    if (!info.hasStateNames())
        return "a number from " + shown(info, info.minValue(0)) + " to " + shown(info, info.maxValue(0));
    std::string text = "one of ";
    const CArray<CAudioParamStateName> names = info.stateNames();
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : ", ") + names[i].longName.toUtf8();
    return text;
}

}

CError CParamAssignments::parseOne(std::string_view text, CParamAssignment& assignment)
{
    const auto wrong = [&] { return KOR_FAIL("--set '%1': write KEY=TEXT or KEY[group,element]=TEXT", text); };
    const std::size_t sign = text.find('=');
    if (sign == std::string_view::npos || sign == 0)
        return wrong();
    std::string_view key = text.substr(0, sign);
    assignment.text = text.substr(sign + 1);
    assignment.group = 0;
    assignment.element = 0;
    const std::size_t bracket = key.find('[');
    if (bracket != std::string_view::npos)
    {
        const std::size_t comma = key.find(',', bracket);
        if (bracket == 0 || comma == std::string_view::npos || key.back() != ']' ||
            !parseIndex(key.substr(bracket + 1, comma - bracket - 1), assignment.group) ||
            !parseIndex(key.substr(comma + 1, key.size() - comma - 2), assignment.element))
            return wrong();
        key = key.substr(0, bracket);
    }
    assignment.key = key;
    return {};
}

CError CParamAssignments::parse(const std::vector<std::string>& texts)
{
    for (const std::string& text : texts)
    {
        CParamAssignment assignment;
        KOR_TRY(parseOne(text, assignment));
        namedGroups.insert(assignment.group);
        list.push_back(std::move(assignment));
    }
    return {};
}

CError CParamAssignments::apply(const CAudioInstance& instance)
{
    for (const CParamAssignment& assignment : list)
        KOR_TRY(applyOne(instance, assignment));
    return {};
}

CError CParamAssignments::applyOne(const CAudioInstance& instance, const CParamAssignment& assignment)
{
    CAudioParam* const param = instance.findParam(CStringBuf::fromUtf8(assignment.key));
    if (param == nullptr || !param->hasInfo())
    {
        std::vector<std::string> names;
        for (const CStringBuf& key : instance.paramKeys())
            names.push_back(key.toUtf8());
        return KOR_FAIL("--set: there is no parameter '%1'%2", assignment.key,
                        nearNameHint(assignment.key, names, "; `morvahost tree audio.modMain` lists them"));
    }
    const CAudioParamInfo& info = param->info();
    const int groups = info.isSingleGroup ? 1 : instance.groupCount();
    if (assignment.group >= groups)
        return KOR_FAIL("--set %1: there is no group %2; groups are 0 to %3", place(assignment), assignment.group,
                        groups - 1);
    constexpr int mostElements = 65536;
    const bool isBand = assignment.key.rfind(bandFolder, 0) == 0;
    const int elements = info.isSingleElement ? 1 : isBand ? instance.bandCount() : mostElements;
    if (assignment.element >= elements)
        return KOR_FAIL("--set %1: there is no %2 %3; they are 0 to %4", place(assignment),
                        isBand ? "band" : "element", assignment.element, elements - 1);

    const CStringBuf text = CStringBuf::fromUtf8(assignment.text);
    if (info.type == CAudioParamType::raw)
        return KOR_FAIL("--set %1: this parameter holds data that no text can give", place(assignment));
    if (info.type == CAudioParamType::string)
    {
        param->setText(assignment.group, assignment.element, text);
        return {};
    }
    bool ok = false;
    const CAudioParamConverter& converter = *info.converter();
    const double value = converter.parse(info, 0, text, ok);
    if (!ok)
        return KOR_FAIL("--set %1: '%2' is no value for it; write %3", place(assignment), assignment.text,
                        validValues(info));
    bool isNumber = false;
    const double asked = converter.parseBare(text, isNumber);
    // The name of a state may itself read as another number; then the state was meant.
    const bool isStateName = info.hasStateNames() && !(asked < info.minValue(0) || asked > info.maxValue(0));
    if (isNumber && !isStateName && asked != value)
        noteTexts.push_back(place(assignment) + ": '" + assignment.text + "' is outside its range; " +
                            shown(info, value) + " is taken");
    param->setValue(assignment.group, assignment.element, value);
    return {};
}

}
