// SPDX-License-Identifier: GPL-3.0-or-later
#include "EqualizerTestKit.h"

#include <random>

namespace kor::test
{
namespace
{

constexpr int channels = 8;
const std::vector<CKnob>& knobs = equalizerKnobs();

/// What has been set, by knob, group and element, in the order of setting.
struct CMove
{
    std::size_t knob;
    int group;
    int element;
    double value;
};

void apply(CTestEqualizer& equalizer, const CMove& move)
{
    equalizer.set(knobs[move.knob].key, move.value, move.group, move.element);
}

/// An equalizer that is made with the same values must sound the same.
void expectSame(CTestEqualizer& walked, const std::vector<CMove>& moves)
{
    CTestEqualizer fresh;
    for (const CMove& move : moves)
        apply(fresh, move);
    fresh.start(channels);
    expectSameSound(walked, fresh, channels);
}

}

// Changes of everything at the edges of blocks while sound runs; now and then the graph must equal one that was made
// with the same values.
TEST(EqualizerWalk, EndsWhereAFreshOneBegins)
{
    const unsigned seed = 3;
    std::mt19937 random(seed);
    const auto pick = [&random](std::size_t count) { return static_cast<std::size_t>(random() % count); };

    CTestEqualizer equalizer;
    equalizer.routeStraight(channels);
    std::vector<CMove> moves;
    for (std::size_t k = 0; k < knobs.size(); ++k)
    {
        if (std::string(knobs[k].key).ends_with("routing"))
            for (int e = 0; e < channels; ++e)
                moves.push_back({k, 0, e, e + 1.0});
    }
    equalizer.start(channels);
    for (int step = 1; step <= 10000; ++step)
    {
        const std::size_t k = pick(knobs.size());
        const CMove move{k, static_cast<int>(pick(static_cast<std::size_t>(knobs[k].groups))),
                         static_cast<int>(pick(static_cast<std::size_t>(knobs[k].elements))),
                         knobs[k].values[pick(knobs[k].values.size())]};
        moves.push_back(move);
        apply(equalizer, move);
        const std::size_t count = 1 + pick(step % 50 == 0 ? 2000 : 48);
        for (const CSignal& channel : equalizer.run(noises(channels, count, random() % 1000)))
            ASSERT_LT(largestValue(channel), 1e4) << "seed " << seed << " step " << step;
        if (step % 500 == 0)
        {
            expectSame(equalizer, moves);
            ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed << " step " << step;
        }
        CError error = equalizer.instance.graph().takeError();
        ASSERT_FALSE(error) << error.text();
    }
}

}
