// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterHBFGen.h"

#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Audio/Filters/CNumberList.h"

namespace kor
{

CError CAudioFilterHBFGen::init()
{
    KOR_TRY(CAudioFilterGen::init());
    KOR_TRY(readNumberList(a, getAttrString("a")));
    KOR_TRY(readNumberList(b, getAttrString("b")));
    if (a.empty())
        return KOR_FAIL("Not enough 'a' coefficients defined.");
    if (b.empty())
        return KOR_FAIL("Not enough 'b' coefficients defined.");
    if (a.size() != b.size())
        return KOR_FAIL("Coefficient count should match in 'a' and 'b'");
    if (a.size() > maxCoefficients)
        return KOR_FAIL("Too many coefficients defined: %1, at most %2 are possible.", a.size(), maxCoefficients);
    return {};
}

void CAudioFilterHBFGen::generate(CAudioFilterSpec& spec, double, const CAudioFilterParams&,
                                  const CDCDAWFilterWorkspace* workspace) const
{
    const int kind = filterKind::halfBand1 + static_cast<int>(a.size()) - 1;
    CAudioFilterStage& stage = spec.addStage(workspace != nullptr ? workspace->kind(kind) : nullptr);
    stage.numerator.assign(a.begin(), a.end());
    stage.denominator.assign(b.begin(), b.end());
}

}
