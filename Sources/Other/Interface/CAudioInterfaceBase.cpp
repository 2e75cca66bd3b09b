// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioInterfaceBase.h"

#include "Core/CLog.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Other/Interface/CInterfaceMessage.h"

namespace kor
{

namespace
{

constexpr int everyClient = CParamInterfaceBaseConnector::everyClient;

// What all clients together listen to of the display; a window needs some dozens.
constexpr std::size_t maxListenings = 4096;
constexpr int maxNameLength = 1024;

}

void CAudioInterfaceBase::initClass(CObjectClassInfo& info)
{
    using T = CAudioInterfaceBase;
    static const std::pair<const char*, CEventHandler> commands[] = {
        {"listen-viz", eventMethod<&T::onListenViz>},
        {"unlisten-viz", eventMethod<&T::onUnlistenViz>},
        {"request-viz-data", eventMethod<&T::onRequestVizData>},
        {"request-export-slot-names", eventMethod<&T::onRequestExportSlotNames>},
        {"request-internal-channel-count", eventMethod<&T::onRequestInternalChannelCount>},
        {"request-group-count", eventMethod<&T::onRequestGroupCount>},
        {"request-io-channel-counts", eventMethod<&T::onRequestIoChannelCounts>},
        {"request-sample-rate", eventMethod<&T::onRequestSampleRate>},
        {"import-channel-labels", eventMethod<&T::onImportChannelLabels>},
    };
    CParamInterfaceBase::initClass(info);
    for (const auto& [name, handler] : commands)
        info.addEvent(name, handler);
}

CError CAudioInterfaceBase::init()
{
    KOR_TRY(CParamInterfaceBase::init());
    if (hasAttr("viz-collector"))
        KOR_TRY(findObjectByAttr(viz, "viz-collector"));
    if (viz != nullptr)
        viz->setNameListener(this);
    return {};
}

void CAudioInterfaceBase::uninit()
{
    close();
    for (auto it = vizListenings.begin(); it != vizListenings.end();)
        it = endViz(it);
    if (viz != nullptr)
        viz->setNameListener(nullptr);
    viz = nullptr;
    CParamInterfaceBase::uninit();
}

void CAudioInterfaceBase::clientStarted(int clientId)
{
    CLockHolder hold(messageLock());
    sendPlain(isVizRunning ? "start-viz" : "stop-viz", clientId);
}

void CAudioInterfaceBase::clientGone(int clientId)
{
    CLockHolder hold(messageLock());
    const std::uint32_t first = static_cast<std::uint32_t>(clientId) << 16;
    for (auto it = vizListenings.lower_bound(first); it != vizListenings.end() && clientOf(it->first) == clientId;)
        it = endViz(it);
    CParamInterfaceBase::clientGone(clientId);
}

CError CAudioInterfaceBase::onListenViz()
{
    std::uint32_t listenerId = 0;
    CVizListening listening;
    KOR_TRY(message().readU32(listenerId));
    KOR_TRY(message().readString(listening.name));
    KOR_TRY(message().readInt(listening.source));
    if (viz == nullptr || !isOfClient(listenerId))
        return {};
    if (const auto old = vizListenings.find(listenerId); old != vizListenings.end())
        endViz(old);
    if (vizListenings.size() >= maxListenings || listening.name.length() > maxNameLength)
        return KOR_FAIL("Too many or too long names of what is to be shown.");
    if (listening.source == -1)
    {
        CAudioVizSlot* const slot = viz->findOrMakeSlot(listening.name);
        if (slot == nullptr)
            return KOR_FAIL("Unknown name '%1' of what is to be shown.", listening.name);
        viz->addLocalListener(*slot);
    }
    else
        viz->addImport(listening.source, listening.name);
    vizListenings.emplace(listenerId, std::move(listening));
    return {};
}

CError CAudioInterfaceBase::onUnlistenViz()
{
    std::uint32_t listenerId = 0;
    KOR_TRY(message().readU32(listenerId));
    if (const auto listening = vizListenings.find(listenerId); listening != vizListenings.end())
        endViz(listening);
    return {};
}

CAudioInterfaceBase::CVizListenings::iterator CAudioInterfaceBase::endViz(CVizListenings::iterator listening)
{
    const auto& [name, source] = listening->second;
    if (source == -1)
        viz->removeLocalListener(viz->getSlot(name));
    else
        viz->removeImport(source, name);
    return vizListenings.erase(listening);
}

// To all clients, since a request empties what is pending.
CError CAudioInterfaceBase::onRequestVizData()
{
    if (viz == nullptr)
        return {};
    CInterfaceMessage data("viz-data");
    KOR_TRY(viz->writeVizData(data.stream()));
    send(everyClient, data, CSending::update);
    return {};
}

CError CAudioInterfaceBase::onRequestExportSlotNames()
{
    KOR_TRY(sendExportSlotNames(everyClient, CSending::update));
    return {};
}

void CAudioInterfaceBase::onExportSlotNames()
{
    if (CError failure = sendExportSlotNames(everyClient, CSending::update))
        CLog::writeError(std::move(failure));
}

CError CAudioInterfaceBase::sendExportSlotNames(int clientId, CSending kind)
{
    if (viz == nullptr)
        return {};
    CInterfaceMessage names("export-slot-names");
    KOR_TRY(viz->writeExportSlotNames(names.stream()));
    send(clientId, names, kind);
    return {};
}

CError CAudioInterfaceBase::answerClient(void (CAudioInterfaceBase::*answer)(int, CSending))
{
    std::uint32_t client = 0;
    KOR_TRY(message().readU32(client));
    (this->*answer)(static_cast<int>(client), CSending::reply);
    return {};
}

CError CAudioInterfaceBase::onRequestInternalChannelCount()
{
    return answerClient(&CAudioInterfaceBase::sendInternalChannelCount);
}

CError CAudioInterfaceBase::onRequestGroupCount()
{
    return answerClient(&CAudioInterfaceBase::sendGroupCount);
}

CError CAudioInterfaceBase::onRequestIoChannelCounts()
{
    return answerClient(&CAudioInterfaceBase::sendIoChannelCounts);
}

CError CAudioInterfaceBase::onRequestSampleRate()
{
    return answerClient(&CAudioInterfaceBase::sendSampleRate);
}

CError CAudioInterfaceBase::onImportChannelLabels()
{
    if (!labelImport)
        return {};
    std::unique_ptr<CAudioParamUndoRecord> record = createRecord("Channel label import");
    labelImport(*record);
    submit(std::move(record));
    return {};
}

void CAudioInterfaceBase::sendInternalChannelCount(int clientId, CSending kind)
{
    send(clientId, CInterfaceMessage("update-internal-channel-count").number(internalChannels), kind);
}

void CAudioInterfaceBase::sendGroupCount(int clientId, CSending kind)
{
    send(clientId, CInterfaceMessage("update-group-count").number(groups), kind);
}

void CAudioInterfaceBase::sendIoChannelCounts(int clientId, CSending kind)
{
    CInterfaceMessage counts("update-io-channel-counts");
    counts.number(inputs).number(outputs).number(sidechains);
    send(clientId, counts, kind);
}

void CAudioInterfaceBase::sendSampleRate(int clientId, CSending kind)
{
    CInterfaceMessage rate("update-sample-rate");
    rate.number(rateChanges).real(sampleRate);
    send(clientId, rate, kind);
}

void CAudioInterfaceBase::setInternalChannelCount(int count)
{
    CLockHolder hold(messageLock());
    if (std::exchange(internalChannels, count) != count)
        sendInternalChannelCount(everyClient, CSending::update);
}

void CAudioInterfaceBase::setGroupCount(int count)
{
    CLockHolder hold(messageLock());
    if (std::exchange(groups, count) != count)
        sendGroupCount(everyClient, CSending::update);
}

void CAudioInterfaceBase::setIoChannelCounts(int inputCount, int outputCount, int sidechainCount)
{
    CLockHolder hold(messageLock());
    if (inputs == inputCount && outputs == outputCount && sidechains == sidechainCount)
        return;
    inputs = inputCount;
    outputs = outputCount;
    sidechains = sidechainCount;
    sendIoChannelCounts(everyClient, CSending::update);
}

void CAudioInterfaceBase::setSampleRate(double hertz)
{
    CLockHolder hold(messageLock());
    if (sampleRate == hertz)
        return;
    sampleRate = hertz;
    ++rateChanges;
    sendSampleRate(everyClient, CSending::update);
}

void CAudioInterfaceBase::startViz()
{
    CLockHolder hold(messageLock());
    isVizRunning = true;
    sendPlain("start-viz", everyClient);
}

void CAudioInterfaceBase::stopViz()
{
    CLockHolder hold(messageLock());
    isVizRunning = false;
    sendPlain("stop-viz", everyClient);
}

void CAudioInterfaceBase::clearClients()
{
    CLockHolder hold(messageLock());
    sendPlain("clear-client", everyClient);
}

void CAudioInterfaceBase::sendPlain(const char* command, int clientId)
{
    send(clientId, CInterfaceMessage(command), CSending::update);
}

}
