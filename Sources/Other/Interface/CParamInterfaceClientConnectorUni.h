// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Other/Interface/CParamInterfaceBaseConnectorUni.h"
#include "Other/Interface/CParamInterfaceClientConnector.h"

namespace kor
{

// A client's connector to an audio side in the same process (`other:param-interface-client-connector-uni`). The
// attribute `base-connector` is a path in the audio side's tree, and "BaseConnectorRootPtr" of this tree's root says
// which tree that is. The audio side may end first: then sending fails.
class CParamInterfaceClientConnectorUni : public CParamInterfaceClientConnector
{
public:
    /// "Unable to find object '%1' ('%2')", "Incompatible type of object '%1' ('%2')"
    CError init() override;
    void uninit() override;

    CError send(const CByteArray& block) override;

protected:
    void restart() override;

private:
    std::shared_ptr<CParamInterfaceBaseConnector::CLink> link;
};

}
