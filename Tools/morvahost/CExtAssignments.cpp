// SPDX-License-Identifier: GPL-3.0-or-later
#include "CExtAssignments.h"

#include "NearNames.h"

#include "Vst3Host/CVst3Plugin.h"

namespace kor
{

CError findHostParameter(const CVst3Plugin& plugin, const std::string& name, const CVst3Parameter*& parameter)
{
    parameter = plugin.findParameter(name);
    if (parameter != nullptr)
        return {};
    std::vector<std::string> names;
    for (const CVst3Parameter& known : plugin.parameters())
        names.push_back(known.title);
    return KOR_FAIL("'%1' has no parameter '%2'%3", plugin.name(), name,
                    nearNameHint(name, names, "; `morvahost params` lists them"));
}

CError CExtAssignments::parse(const std::vector<std::string>& texts)
{
    for (const std::string& text : texts)
    {
        const std::size_t sign = text.find('=');
        if (sign == std::string::npos || sign == 0)
            return KOR_FAIL("--ext '%1': write NAME=TEXT", text);
        list.push_back({text.substr(0, sign), text.substr(sign + 1)});
    }
    return {};
}

CError CExtAssignments::CAssignment::resolve(const CVst3Plugin& plugin)
{
    KOR_TRY(findHostParameter(plugin, name, parameter));
    if ((parameter->flags & Steinberg::Vst::ParameterInfo::kIsReadOnly) != 0)
        return KOR_FAIL("'%1' can only be read", parameter->title);
    return plugin.valueOfText(*parameter, text, value);
}

CError CExtAssignments::resolve(const CVst3Plugin& plugin)
{
    for (CAssignment& one : list)
        if (CError wrong = one.resolve(plugin))
            return KOR_FAIL("--ext %1: %2", one.name, wrong.message());
    return {};
}

CError CExtAssignments::add(const CVst3Plugin& plugin, const std::string& name, const std::string& text)
{
    CAssignment one = {name, text};
    KOR_TRY(one.resolve(plugin));
    list.push_back(std::move(one));
    return {};
}

void CExtAssignments::give(CVst3Plugin& plugin) const
{
    for (const CAssignment& one : list)
        plugin.setValue(*one.parameter, one.value);
}

}
