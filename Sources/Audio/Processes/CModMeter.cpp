// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMeter.h"

#include <algorithm>

namespace kor
{

void CModMeter::listen(const CStretch& stretch)
{
    static constexpr int silentSamples = 512;
    static const double silence[silentSamples] = {};
    for (std::size_t c = 0; c < stretch.modules.size(); ++c)
    {
        CModMeterModule& module = static_cast<CModMeterModule&>(*stretch.modules[c]);
        const double* x = stretch.inputs[c * stretch.portCount];
        const double* y = stretch.portCount > 1 ? stretch.inputs[c * stretch.portCount + 1] : nullptr;
        for (int at = 0; at < stretch.count;)
        {
            int count = std::min(module.meter().remaining(), stretch.count - at);
            if (y == nullptr)
                count = std::min(count, silentSamples);
            const bool isEnd = module.meter().process(x + at, y != nullptr ? y + at : silence, count);
            at += count;
            if (isEnd)
                module.endFrame(stretch.time + at / inputs().sampleRate());
        }
    }
}

}
