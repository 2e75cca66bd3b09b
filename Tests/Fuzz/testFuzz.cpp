// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fuzz/CFuzzRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <sys/resource.h>

namespace kor::test
{
namespace
{

// The sanitizers are what sees most faults, so they get the time.
#ifdef KOR_SANITIZE
constexpr double usualSeconds = 10.0;
constexpr double longSeconds = 600.0;
#else
constexpr double usualSeconds = 1.0;
constexpr double longSeconds = 10.0;
#endif

long peakKilobytes()
{
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

class Fuzz : public testing::TestWithParam<CFuzzTarget>
{
};

}

// For the list of tests; the bytes of a target, addresses among them, say nothing.
void PrintTo(const CFuzzTarget& target, std::ostream* out)
{
    *out << target.name;
}

TEST_P(Fuzz, SurvivesChangedContent)
{
    startForFuzzing();
    const bool isLong = std::getenv("MORVA_LONG") != nullptr;
    const unsigned seed = isLong ? std::random_device()() : 20261123u;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::printf("seed %u\n", seed);                 // a crash shows no trace
    CFuzzRun run(GetParam(), seed);
    const long before = peakKilobytes();
    const CFuzzRun::CResult result = run.run(isLong ? longSeconds : usualSeconds);
    EXPECT_LT(result.slowestSeconds, 5.0);
    // The damage must not be so coarse that nothing gets past the first checks.
    EXPECT_GT(result.accepted, result.runs / 200) << result.runs;
#ifndef KOR_SANITIZE
    EXPECT_LT(peakKilobytes() - before, 200 * 1024);        // no input is larger than a few hundred KB
#endif
    EXPECT_GT(result.runs, 10) << before;
}

INSTANTIATE_TEST_SUITE_P(All, Fuzz, testing::ValuesIn(fuzzTargets().begin(), fuzzTargets().end()),
                         [](const testing::TestParamInfo<CFuzzTarget>& target) { return target.param.name; });

}
