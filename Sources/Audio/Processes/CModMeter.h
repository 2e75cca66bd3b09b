// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Processes/CModMeterModule.h"
#include "Audio/Processes/CModTap.h"

namespace kor
{

/// A level meter on every channel: port 0, with is-diff in relation to port 1.
class CModMeter : public CModTap
{
public:
    std::unique_ptr<CAudioModule> createModule() override { return std::make_unique<CModMeterModule>(); }

protected:
    void listen(const CStretch& stretch) override;
};

}
