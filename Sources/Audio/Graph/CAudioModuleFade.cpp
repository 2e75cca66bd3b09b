// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioModuleFade.h"

#include <algorithm>

namespace kor
{

void CAudioModuleFade::process(const double* old, const double* fresh, double* out, int count) noexcept
{
    const int held = std::min(hold, count);
    if (out != old)
        std::copy_n(old, held, out);
    hold -= held;

    const int mixed = std::min(curve.remaining(), count - held);
    curve.mix(old + held, fresh + held, out + held, mixed);

    const int done = held + mixed;
    if (out != fresh)
        std::copy_n(fresh + done, count - done, out + done);
}

}
