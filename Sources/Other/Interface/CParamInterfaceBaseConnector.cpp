// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamInterfaceBaseConnector.h"

#include "Audio/Parameters/CAudioParamChangeScope.h"
#include "Other/Interface/CParamInterfaceBase.h"

namespace kor
{

CParamInterfaceBaseConnector::CParamInterfaceBaseConnector()
{
    link->connector = this;
}

CError CParamInterfaceBaseConnector::processClientData(std::span<const unsigned char> block)
{
    const CAudioParamChangeScope scope;             // what changes put off runs when the locks are left
    CLockHolder hold(link->lock);
    if (base == nullptr)
        return KOR_FAIL("No base object defined.");
    KOR_TRY(base->runCommand(block));
    return {};
}

void CParamInterfaceBaseConnector::setBase(CParamInterfaceBase* next)
{
    CLockHolder hold(link->lock);
    base = next;
}

void CParamInterfaceBaseConnector::uninit()
{
    {
        CLockHolder hold(link->lock);
        link->connector = nullptr;
        base = nullptr;
    }
    CObject::uninit();
}

}
