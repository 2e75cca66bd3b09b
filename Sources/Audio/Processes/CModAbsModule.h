// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"

namespace kor
{

/// The absolute value of every sample.
class CModAbsModule : public CAudioModule
{
public:
    void process(const double* in, double* out, int count) override;
};

}
