// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModAbsModule.h"

#include "Audio/Processes/CBandKernel.h"

namespace kor
{

void CModAbsModule::process(const double* in, double* out, int count)
{
    bandKernel().rectify(in, out, count);
}

}
