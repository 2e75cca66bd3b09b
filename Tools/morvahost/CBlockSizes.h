// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "COptions.h"

#include <random>

namespace kor
{

// How long a host's calls are: always the same, or another length each time, as some workstations cut their blocks. The
// same seed gives the same lengths everywhere.
class CBlockSizes
{
public:
    static constexpr COptionSpec option = {"--block", "N",
                                           "samples a processing call, 1 to 65536 (default 512); random:SEED takes another\n"
                                           "length from 1 to 2048 each time"};

    /// Reads the option; a failure is wrong usage.
    CError read(const COptions& options);

    int largest() const noexcept { return isRandom ? largestRandom : fixed; }
    int next();

private:
    static constexpr int largestRandom = 2048;

    bool isRandom = false;
    int fixed = 512;
    std::mt19937 numbers;
};

}
