// SPDX-License-Identifier: GPL-3.0-or-later
#include "EqualizerTestKit.h"

#include <random>

namespace kor::test
{
namespace
{

constexpr int channels = 8;
constexpr std::size_t settling = 48000; // longer than every fade, every memory and the slowest detector below

struct CKnob
{
    const char* key;
    int groups; // 1 for a parameter that is not per group
    int elements;
    std::vector<double> values;
};

std::vector<double> bandTypes()
{
    std::vector<double> types;
    for (int mode = 0; mode <= 20; ++mode) // the last two pass
        types.push_back(mode);
    return types;
}

const CKnob knobs[] = {
    {"modMorvaEQ.eq-params.mode", 8, 4, bandTypes()},
    {"modMorvaEQ.eq-params.mode", 8, 4, {0, 1, 2, 3, 4, 5, 6}},
    {"modMorvaEQ.eq-params.freq", 8, 4, {200, 1000, 4000, 12000, 30000}},
    {"modMorvaEQ.eq-params.gain", 8, 4, {0.5, 1.0, 2.0}},
    {"modMorvaEQ.eq-params.bw", 8, 4, {0.7, 1.0, 2.5}},
    {"modMorvaEQ.eq-params.dyn", 8, 4, {0.0, 1.0, 2.5}},
    {"modMorvaEQ.eq-params.band-count", 8, 1, {0, 1, 3, 4}},
    {"modMorvaEQ.dyn-params.attack", 8, 1, {0.0005, 0.005}},
    {"modMorvaEQ.dyn-params.envrelease", 8, 1, {0.05, 0.1}},
    {"io-params.in-routing", 1, channels, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16}},
    {"io-params.out-routing", 1, channels, {0, 1, 2, 3, 4, 5, 6, 7, 8, 12}},
    {"io-params.grouping", 1, channels, {0, 1, 2, 3, 4, 5, 6, 7}},
    {"io-params.ms-pairs", 1, channels, {0, 1, 2, 3, 4}},
    {"io-params.channel-group-solo", 8, 1, {0, 0, 0, 1}},
    {"modOutGain.gain", 8, 1, {0.5, 1.0, 1.5}},
    {"modOutGain.mute", 8, 1, {0, 0, 0, 1}},
    {"modOutGain.phaseinvert", 8, 1, {0, 1}},
    {"bypass-enable", 1, 1, {0, 0, 0, 1}},
    {"denorm-enable", 1, 1, {0, 1}},
    {"oversampling", 1, 1, {0, 1, 1, 1, 2, 3, 4}},
    {"host-oversampling-mode", 1, 1, {0, 1, 2, 3}},
    {"lp-oversampling-enable", 1, 1, {0, 0, 0, 1}},
};

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

CSignals noises(std::size_t count, unsigned seed)
{
    CSignals signals;
    for (unsigned c = 0; c < channels; ++c)
        signals.push_back(0.25 * noise(count, seed * 16 + c + 1));
    return signals;
}

/// Both take the same signal until all that came before has died away; from then on they must agree.
void expectSame(CTestEqualizer& walked, const std::vector<CMove>& moves)
{
    CTestEqualizer fresh;
    for (const CMove& move : moves)
        apply(fresh, move);
    fresh.start(channels);
    EXPECT_EQ(walked.latency(), fresh.latency());
    const CSignals in = noises(settling + 2000, 77);
    const CSignals got = walked.run(in);
    const CSignals wanted = fresh.run(in);
    for (std::size_t c = 0; c < channels; ++c)
        EXPECT_LT(difference(got[c], wanted[c], settling), 1e-9) << "channel " << c;
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
    for (std::size_t k = 0; k < std::size(knobs); ++k)
    {
        if (std::string(knobs[k].key).ends_with("routing"))
            for (int e = 0; e < channels; ++e)
                moves.push_back({k, 0, e, e + 1.0});
    }
    equalizer.start(channels);
    for (int step = 1; step <= 10000; ++step)
    {
        const std::size_t k = pick(std::size(knobs));
        const CMove move{k, static_cast<int>(pick(static_cast<std::size_t>(knobs[k].groups))),
                         static_cast<int>(pick(static_cast<std::size_t>(knobs[k].elements))),
                         knobs[k].values[pick(knobs[k].values.size())]};
        moves.push_back(move);
        apply(equalizer, move);
        const std::size_t count = 1 + pick(step % 50 == 0 ? 2000 : 48);
        for (const CSignal& channel : equalizer.run(noises(count, random() % 1000)))
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
