// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Fuzz/FuzzTargets.h"

#include <random>

namespace kor::test
{

// Runs a target on random changes of its seeds. It knows nothing of what the target covers, unlike libFuzzer, but needs
// no other compiler, so that every run of the tests looks for what a change has broken.
class CFuzzRun
{
public:
    CFuzzRun(const CFuzzTarget& fuzzTarget, unsigned seed);

    struct CResult
    {
        int runs = 0;
        int accepted = 0;
        double slowestSeconds = 0.0;
    };
    CResult run(double seconds);

private:
    std::string changed();
    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); }

    const CFuzzTarget& target;
    std::mt19937 random;
    std::vector<std::string> seeds;
};

}
