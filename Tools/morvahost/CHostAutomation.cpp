// SPDX-License-Identifier: GPL-3.0-or-later
#include "CHostAutomation.h"

#include "CRunStore.h"

#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioExtParamList.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CObject.h"
#include "Vst3Host/CVst3Plugin.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

// The row of the host's list that stands for a setting's place; null when there is none.
const CAudioExtParam* findRow(const CAudioInstance& instance, const CParamSetting& setting)
{
    CAudioExtParamList* list = nullptr;
    if (CError none = instance.tree().findObjectChecked(list, "plugin.ext-param-list"))
    {
        none.ignore();
        return nullptr;
    }
    for (const CAudioExtParam* row : list->rows())
        if (setting.isAt(row->param(), row->group(), row->element()))
            return row;
    return nullptr;
}

}

CError CHostAutomation::resolve(const CAutomation& table, const CVst3Plugin& plugin, const CAudioInstance* instance,
                                double sampleRate, CParamAssignments& settings, CExtAssignments& ext)
{
    for (const CAutomation::CRow& row : table.allRows())
    {
        CHostEvent event;
        event.frame = std::llround(row.seconds * sampleRate);
        const CVst3Parameter* parameter = plugin.findParameter(row.place);
        CError wrong;
        if (parameter == nullptr && instance != nullptr)
            wrong = resolveKey(row, table.at(row.line), plugin, *instance, settings, event);
        else if (parameter == nullptr)
            wrong = findHostParameter(plugin, row.place, parameter);
        else if (event.frame == 0)
            wrong = ext.add(plugin, row.place, row.text);
        else
            wrong = plugin.valueOfText(*parameter, row.text, event.value);
        if (wrong)
            return KOR_FAIL("%1%2", table.at(row.line), wrong.message());
        if (parameter != nullptr)
            event.id = parameter->id;
        if (event.frame > 0)
            sorted.push_back(event);
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const CHostEvent& a, const CHostEvent& b) { return a.frame < b.frame; });
    noteTexts = CAutomation::shortened(std::move(noteTexts), table.path());
    return {};
}

CError CHostAutomation::resolveKey(const CAutomation::CRow& row, const std::string& at, const CVst3Plugin& plugin,
                                   const CAudioInstance& instance, CParamAssignments& settings, CHostEvent& event)
{
    CParamAssignment assignment;
    KOR_TRY(row.parse(assignment));
    CParamSetting setting;
    KOR_TRY(setting.resolve(instance, assignment));
    if (!setting.note().empty())
        noteTexts.push_back(at + setting.note());
    if (event.frame == 0)
    {
        if (CRunStore::isShared(assignment.key))
            return KOR_FAIL("%1: all instances share it; give it by --set", assignment.place());
        settings.add(assignment, std::move(setting));
        return {};
    }
    const CAudioExtParam* const found = findRow(instance, setting);
    const CVst3Parameter* const parameter = found != nullptr ? plugin.findParameter(found->extName().toUtf8()) : nullptr;
    if (parameter == nullptr)
        return KOR_FAIL("%1: no host parameter stands for it, so it cannot change while the sound runs; `morvahost params` "
                        "lists what can", assignment.place());
    event.id = parameter->id;
    event.value = found->param().info().converter()->realToNormalised(found->param().info(), 0, setting.number());
    return {};
}

}
