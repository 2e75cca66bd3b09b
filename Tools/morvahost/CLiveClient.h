// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"
#include "Other/Interface/CInterfaceClientTree.h"

#include <memory>

namespace kor
{

class CAudioInstance;
class CEventLoop;
class CVizExchange;
class CVizListener;

// A display without a window: a client of an instance, on the calling thread, that asks for what its meters and spectra
// show whenever it is told to. Goes before the instance.
class CLiveClient
{
public:
    CLiveClient();
    ~CLiveClient();
    CLiveClient(const CLiveClient&) = delete;
    CLiveClient& operator=(const CLiveClient&) = delete;

    /// Once, before anything else.
    CError open(CAudioInstance& instance);

    /// What the slot of a process brings for a channel group goes to the listener. The process joins the graph with the
    /// next block.
    CError listen(CVizListener& listener, const CStringBuf& process, int group);

    /// Fetches what has gathered since the last time and tells the listeners.
    CError poll();

private:
    std::shared_ptr<CEventLoop> loop;
    std::unique_ptr<CInterfaceClientTree> tree;
    CVizExchange* exchange = nullptr;
};

}
