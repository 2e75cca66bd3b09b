// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Processes/CDenormNoise.h"

namespace kor
{

/// The noise of one channel; no parameters.
class CModDenormNoiseModule : public CAudioModule
{
public:
    void prepare() override { noise.takeSeed(); }
    void process(const double* in, double* out, int count) override { noise.add(in, out, count); }

private:
    CDenormNoise noise;
};

}
