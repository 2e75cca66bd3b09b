// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Processes/CModSpectrumModule.h"
#include "Audio/Processes/CModTap.h"

namespace kor
{

/// A spectrum analyser on every channel.
class CModSpectrum : public CModTap
{
public:
    std::unique_ptr<CAudioModule> createModule() override { return std::make_unique<CModSpectrumModule>(); }

protected:
    void listen(const CStretch& stretch) override;
};

}
