// SPDX-License-Identifier: GPL-3.0-or-later
#include "CBandBench.h"

#include <algorithm>

namespace kor::test
{

namespace
{

CSignals level(double mode, double mix, double linking, const CSignals& in)
{
    CBandBench bench = CBandBench::node("modLevelerIn", {{"*", "modLevelerIn"}, {"modLevelerIn", "*"}});
    bench.startAt(48000.0, in.size());
    bench.set("modLevelerIn.mode", mode);
    bench.set("modLevelerIn.mix", mix);
    bench.set("modLevelerIn.linking", linking);
    bench.restart();
    return bench.run(in);
}

}

TEST(Leveler, FollowsTheReference)
{
    for (const auto& testCase : referenceCases("dynamics", "leveler"))
    {
        const auto& in = testCase["in"];
        CSignals channels;
        for (const auto& channel : in["channels"])
            channels.push_back(referenceSignal(channel));
        const CSignals out = level(in["mode"], in["mix"], in["linking"], channels);
        for (std::size_t c = 0; c < out.size(); ++c)
            expectSequence(testCase, out[c], testCase["out"][c], sampleTolerance, "channel " + std::to_string(c));
    }
}

// Long blocks and eight channels, sample by sample.
TEST(Leveler, LevelsEveryPartOfABlockAlike)
{
    constexpr std::size_t count = 700;
    CSignals in;
    for (unsigned c = 0; c < 8; ++c)
        in.push_back(noise(count, c + 1));
    for (const double mode : {0.0, 1.0})
        for (const double mix : {0.0, 0.3, 1.0})
            for (const double linking : {0.0, 0.4, 1.0})
            {
                const CSignals out = level(mode, mix, linking, in);
                for (std::size_t i = 0; i < count; ++i)
                {
                    std::vector<double> x;
                    double sum = 0.0;
                    for (const CSignal& channel : in)
                        x.push_back(channel[i]);
                    for (const double value : x)
                        sum += value;
                    const double extreme = mode == 0.0 ? *std::ranges::max_element(x) : *std::ranges::min_element(x);
                    const double common = extreme + mix * (sum / 8.0 - extreme);
                    for (std::size_t c = 0; c < 8; ++c)
                        ASSERT_NEAR(out[c][i], x[c] + linking * (common - x[c]), 1e-14)
                            << mode << " " << mix << " " << linking << ", sample " << i << " of channel " << c;
                }
            }
}

}
