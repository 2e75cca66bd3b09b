// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Other/Interface/CAudioVizData.h"

namespace kor
{

// One reading of a meter.
class CAudioVizDataMeter : public CAudioVizData
{
public:
    CAudioVizDataMeter() noexcept : CAudioVizData(CAudioVizKind::meter) {}
    CError write(COutputStream& stream) const override;
    CError read(CInputStream& stream) override;

    /// Linear; full scale is 1.
    double value = 0.0;
    double peak = 0.0;
};

}
