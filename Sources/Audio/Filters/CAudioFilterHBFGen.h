// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace kor
{

// Half-band filter from two chains of all-pass sections (`audio:fltgen-hbf`). Its coefficients are data; parameters and
// rate change nothing.
class CAudioFilterHBFGen : public CAudioFilterGen
{
public:
    static constexpr int maxCoefficients = 8;

    CError init() override;
    void generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                  const CDCDAWFilterWorkspace* workspace) const override;

private:
    CArray<double> a;           // first chain
    CArray<double> b;           // second chain, which comes a sample later
};

}
