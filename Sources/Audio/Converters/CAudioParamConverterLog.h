// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Converters/CAudioParamConverter.h"

namespace kor
{

// Geometric position map of frequencies and gains. With a threshold the neutral value 1.0 (0 dB) keeps one position
// whatever the range is; the scale power bends the side below it, or the whole range where there is no threshold.
class CAudioParamConverterLog : public CAudioParamConverter
{
public:
    CError init() override;
    double normalisedToReal(const CAudioParamInfo& info, int component, double x) const override;
    double realToNormalised(const CAudioParamInfo& info, int component, double value) const override;

private:
    double scalePower = 1.0;
    double scaleThreshold = -1.0;       // position of 1.0; none at 0 and below
};

}
