// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CBiquadDesign.h"

#include "Audio/Filters/CAudioFilterSpec.h"
#include "Audio/Filters/CDCDAWFilterWorkspace.h"

#include <cmath>

namespace kor
{

void appendBiquad(CAudioFilterSpec& spec, const CBiquadDesign& design, int kind, PoleLimit limit,
                  const CDCDAWFilterWorkspace* workspace)
{
    const double numerator[] = {design.b0 / design.a0, design.b1 / design.a0, design.b2 / design.a0};
    const double denominator[] = {design.a1 / design.a0, design.a2 / design.a0};
    for (const double value : numerator)
        if (!std::isfinite(value))
            return;
    const double product = std::abs(denominator[1]);        // of the poles
    if (!std::isfinite(denominator[0]) || !std::isfinite(product) || product > 1.0 ||
        (product == 1.0 && limit == PoleLimit::insideCircle))
        return;
    CAudioFilterStage& stage = spec.addStage(workspace != nullptr ? workspace->kind(kind) : nullptr);
    stage.numerator.assign(std::begin(numerator), std::end(numerator));
    stage.denominator.assign(std::begin(denominator), std::end(denominator));
}

}
