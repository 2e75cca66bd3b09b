// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CModOutput.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Parameters/CAudioEnv.h"

namespace kor
{

void CModOutput::update()
{
    if (change.any())
        context().env.latency = inputs().latency();
}

void CModOutput::process()
{
    prepareInputs();
}

}
