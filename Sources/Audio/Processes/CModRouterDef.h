// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

/// Definition of a channel router (`audio:modRouter`).
class CModRouterDef : public CAudioProcessDefBase
{
public:
    CError init() override;
    std::unique_ptr<CAudioProcessBase> createObject() const override;

    /// The router stands at the graph's output: its elements name outgoing channels, not incoming ones.
    bool isOutput() const noexcept { return standsAtOutput; }

private:
    bool standsAtOutput = false;
};

}
