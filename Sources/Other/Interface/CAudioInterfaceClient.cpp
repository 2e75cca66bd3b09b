// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioInterfaceClient.h"

#include "Other/Interface/CInterfaceMessage.h"

namespace kor
{

void CAudioInterfaceClient::initClass(CObjectClassInfo& info)
{
    using T = CAudioInterfaceClient;
    static const std::pair<const char*, CEventHandler> messages[] = {
        {"start-viz", eventMethod<&T::onStartViz>},
        {"stop-viz", eventMethod<&T::onStopViz>},
        {"clear-client", eventMethod<&T::onClearClient>},
        {"viz-data", eventMethod<&T::onVizData>},
        {"export-slot-names", eventMethod<&T::onExportSlotNames>},
        {"update-internal-channel-count", eventMethod<&T::onUpdateInternalChannelCount>},
        {"update-group-count", eventMethod<&T::onUpdateGroupCount>},
        {"update-io-channel-counts", eventMethod<&T::onUpdateIoChannelCounts>},
        {"update-sample-rate", eventMethod<&T::onUpdateSampleRate>},
    };
    CParamInterfaceClient::initClass(info);
    for (const auto& [name, handler] : messages)
        info.addEvent(name, handler);
}

CError CAudioInterfaceClient::init()
{
    KOR_TRY(CParamInterfaceClient::init());
    KOR_TRY(askForCounts());
    const CStringBuf& param = getAttrString("group-names-param");
    std::uint32_t listenerId = 0;
    if (!param.isEmpty())
        KOR_TRY(listenParam(listenerId, param, groupNames));
    return {};
}

CError CAudioInterfaceClient::askForCounts()
{
    for (const char* const command :
         {"request-internal-channel-count", "request-group-count", "request-io-channel-counts", "request-sample-rate"})
        KOR_TRY(send(CInterfaceMessage(command).number(clientId())));
    return {};
}

CError CAudioInterfaceClient::askForEverything()
{
    KOR_TRY(CParamInterfaceClient::askForEverything());
    KOR_TRY(askForCounts());
    for (const auto& [listenerId, entry] : vizEntries)
        KOR_TRY(sendListenViz(listenerId, entry));
    if (!vizEntries.empty())
        KOR_TRY(requestExportSlotNames());
    return {};
}

bool CAudioInterfaceClient::isIdInUse(std::uint32_t anyId) const
{
    return vizEntries.contains(anyId) || CParamInterfaceClient::isIdInUse(anyId);
}

CError CAudioInterfaceClient::importChannelLabels()
{
    KOR_TRY(send(CInterfaceMessage("import-channel-labels")));
    return {};
}

CError CAudioInterfaceClient::listenViz(std::uint32_t& listenerId, const CStringBuf& name, std::int32_t source)
{
    std::uint32_t made = 0;
    KOR_TRY(takeId(made));
    const CVizEntry entry{name, source};
    KOR_TRY(sendListenViz(made, entry));
    vizEntries.emplace(made, entry);
    listenerId = made;
    return {};
}

CError CAudioInterfaceClient::sendListenViz(std::uint32_t listenerId, const CVizEntry& entry)
{
    KOR_TRY(send(CInterfaceMessage("listen-viz").number(listenerId).text(entry.name).number(entry.source)));
    return {};
}

CError CAudioInterfaceClient::unlistenViz(std::uint32_t listenerId)
{
    if (vizEntries.erase(listenerId) == 0)
        return {};
    KOR_TRY(send(CInterfaceMessage("unlisten-viz").number(listenerId)));
    return {};
}

CError CAudioInterfaceClient::requestVizData()
{
    KOR_TRY(send(CInterfaceMessage("request-viz-data")));
    return {};
}

CError CAudioInterfaceClient::requestExportSlotNames()
{
    KOR_TRY(send(CInterfaceMessage("request-export-slot-names")));
    return {};
}

CError CAudioInterfaceClient::onStartViz()
{
    if (processor != nullptr)
        processor->start();
    return {};
}

CError CAudioInterfaceClient::onStopViz()
{
    if (processor != nullptr)
        processor->stop();
    return {};
}

CError CAudioInterfaceClient::onClearClient()
{
    if (processor != nullptr)
        processor->clear();
    return {};
}

CError CAudioInterfaceClient::onVizData()
{
    if (processor != nullptr)
        KOR_TRY(processor->processVizData(message()));
    return {};
}

CError CAudioInterfaceClient::onExportSlotNames()
{
    if (processor != nullptr)
        KOR_TRY(processor->processExportSlotNames(message()));
    return {};
}

CError CAudioInterfaceClient::onUpdateInternalChannelCount()
{
    KOR_TRY(message().readInt(internalChannels));
    KOR_TRY(sendEvent("channel-counts-changed"));
    return {};
}

CError CAudioInterfaceClient::onUpdateGroupCount()
{
    KOR_TRY(message().readInt(groups));
    KOR_TRY(sendEvent("channel-counts-changed"));
    return {};
}

CError CAudioInterfaceClient::onUpdateIoChannelCounts()
{
    KOR_TRY(message().readInt(inputs));
    KOR_TRY(message().readInt(outputs));
    KOR_TRY(message().readInt(sidechains));
    KOR_TRY(sendEvent("channel-counts-changed"));
    return {};
}

CError CAudioInterfaceClient::onUpdateSampleRate()
{
    KOR_TRY(message().readU32(rateChanges));
    KOR_TRY(message().readDouble(rate));
    KOR_TRY(sendEvent("sample-rate-changed"));
    return {};
}

}
