// SPDX-License-Identifier: GPL-3.0-or-later
#include "VstTestKit.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <random>
#include <thread>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace kor::test
{

namespace
{

tresult load(CTestEffect& effect, std::vector<char> bytes)
{
    CHostStream stream(bytes);
    return effect.component().setState(&stream);
}

/// A host's stream that answers as told, whatever is asked.
class CLyingStream : public CHostObject<IBStream>
{
public:
    CLyingStream(tresult result, int32 claimed) : answer(result), count(claimed) {}
    tresult PLUGIN_API read(void* buffer, int32 wanted, int32* done) override
    {
        std::memset(buffer, 'a', static_cast<std::size_t>(std::max(wanted, 0)));
        *done = count == std::numeric_limits<int32>::max() ? wanted : count;
        return answer;
    }
    tresult PLUGIN_API write(void*, int32, int32* done) override
    {
        *done = count;
        return answer;
    }
    tresult PLUGIN_API seek(int64, int32, int64*) override { return kResultFalse; }
    tresult PLUGIN_API tell(int64*) override { return kResultFalse; }

private:
    tresult answer;
    int32 count;
};

}

TEST(VstState, GoesFromOneInstanceToAnotherBitForBit)
{
    CTestEffect first;
    CTestEffect second;
    CTestEffect third;
    for (CTestEffect* const effect : {&first, &second, &third})
        ASSERT_TRUE(effect->setLayout({2}, {2}));
    first.dial();
    const std::vector<char> saved = first.state();
    EXPECT_EQ(first.state(), saved);
    ASSERT_EQ(load(second, saved), kResultOk);
    EXPECT_LT(difference(second.values(), first.values()), 1e-12);
    EXPECT_EQ(second.state(), saved);
    EXPECT_TRUE(second->handler().takeEdits().empty());

    // The third gets it while it runs; what it has sounded before has died away after a while.
    for (CTestEffect* const effect : {&first, &second, &third})
    {
        effect->setup(48000.0);
        effect->start();
    }
    runNoise(third, 2, 4800, 512, 9);
    ASSERT_EQ(load(third, saved), kResultOk);
    const CSignals a = runNoise(first, 2, 48000, 512);
    const CSignals b = runNoise(second, 2, 48000, 512);
    const CSignals c = runNoise(third, 2, 48000, 512);
    EXPECT_EQ(a, b);
    EXPECT_LT(difference(a[0], c[0], 40000), 1e-9);
    EXPECT_GT(largestValue(a[0]), 0.1);
}

TEST(VstState, ThatIsDamagedIsRefusedAndChangesNothing)
{
    CTestEffect effect;
    effect.dial();
    const std::vector<char> good = effect.state();
    const std::vector<double> values = effect.values();
    ASSERT_GT(good.size(), 100u);
    for (std::size_t length = 0; length < good.size(); length += std::max<std::size_t>(1, good.size() / 97))
        ASSERT_EQ(load(effect, {good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)}), kResultFalse)
            << length;

    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round)
    {
        std::vector<char> garbage(random() % 4096);
        std::generate(garbage.begin(), garbage.end(), [&] { return static_cast<char>(random()); });
        if (round % 2 == 0 && garbage.size() > 16)
            std::copy_n(good.begin(), 8, garbage.begin()); // begins like a good one
        ASSERT_EQ(load(effect, garbage), kResultFalse) << round;
    }
    std::vector<char> huge = good; // says that it is 4 GB
    std::fill_n(huge.begin() + 4, 4, '\xFF');
    EXPECT_EQ(load(effect, huge), kResultFalse);
    huge.assign(std::size_t{40} << 20, 'x');
    EXPECT_EQ(load(effect, huge), kResultFalse);

    EXPECT_EQ(effect.values(), values);
    EXPECT_EQ(effect.component().setState(nullptr), kInvalidArgument);
    EXPECT_EQ(effect.component().getState(nullptr), kInvalidArgument);
    EXPECT_EQ(load(effect, good), kResultOk);

    std::vector<char> longer = good; // hosts pad their chunks
    longer.resize(good.size() + 1000);
    EXPECT_EQ(load(effect, longer), kResultOk);
}

TEST(VstState, BearsStreamsThatLie)
{
    CTestEffect effect;
    for (const tresult answer : {kResultOk, kResultFalse})
    {
        for (const int32 claimed :
             {0, -1, std::numeric_limits<int32>::min(), 1 << 30, std::numeric_limits<int32>::max()})
        {
            CLyingStream stream(answer, claimed);
            EXPECT_EQ(effect.component().setState(&stream), kResultFalse) << answer << ' ' << claimed;
            EXPECT_EQ(effect.component().getState(&stream), kResultFalse) << answer << ' ' << claimed;
        }
    }
}

TEST(VstState, MovesOnOtherThreadsWhileAudioRuns)
{
    CTestEffect effect;
    effect.dial();
    const std::vector<char> dialled = effect.state();
    CTestEffect plain;
    const std::vector<char> defaults = plain.state();
    effect.setup(48000.0);
    effect.start();
    std::atomic<bool> isOver{false};
    std::thread audio(
        [&]
        {
            CTestBlock block(2, 2, 128);
            block.fill(3);
            for (int i = 0; !isOver; ++i)
            {
                block.changes.clear();
                block.changes.add(5, i % 128, (i % 50) / 50.0);
                EXPECT_EQ(effect.processor().process(block.data), kResultOk);
            }
        });
    std::thread background(
        [&]
        {
            for (int i = 0; i < 15; ++i)
            {
                EXPECT_EQ(load(effect, i % 2 == 0 ? dialled : defaults), kResultOk);
                EXPECT_FALSE(effect.state().empty());
            }
        });
    for (int i = 0; i < 200; ++i)
    {
        effect.value("1Freq1");
        effect->setValue(effect.parameter("1Gain2"), (i % 10) / 10.0);
        effect->textOfValue(effect.parameter("1Freq1"), 0.5);
        effect->latency();
    }
    background.join();
    isOver = true;
    audio.join();
    effect.stop();
}

}
