// SPDX-License-Identifier: GPL-3.0-or-later
#include "VstTestKit.h"

#include <cmath>
#include <thread>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace kor::test
{

TEST(VstInstances, ComeAndGoOnSeveralThreadsAtATime)
{
    builtModule();
    constexpr int threads = 4;
    constexpr int perThread = 16;
    std::vector<CSignals> results(threads);
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t)
    {
        running.emplace_back(
            [t, &results]
            {
                std::vector<std::unique_ptr<CTestEffect>> effects;
                for (int i = 0; i < perThread; ++i)
                {
                    effects.push_back(std::make_unique<CTestEffect>());
                    CTestEffect& effect = *effects.back();
                    effect.dial();
                    effect.setup(48000.0);
                    effect.start();
                    results[static_cast<std::size_t>(t)] = runNoise(effect, 2, 2000, 500);
                    if (i % 3 == 2)
                        effects.erase(effects.begin()); // not in the order of their making
                }
                for (const auto& effect : effects)
                    effect->stop();
            });
    }
    for (std::thread& one : running)
        one.join();
    for (int t = 1; t < threads; ++t)
        EXPECT_EQ(results[static_cast<std::size_t>(t)], results[0]) << t;
    EXPECT_GT(largestValue(results[0][0]), 0.1);
}

TEST(VstInstances, OutliveTheThreadThatMadeThem)
{
    std::unique_ptr<CTestEffect> effect;
    std::thread([&] { effect = std::make_unique<CTestEffect>(); }).join();
    effect->dial();
    effect->setup(44100.0);
    std::thread([&] { effect->start(); }).join();
    CSignals sound;
    std::thread([&] { sound = runNoise(*effect, 2, 2000, 64); }).join();
    EXPECT_GT(largestValue(sound[0]), 0.1);
    effect->stop();
    std::thread([&] { effect.reset(); }).join();
}

TEST(VstInstances, ShareTheProcessAndNothingOfTheirOwn)
{
    // As two tracks in a host: one module, one shared tree, own values and own sound.
    CTestEffect first;
    CTestEffect second;
    const std::vector<double> untouched = second.values();
    for (const CVst3Parameter& one : first->parameters())
        if (one.title != "Program")
            first->setValue(one, 0.75);
    EXPECT_EQ(second.values(), untouched);
    CTestEffect third;
    EXPECT_EQ(third.values(), untouched);
}

TEST(VstInstances, AreAbandonedInAnyStateWithoutHarm)
{
    // A host that crashes its own shutdown: no setActive(false), no terminate, handler and peer left connected.
    for (int state = 0; state < 3; ++state)
    {
        const CVst3Class* effect = nullptr;
        ASSERT_FALSE(builtModule().findEffect(effect));
        IComponent* component = nullptr;
        ASSERT_EQ(builtModule().factory().createInstance(effect->id, IComponent::iid.toTUID(),
                                                         reinterpret_cast<void**>(&component)),
                  kResultOk);
        if (state > 0)
            component->initialize(static_cast<IHostApplication*>(&hostApplication()));
        if (state > 1)
            component->setActive(true);
        CHostStream stream;
        EXPECT_EQ(component->getState(&stream) == kResultOk, state > 0);
        EXPECT_EQ(component->release(), 0u);
    }
}

}
