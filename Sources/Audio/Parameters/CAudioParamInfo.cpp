// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamInfo.h"

#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParamData.h"

#include <algorithm>

namespace kor
{

namespace
{

const char* const converterAttrs[CAudioParamInfo::maxElementSize] = {"converter", "converter2", "converter3",
                                                                     "converter4"};

CAudioParamType typeOfText(const CStringBuf& text)
{
    if (text.equals("string") || text.equals("str") || text.equals("1"))
        return CAudioParamType::string;
    return text.equals("raw") || text.equals("2") ? CAudioParamType::raw : CAudioParamType::real;
}

}

double CAudioParamInfo::minValue(int component) const noexcept
{
    const auto i = static_cast<std::size_t>(component);
    return i < minValues.size() ? minValues[i] : 0.0;
}

double CAudioParamInfo::maxValue(int component) const noexcept
{
    const auto i = static_cast<std::size_t>(component);
    return i < maxValues.size() ? maxValues[i] : 1.0;
}

double CAudioParamInfo::clamp(int component, double value) const noexcept
{
    const double a = minValue(component);
    const double b = maxValue(component);
    const double low = std::min(a, b);
    return value > low ? std::min(value, std::max(a, b)) : low;
}

double CAudioParamInfo::defaultValue(int group, int element, int component) const noexcept
{
    if (defaultValues.empty() || component < 0 || component >= elementSize)
        return 0.0;
    const std::size_t g = isSingleGroup ? 0 : static_cast<std::size_t>(group);
    const bool hasOwn = g < defaultValues.size() && !defaultValues[g].empty();
    const CArray<double>& list = hasOwn ? defaultValues[g] : defaultValues[0];
    const std::size_t size = static_cast<std::size_t>(elementSize);
    const std::size_t e = isSingleElement || element < 0 ? 0 : static_cast<std::size_t>(element);
    const std::size_t at = ((e + 1) * size <= list.size() ? e * size : 0) + static_cast<std::size_t>(component);
    return at < list.size() ? list[at] : 0.0;
}

const CAudioParamConverter* CAudioParamInfo::converter(int component) const noexcept
{
    if (converters.empty())
        return nullptr;
    const std::size_t i = component < 0 ? 0 : static_cast<std::size_t>(component);
    return converters[std::min(i, converters.size() - 1)];
}

CArray<CAudioParamStateName> CAudioParamInfo::stateNames() const
{
    return nameList != nullptr ? nameList->stateNames() : fixedStateNames;
}

bool CAudioParamInfo::getStateName(CAudioParamStateName& out, int index) const
{
    const auto pick = [&](const CArray<CAudioParamStateName>& names)
    {
        if (index < 0 || index >= static_cast<int>(names.size()))
            return false;
        out = names[static_cast<std::size_t>(index)];
        return true;
    };
    return nameList != nullptr ? pick(nameList->stateNames()) : pick(fixedStateNames);
}

CError CAudioParamInfo::read(CObject& definition)
{
    elementSize = definition.hasAttr("element-size") ? definition.getAttrInt("element-size") : 1;
    if (elementSize <= 0)
        return KOR_FAIL("Invalid element size %1 specified.", elementSize);
    type = typeOfText(definition.getAttrString("data-type"));
    if (type != CAudioParamType::real && elementSize > 1)
        return KOR_FAIL("Invalid element size %1 for non-float data specified.", elementSize);

    isPersistent = definition.getAttrBool("is-persistent");
    isStorable = !isPersistent && definition.getAttrBool("is-storable");
    isGlobal = isPersistent || isStorable || definition.getAttrBool("is-global");
    isSingleGroup = definition.getAttrBool("is-single-group");
    isSingleElement = definition.getAttrBool("is-single-element");
    visualName = definition.getAttrString("visual-name");
    paramRegistry = definition.getAttrString("param-registry");

    converterNames.clear();
    for (int i = 0; i < std::min(elementSize, maxElementSize); ++i)
    {
        const CStringBuf& name = definition.getAttrString(converterAttrs[i]);
        if (name.isEmpty())
            break;
        converterNames.push_back(name);
    }
    KOR_TRY(parseConverterNames(definition));
    KOR_TRY(parseMinMaxValues(definition.getAttrString("min-values"), definition.getAttrString("max-values")));
    KOR_TRY(parseDefValues(definition.getAttrString("def-values")));
    KOR_TRY(parseStateNames(definition.getAttrString("state-names")));
    return {};
}

CError CAudioParamInfo::parseConverterNames(CObject& context)
{
    const int count = static_cast<int>(converterNames.size());
    if (count < elementSize)
        return KOR_FAIL("Not enough converters defined %1 (should be %2).", count, elementSize);
    converters.clear();
    for (const CStringBuf& name : converterNames)
    {
        const auto* found = dynamic_cast<const CAudioParamConverter*>(context.findObject(name));
        if (found == nullptr)
            return KOR_FAIL("Audio parameter converter '%1' not found.", name);
        converters.push_back(found);
    }
    return {};
}

CError CAudioParamInfo::parseMinMaxValues(const CStringBuf& minText, const CStringBuf& maxText)
{
    const std::size_t size = static_cast<std::size_t>(elementSize);
    if (type != CAudioParamType::real)
    {
        minValues.assign(size, 0.0);
        maxValues.assign(size, static_cast<double>(CAudioParamData::idLimit));
        return {};
    }
    CArray<CStringBuf> minTexts;
    CArray<CStringBuf> maxTexts;
    minText.split(minTexts, ' ', true);
    maxText.split(maxTexts, ' ', true);
    if (minTexts.size() < size)
        return KOR_FAIL("Not enough minimum values defined %1 (should be %2).", minTexts.size(), elementSize);
    if (maxTexts.size() < size)
        return KOR_FAIL("Not enough maximum values defined %1 (should be %2).", maxTexts.size(), elementSize);
    CArray<double> mins;
    CArray<double> maxs;
    for (std::size_t i = 0; i < size; ++i)
    {
        bool ok = false;
        mins.push_back(converters[i]->parseBare(minTexts[i], ok));
        maxs.push_back(converters[i]->parseBare(maxTexts[i], ok));
        if (mins[i] == maxs[i])
            return KOR_FAIL("Zero default min-max values difference detected in element %1.", i);
    }
    minValues = std::move(mins);
    maxValues = std::move(maxs);
    return {};
}

CError CAudioParamInfo::parseDefValues(const CStringBuf& text)
{
    const std::size_t size = static_cast<std::size_t>(elementSize);
    defaultValues.clear();
    defaultTexts.clear();
    std::size_t total = 0;
    CArray<CStringBuf> groups;
    text.split(groups, ';', false);
    if (groups.size() > 1 && groups.back().isEmpty())
        groups.pop_back();
    for (const CStringBuf& groupText : groups)
    {
        CArray<double>& list = defaultValues.emplace_back();
        CArray<CStringBuf> pieces;
        groupText.split(pieces, ',', false);
        if (type == CAudioParamType::string)
        {
            list.assign(pieces.size(), 0.0);
            total += pieces.size();
            defaultTexts.push_back(std::move(pieces));
            continue;
        }
        if (groupText.trimmed().isEmpty())
            continue;
        for (const CStringBuf& piece : pieces)
        {
            CArray<CStringBuf> numbers;
            piece.trimmed().split(numbers, ' ', true);
            if (type == CAudioParamType::raw)               // bytes have no text form: every number is an empty item
            {
                list.insert(list.end(), numbers.size(), 0.0);
                continue;
            }
            if (numbers.empty() || (size > 1 && numbers.size() > 1))
                return KOR_FAIL("Default values parsing error.");
            for (const CStringBuf& number : numbers)
            {
                const std::size_t component = list.size() % size;
                bool ok = false;
                const double value = converters[component]->parse(*this, static_cast<int>(component), number, ok);
                if (!ok)
                    return KOR_FAIL("Default values parsing error.");
                list.push_back(value);
            }
        }
        if (list.size() % size != 0)
            return KOR_FAIL("Not enough default elements at pos %1.", list.size());
        total += list.size();
    }
    if (total == 0)
        return KOR_FAIL("No default values specified.");
    return {};
}

CError CAudioParamInfo::parseStateNames(const CStringBuf& text)
{
    stateNamesText = text;
    fixedStateNames.clear();
    nameList = nullptr;
    if (!text.startsWith("@"))
    {
        fixedStateNames = parseStateNameList(text);
        return {};
    }
    const CStringBuf listName = text.substr(1);
    nameList = findAudioParamNameList(listName);
    if (nameList == nullptr && hasAudioParamNameListFinder())
        return KOR_FAIL("No state names data available in '%1'.", listName);
    return {};
}

bool operator==(const CAudioParamInfo& a, const CAudioParamInfo& b) noexcept
{
    return a.elementSize == b.elementSize && a.type == b.type && a.isGlobal == b.isGlobal &&
           a.isStorable == b.isStorable && a.isPersistent == b.isPersistent && a.isSingleGroup == b.isSingleGroup &&
           a.isSingleElement == b.isSingleElement && a.visualName == b.visualName &&
           a.paramRegistry == b.paramRegistry && a.converters == b.converters && a.minValues == b.minValues &&
           a.maxValues == b.maxValues && a.defaultValues == b.defaultValues && a.defaultTexts == b.defaultTexts &&
           a.stateNamesText == b.stateNamesText;
}

}
