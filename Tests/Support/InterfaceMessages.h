// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamDataItemString.h"
#include "Audio/Parameters/CAudioPreset.h"
#include "Other/Interface/CInterfaceMessage.h"
#include "Other/Interface/CParamChange.h"

#include <string>
#include <vector>

namespace kor::test
{

struct CNamedMessage
{
    std::string command;
    CByteArray block;
};

/// Ids that the messages below use: listeners of a number's parameter, a text's and a registry, and an undo record.
struct CMessageIds
{
    std::uint32_t number = 0x10101;
    std::uint32_t text = 0x10102;
    std::uint32_t registry = 0x10103;
    std::uint32_t undo = 0x10104;
    std::uint32_t client = 1;
};

/// A valid message of every command that a client may send, with fields of their own values, in an order in which each
/// finds what it needs.
inline std::vector<CNamedMessage> clientMessages(const CMessageIds& ids, const CAudioPreset& preset)
{
    const double values[] = {1000.0, 2000.0, 3000.0};
    CAudioParamRequest numbers;
    numbers.group = 1;
    numbers.firstElement = 2;
    numbers.elementCount = 3;
    numbers.values = values;
    CAudioParamData items;
    const double item = items.add(new CAudioParamDataItemString("Vocals"));
    CAudioParamRequest text;
    text.type = CAudioParamType::string;
    text.values = &item;
    text.items = &items;

    std::vector<CNamedMessage> all;
    const auto add = [&](const char* command, auto&& fill)
    {
        CInterfaceMessage message(command);
        fill(message);
        all.push_back({command, message.block()});
    };
    using M = CInterfaceMessage;
    const auto registryOnly = [&](M& m) { m.number(ids.registry); };
    const auto nothing = [](M&) {};
    const auto clientOnly = [&](M& m) { m.number(ids.client); };
    add("request-undo-history", clientOnly);
    add("listen-param", [&](M& m) { m.text("plugin.modMain.modMorvaEQ.eq-params.freq").number(ids.number); });
    add("listen-param", [&](M& m) { m.text("plugin.modMain.io-params.group-names").number(ids.text); });
    add("listen-registry", [&](M& m) { m.text("plugin.param-registry").number(ids.registry); });
    add("begin-batch", clientOnly);
    add("create-undo-data", [&](M& m) { m.number(ids.undo).text("Drag").number(1).number(7); });
    add("change-param",
        [&](M& m)
        {
            m.number(ids.number).number(ids.undo);
            CParamChange::write(m.stream(), numbers).ignore();
        });
    add("change-param",
        [&](M& m)
        {
            m.number(ids.text).number(0);
            CParamChange::write(m.stream(), text).ignore();
        });
    add("submit-undo-data", [&](M& m) { m.number(ids.undo).text("Dragged"); });
    add("create-undo-data", [&](M& m) { m.number(ids.undo).text("Dropped").number(0).number(-1); });
    add("remove-undo-data", [&](M& m) { m.number(ids.undo); });
    add("reset-param", [&](M& m) { m.number(ids.number).number(0).number(1).number(2).number(1); });
    add("end-batch", clientOnly);
    add("set-undo-history-pos", [](M& m) { m.number(0); });
    add("rename-preset", [&](M& m) { m.number(ids.registry).number(0).text("Mine"); });
    add("set-current-program", [&](M& m) { m.number(ids.registry).number(2); });
    add("activate-factory-preset", [&](M& m) { m.number(ids.registry).number(3); });
    for (const char* const command : {"activate-preset", "set-default-preset"})
        add(command,
            [&](M& m)
            {
                m.number(ids.registry);
                if (std::string(command) == "activate-preset")
                    m.number(-1);
                preset.save(m.stream()).ignore();
            });
    add("request-preset", [&](M& m) { m.number(ids.registry).number(5).number(0).number(-1).number(-1); });
    add("request-bank", [&](M& m) { m.number(ids.registry).number(6).number(1); });
    add("update-shadow-preset", registryOnly);
    add("exchange-shadow-preset", registryOnly);
    add("activate-default-preset", registryOnly);
    add("request-viz-data", nothing);
    add("request-export-slot-names", nothing);
    for (const char* const command :
         {"request-internal-channel-count", "request-group-count", "request-io-channel-counts", "request-sample-rate"})
        add(command, clientOnly);
    add("import-channel-labels", nothing);
    add("listen-viz", [&](M& m) { m.number(ids.client << 16 | 0x200).text("plugin.modMain.modMeterOut").number(-1); });
    add("unlisten-viz", [&](M& m) { m.number(ids.client << 16 | 0x200); });
    add("unlisten-param", [&](M& m) { m.number(ids.number); });
    add("unlisten-param", [&](M& m) { m.number(ids.text); });
    add("unlisten-registry", registryOnly);
    return all;
}

}
