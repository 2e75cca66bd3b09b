// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CSharedParameter.h"

#include <algorithm>
#include <cmath>

namespace kor
{

using namespace Steinberg::Vst;

CSharedParameter::CSharedParameter(const ParameterInfo& description, ParamValue start)
    : Parameter(description), shown(clampNormalized(start))
{
}

bool CSharedParameter::setNormalized(ParamValue newValue)
{
    if (std::isnan(newValue))
        return false;
    store(clampNormalized(newValue));
    changed();
    return true;
}

ParamValue clampNormalized(ParamValue value) noexcept
{
    return std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 1.0);
}

}
