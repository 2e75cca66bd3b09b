// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBridgedHandler.h"

namespace kor
{

CBridgedHandler::CBridgedHandler(std::shared_ptr<CObjectEventBridge> eventBridge, CAttrMap eventParams)
    : bridge(std::move(eventBridge)), params(std::move(eventParams))
{
}

CError CBridgedHandler::post() const
{
    if (bridge != nullptr)
        KOR_TRY(bridge->post(params));
    return {};
}

}
