// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

// A container (`audio:process-def`): a graph of its own, made of the child definitions, chained in document order where
// is-auto-links asks for it and wired by the links.
class CAudioProcessDef : public CAudioProcessDefBase
{
public:
    CError init() override;
    std::unique_ptr<CAudioProcessBase> createObject() const override;

    bool isAutoLinks() const noexcept { return autoLinks; }

private:
    bool autoLinks = false;
};

}
