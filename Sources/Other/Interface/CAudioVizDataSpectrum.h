// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"
#include "Other/Interface/CAudioVizData.h"

namespace kor
{

// One spectrum: plain linear magnitudes, to be smoothed and scaled by whoever shows it.
class CAudioVizDataSpectrum : public CAudioVizData
{
public:
    CAudioVizDataSpectrum() noexcept : CAudioVizData(CAudioVizKind::spectrum) {}
    CError write(COutputStream& stream) const override;
    CError read(CInputStream& stream) override;

    /// From 0 Hz to half the rate: blockSize / 2 + 1 of them. One from a pool has the size that was asked for.
    CArray<double> values;
    double sampleRate = 0.0;

    /// Samples that one transform covers.
    std::int32_t blockSize = 0;

    /// How it was accumulated: the parameter's value, 0 to 3.
    std::int32_t type = 0;

    /// Seconds over which it was gathered.
    double averageTime = 0.0;
};

}
