// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Other/Interface/CAudioVizData.h"

namespace kor
{

// A colour.
class CAudioVizDataRGB : public CAudioVizData
{
public:
    CAudioVizDataRGB() noexcept : CAudioVizData(CAudioVizKind::rgb) {}
    CError write(COutputStream& stream) const override;
    CError read(CInputStream& stream) override;

    double r = 0.0;
    double g = 0.0;
    double b = 0.0;
};

}
