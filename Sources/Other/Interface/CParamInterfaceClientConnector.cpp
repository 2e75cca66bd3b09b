// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamInterfaceClientConnector.h"

#include "Core/CLog.h"
#include "Core/CRoundingGuard.h"
#include "Other/Interface/CParamInterfaceClient.h"
#include "Platform/CEventLoop.h"

namespace kor
{

void CParamInterfaceClientConnector::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
    info.addEvent("process-base-data", eventMethod<&CParamInterfaceClientConnector::onProcessBaseData>);
}

CError CParamInterfaceClientConnector::init()
{
    KOR_TRY(CObject::init());
    std::shared_ptr<CEventLoop> loop = CEventLoop::ofThisThread();
    if (loop->error() != 0)
        return KOR_FAIL("Event loop creation error %1.", loop->error());
    inbox = std::make_shared<CParamClientQueue>(std::move(loop), &CParamInterfaceClientConnector::onRaised, this);
    return {};
}

void CParamInterfaceClientConnector::uninit()
{
    if (inbox != nullptr)
        inbox->close();
    CObject::uninit();
}

void CParamInterfaceClientConnector::onRaised(void* context)
{
    const CRoundingGuard rounding;
    if (CError failure = static_cast<CParamInterfaceClientConnector*>(context)->runEvent("process-base-data"))
        CLog::writeError(std::move(failure));
}

CError CParamInterfaceClientConnector::onProcessBaseData()
{
    const CParamClientQueue::CTaken taken = inbox->take();
    if (client == nullptr)
        return KOR_FAIL("No client object defined.");
    if (taken.isIncomplete)
        startOver();
    for (const CByteArray& block : taken.blocks)
    {
        if (client == nullptr)                      // ended by what came before
            return {};
        CError failure = client->runMessage(block);
        if (!failure)
            continue;
        if (!hasFailed && client != nullptr)
        {
            hasFailed = true;
            startOver();
        }
        KOR_TRY(std::move(failure));
    }
    hasFailed = hasFailed && taken.blocks.empty();
    return {};
}

void CParamInterfaceClientConnector::startOver()
{
    restart();
    if (CError failure = client->askForEverything())
        CLog::writeError(std::move(failure));
}

}
