// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModLatencyUniformerModule.h"

#include <cmath>

namespace kor
{

namespace
{

constexpr double delayFadeSeconds = 0.015;

}

void CModLatencyUniformerModule::prepare()
{
    line.emplace(pool, static_cast<int>(std::nearbyint(delayFadeSeconds * sampleRate)));
}

}
