// SPDX-License-Identifier: GPL-3.0-or-later
#include "CLiveClient.h"

#include "Audio/Plugin/CAudioInstance.h"
#include "Other/Interface/CVizExchange.h"
#include "Platform/CEventLoop.h"

namespace kor
{

CLiveClient::CLiveClient() : loop(CEventLoop::ofThisThread()), tree(std::make_unique<CInterfaceClientTree>()) {}

CLiveClient::~CLiveClient() = default;

CError CLiveClient::open(CAudioInstance& instance)
{
    if (loop->error() != 0)
        return KOR_FAIL("the event loop cannot run (error %1)", loop->error());
    KOR_TRY(tree->create(instance.tree()));
    CObject* served = nullptr;
    KOR_TRY(tree->root().findObjectChecked(served, "client"));
    CAttrMap given;
    given["timer-tag"].setString("core:timer");
    given["viz-fps"].setString("30");
    given["interface-client"].setString("^interface-client");
    return served->createChild(exchange, "ui:viz-exchange", "viz-exchange", false, nullptr, &given);
}

CError CLiveClient::listen(CVizListener& listener, const CStringBuf& process, int group)
{
    return exchange->addListener(listener, process, -1, group, -1);
}

CError CLiveClient::poll()
{
    KOR_TRY(exchange->onTick());
    loop->dispatch();
    return {};
}

}
