// SPDX-License-Identifier: GPL-3.0-or-later
#include "VstTestKit.h"

#include "Audio/VST/CVstBlock.h"
#include "Support/CRealtimeGuard.h"

#include <cfenv>
#include <cmath>
#include <limits>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace kor::test
{

namespace
{

constexpr ParamID bypass = 0;
constexpr ParamID outGain = 3;
constexpr ParamID frequency = 5;

/// The value of a text for the output gain.
double gainValue(CTestEffect& effect, const char* text)
{
    double value = -1.0;
    EXPECT_FALSE(effect->valueOfText(effect.parameter("1OGain"), text, value));
    return value;
}

/// Level of the last block of constant ones that went through.
double steadyLevel(CTestEffect& effect)
{
    CTestBlock block(2, 2, 512);
    for (int i = 0; i < 512; ++i)
        for (int c = 0; c < 2; ++c)
            block.setInput(c, i, 1.0);
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(effect.processor().process(block.data), kResultOk);
    return block.output(0, 511);
}

}

TEST(VstProcess, DelaysByTheLatencyThatItTells)
{
    for (const double rate : {44100.0, 48000.0, 96000.0})
    {
        CTestEffect effect;
        effect.setup(rate);
        effect.start();
        const int latency = effect->latency();
        CTestBlock block(2, 2, 2048);
        block.setInput(0, 0, 1.0);
        effect.processor().process(block.data);
        int peak = 0;
        for (int i = 1; i < 2048; ++i)
            peak = std::abs(block.output(0, i)) > std::abs(block.output(0, peak)) ? i : peak;
        EXPECT_EQ(peak, latency) << rate;
        EXPECT_NEAR(block.output(0, peak), 1.0, 1e-9);
        EXPECT_EQ(block.output(1, peak), 0.0);
        EXPECT_EQ(block.outputBus.silenceFlags, 0u);
        EXPECT_EQ(effect->tail(), static_cast<uint32>(std::lround(0.4 * rate)));
        EXPECT_EQ(effect->latency(), latency);
    }
}

TEST(VstProcess, SurvivesWhatHostsSend)
{
    struct CCase
    {
        const char* name;
        void (*spoil)(CTestBlock& block);
        bool isSilent; // nothing goes in, so nothing may come out
        bool isUntouched = false; // there is nothing to write
    };
    const CCase cases[] = {
        {"no input pointers", [](CTestBlock& b) { b.inputBus.channelBuffers64 = nullptr; }, true},
        {"null input channels",
         [](CTestBlock& b) { b.inputBus.channelBuffers64[0] = b.inputBus.channelBuffers64[1] = nullptr; }, true},
        {"no output pointers", [](CTestBlock& b) { b.outputBus.channelBuffers64 = nullptr; }, false, true},
        {"null output channels",
         [](CTestBlock& b) { b.outputBus.channelBuffers64[0] = b.outputBus.channelBuffers64[1] = nullptr; }, false,
         true},
        {"no input busses", [](CTestBlock& b) { b.data.numInputs = 0; }, true},
        {"no input bus list", [](CTestBlock& b) { b.data.inputs = nullptr; }, true},
        {"no output busses", [](CTestBlock& b) { b.data.numOutputs = 0; }, false, true},
        {"no output bus list", [](CTestBlock& b) { b.data.outputs = nullptr; }, false, true},
        {"no channels in", [](CTestBlock& b) { b.inputBus.numChannels = 0; }, true},
        {"no channels out", [](CTestBlock& b) { b.outputBus.numChannels = 0; }, false, true},
        {"negative channels", [](CTestBlock& b) { b.inputBus.numChannels = b.outputBus.numChannels = -5; }, false,
         true},
        {"no samples", [](CTestBlock& b) { b.data.numSamples = 0; }, false, true},
        {"negative samples", [](CTestBlock& b) { b.data.numSamples = -100; }, false, true},
        {"no changes", [](CTestBlock& b) { b.data.inputParameterChanges = nullptr; }, false},
        {"odd mode", [](CTestBlock& b) { b.data.processMode = 77; }, false},
    };
    for (const bool isActive : {false, true})
    {
        for (const CCase& one : cases)
        {
            SCOPED_TRACE(one.name);
            CTestEffect effect;
            effect.dial();
            effect.setup(48000.0);
            if (isActive)
                effect.start();
            for (int i = 0; i < 3; ++i)
            {
                CTestBlock block(2, 2, 600);
                block.fill(1);
                one.spoil(block);
                ASSERT_EQ(effect.processor().process(block.data), kResultOk);
                EXPECT_TRUE(!one.isSilent || block.isSilent());
                EXPECT_TRUE(!one.isUntouched || block.output(0, 0) == CTestBlock::garbage);
            }
            CTestBlock good(2, 2, 600);
            good.fill(1);
            ASSERT_EQ(effect.processor().process(good.data), kResultOk);
            EXPECT_NE(good.output(0, 599), CTestBlock::garbage);
        }
    }
}

TEST(VstProcess, TakesASideChainUnlessItIsFlaggedSilent)
{
    const struct
    {
        int channels;
        uint64 silenceFlags;
        int taken;
    } cases[] = {{2, 0, 2}, {2, 1, 2}, {2, 3, 0}, {2, ~uint64{0}, 0}, {1, 1, 0}, {1, 2, 1}, {0, 0, 0}, {-1, 0, 0}};
    for (const auto& row : cases)
    {
        CTestBlock main(2, 2, 16);
        CTestBlock side(2, 0, 16);
        AudioBusBuffers both[] = {main.inputBus, side.inputBus};
        both[1].numChannels = row.channels;
        both[1].silenceFlags = row.silenceFlags;
        main.data.inputs = both;
        main.data.numInputs = 2;
        const CVstBlock with(main.data, true);
        EXPECT_EQ(with.block().sidechainCount, row.taken) << row.channels << ' ' << row.silenceFlags;
        EXPECT_EQ(with.block().inputCount, 2 + row.taken);
        if (row.taken > 0)
        {
            EXPECT_EQ(with.block().inputs[2], side.inputBus.channelBuffers64[0]);
        }
        const CVstBlock without(main.data, false);
        EXPECT_EQ(without.block().inputCount, 2);
    }
}

TEST(VstProcess, WorksBeforeAnythingIsSetUpAndInPlace)
{
    CTestEffect effect;
    CTestBlock block(2, 2, 512);
    block.fill(1);
    EXPECT_EQ(effect.processor().process(block.data), kResultOk);
    CTestEffect apart;
    CTestEffect inPlace;
    for (CTestEffect* const each : {&apart, &inPlace})
    {
        each->dial();
        each->setup(48000.0);
        each->start();
    }
    for (unsigned i = 0; i < 6; ++i)
    {
        CTestBlock a(2, 2, 700);
        CTestBlock b(2, 2, 700);
        a.fill(i);
        b.fill(i);
        b.inputBus.channelBuffers64 = b.outputBus.channelBuffers64;
        for (int c = 0; c < 2; ++c)
            std::copy_n(a.inputBus.channelBuffers64[c], 700, b.outputBus.channelBuffers64[c]);
        apart.processor().process(a.data);
        inPlace.processor().process(b.data);
        for (int c = 0; c < 2; ++c)
            for (int s = 0; s < 700; ++s)
                ASSERT_EQ(a.output(c, s), b.output(c, s)) << c << ' ' << s;
    }
}

TEST(VstProcess, TakesParametersWithoutAudioInEveryWayThatHostsHave)
{
    for (const char* const way : {"no busses", "no samples", "null pointers"})
    {
        for (const bool isActive : {false, true})
        {
            SCOPED_TRACE(way);
            CTestEffect effect;
            effect.setup(48000.0);
            if (isActive)
                effect.start();
            const double wanted = gainValue(effect, "-6");
            CTestBlock block(2, 2, 512);
            block.data.numSamples = 0;
            if (way == std::string("no busses"))
            {
                block.data.numInputs = block.data.numOutputs = 0;
                block.data.inputs = block.data.outputs = nullptr;
            }
            else if (way == std::string("null pointers"))
                block.inputBus.channelBuffers64 = block.outputBus.channelBuffers64 = nullptr;
            block.changes.add(outGain, 0, wanted);
            ASSERT_EQ(effect.processor().process(block.data), kResultOk);

            EXPECT_NEAR(effect.value("1OGain"), wanted, 1e-6);
            CTestEffect other;
            ASSERT_FALSE(other->setState(effect.state()));
            EXPECT_NEAR(other.value("1OGain"), wanted, 1e-6);
            if (!isActive)
                effect.start();
            EXPECT_NEAR(steadyLevel(effect), std::pow(10.0, -6.0 / 20.0), 1e-3);
        }
    }
}

TEST(VstProcess, ThinsOutDenseQueuesAndKeepsTheLastPoint)
{
    // One parameter, 100 points: what holds afterwards is the last one, wherever it is; a program does not come so.
    class CDenseQueue : public CHostObject<IParamValueQueue>
    {
    public:
        CDenseQueue(ParamID target, int32 points, double last) : id(target), count(points), final(last) {}
        ParamID PLUGIN_API getParameterId() override { return id; }
        int32 PLUGIN_API getPointCount() override { return count; }
        tresult PLUGIN_API getPoint(int32 index, int32& offset, ParamValue& value) override
        {
            asked.push_back(index);
            offset = index;
            value = index == count - 1 ? final : 0.9;
            return index >= 0 && index < count ? kResultTrue : kResultFalse;
        }
        tresult PLUGIN_API addPoint(int32, ParamValue, int32&) override { return kResultFalse; }
        std::vector<int32> asked;

    private:
        ParamID id;
        int32 count;
        double final;
    };
    class COneChange : public CHostObject<IParameterChanges>
    {
    public:
        explicit COneChange(IParamValueQueue* only) : queue(only) {}
        int32 PLUGIN_API getParameterCount() override { return 2; }
        IParamValueQueue* PLUGIN_API getParameterData(int32 index) override { return index == 0 ? queue : nullptr; }
        IParamValueQueue* PLUGIN_API addParameterData(const ParamID&, int32&) override { return nullptr; }

    private:
        IParamValueQueue* queue;
    };

    CTestEffect effect;
    effect.setup(48000.0);
    effect.start();
    const double program = effect.value("Program");
    const struct
    {
        int32 points;
        std::vector<int32> asked;
    } cases[] = {
        {1, {0}}, {2, {0, 1}}, {0, {}}, {-3, {}}, {64, {}}, {100, {}}, {std::numeric_limits<int32>::max(), {}}};
    for (const auto& row : cases)
    {
        CDenseQueue queue(outGain, row.points, 0.25);
        COneChange changes(&queue);
        CTestBlock block(2, 2, 512);
        block.data.inputParameterChanges = &changes;
        effect.processor().process(block.data);
        std::vector<int32> expected = row.asked;
        if (row.points > 32)
        {
            for (int64 i = 0; i < 31; ++i)
                expected.push_back(static_cast<int32>(i * row.points / 32));
            expected.push_back(row.points - 1);
        }
        EXPECT_EQ(queue.asked, expected) << row.points;
        EXPECT_TRUE(row.points <= 0 || std::abs(effect.value("1OGain") - 0.25) < 1e-6) << row.points;
    }
    CDenseQueue queue(999, 1, 1.0);
    COneChange changes(&queue);
    CTestBlock block(2, 2, 512);
    block.data.inputParameterChanges = &changes;
    effect.processor().process(block.data);
    EXPECT_TRUE(queue.asked.empty());
    EXPECT_EQ(effect.value("Program"), program);
}

TEST(VstProcess, HeedsTheSampleOfAChange)
{
    // All bands are off, so that nothing stands behind the gain; its glide begins where it was told.
    CTestEffect effect;
    effect.setup(48000.0);
    effect.start();
    steadyLevel(effect);
    CTestBlock block(2, 2, 2000);
    for (int i = 0; i < 2000; ++i)
        block.setInput(0, i, 1.0);
    block.changes.add(outGain, 1000, gainValue(effect, "-20"));
    const double before = steadyLevel(effect);
    ASSERT_EQ(effect->latency(), 0);
    effect.processor().process(block.data);
    int first = 0;
    while (first < 2000 && std::abs(block.output(0, first) - before) < 1e-9)
        ++first;
    EXPECT_GE(first, 1000);
    EXPECT_LE(first, 1002);
}

TEST(VstProcess, ChangesRateSampleSizeAndChannelsBetweenActivations)
{
    CTestEffect effect;
    effect.dial();
    const int layouts[][2] = {{1, 1}, {1, 2}, {2, 2}, {4, 2}, {8, 8}, {2, 2}};
    for (const double rate : {44100.0, 192000.0, 8000.0, 768000.0})
    {
        for (const auto& layout : layouts)
        {
            for (const int32 size : {kSample32, kSample64})
            {
                SCOPED_TRACE(std::to_string(rate) + ' ' + std::to_string(layout[0]) + "->" + std::to_string(layout[1]));
                ASSERT_TRUE(effect.setLayout({layout[0]}, {layout[1]}));
                ASSERT_EQ(effect.setup(rate, size), kResultOk);
                effect.start();
                double loudest = 0.0;
                for (const int frames : {1, 33, 512, 1000})
                {
                    CTestBlock block(layout[0], layout[1], frames, size);
                    block.fill(static_cast<unsigned>(frames));
                    ASSERT_EQ(effect.processor().process(block.data), kResultOk);
                    for (int c = 0; c < layout[1]; ++c)
                    {
                        for (int i = 0; i < frames; ++i)
                        {
                            ASSERT_TRUE(std::isfinite(block.output(c, i)));
                            ASSERT_NE(block.output(c, i), CTestBlock::garbage);
                            loudest = std::max(loudest, std::abs(block.output(c, i)));
                        }
                    }
                }
                EXPECT_GT(loudest, 0.1);
                effect.stop();
            }
        }
    }
}

TEST(VstProcess, RefusesWhatItCannotRunAndKeepsRunning)
{
    CTestEffect effect;
    for (const double rate : {0.0, -48000.0, 1e9, 7999.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(effect.setup(rate), kResultFalse) << rate;
    EXPECT_EQ(effect.setup(48000.0, 2), kResultFalse);
    EXPECT_EQ(effect.processor().canProcessSampleSize(kSample32), kResultTrue);
    EXPECT_EQ(effect.processor().canProcessSampleSize(kSample64), kResultTrue);
    EXPECT_NE(effect.processor().canProcessSampleSize(2), kResultTrue);
    effect.setup(48000.0);
    effect.start();
    for (const double rate : {96000.0, 44100.0, 0.0}) // while it runs, as some hosts do
    {
        effect.setup(rate);
        EXPECT_TRUE(effect.setLayout({2}, {2}));
        EXPECT_NEAR(steadyLevel(effect), 1.0, 1e-6);
    }
    EXPECT_EQ(effect.component().setActive(true), kResultOk); // twice, and off twice
    effect.stop();
    effect.stop();
    effect.processor().setProcessing(true); // without being active
    EXPECT_NEAR(steadyLevel(effect), 1.0, 1e-6);
}

TEST(VstProcess, NeverTouchesTheHeapOnceItRuns)
{
    if (!CRealtimeGuard::canSeeHeap)
        GTEST_SKIP() << "a sanitizer owns the heap";
    CTestEffect effect;
    {
        const CRealtimeGuard guard;
        effect.state();
        ASSERT_GT(guard.faults(), 0u); // it does see into the module
    }
    effect.dial();
    for (const int32 mode : {kRealtime, kOffline})
    {
        for (const int channels : {2, 8})
        {
            ASSERT_TRUE(effect.setLayout({channels}, {channels}));
            effect.setup(48000.0, kSample32, mode);
            effect.start();
            CTestBlock block(channels, channels, 512, kSample32);
            block.data.processMode = mode;
            block.fill(1);
            const auto faultsOf = [&](int blocks, bool withChanges)
            {
                std::size_t faults = 0;
                for (int i = 0; i < blocks; ++i)
                {
                    block.changes.clear();
                    for (const ParamID id : {frequency, outGain, ParamID{6}, ParamID{7}, ParamID{8}})
                        for (int p = 0; p < 4 && withChanges; ++p)
                            block.changes.add(id, p * 100 + i % 90, ((i + p) % 100) / 100.0);
                    if (i % 50 == 0 && withChanges)
                        block.changes.add(bypass, 7, (i / 50) % 2);
                    block.data.numSamples = i % 20 == 0 ? 0 : 1 + i % 512;
                    const CRealtimeGuard guard;
                    effect.processor().process(block.data);
                    faults += guard.faults();
                }
                return faults;
            };
            effect.processor().process(block.data);
            EXPECT_EQ(faultsOf(100, false), 0u) << channels << " channels, mode " << mode;
            EXPECT_EQ(faultsOf(300, true), 0u) << channels << " channels with changes, mode " << mode;
            effect.stop();
        }
    }
}

TEST(VstProcess, RoundsToNearestWhateverTheHostDoes)
{
    CTestEffect plain;
    CTestEffect upwards;
    for (CTestEffect* const each : {&plain, &upwards})
    {
        each->setup(44100.0);
        each->dial();
        each->start();
    }
    const CSignals expected = runNoise(plain, 2, 3000, 300);
    std::fesetround(FE_UPWARD);
    CTestBlock block(2, 2, 300);
    EXPECT_EQ(upwards->tail(), 17640u);
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    const std::string text = upwards->textOfValue(upwards.parameter("1Freq1"), 0.123);
    upwards->setValue(upwards.parameter("1Gain3"), 0.4);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(text, plain->textOfValue(plain.parameter("1Freq1"), 0.123));
    plain->setValue(plain.parameter("1Gain3"), 0.4);
    EXPECT_EQ(plain.values(), upwards.values());

    CSignals noisy(2);
    const CSignals in = {noise(3000, 1), noise(3000, 2)};
    for (int from = 0; from < 3000; from += 300)
    {
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < 300; ++i)
                block.setInput(c, i, in[static_cast<std::size_t>(c)][static_cast<std::size_t>(from + i)]);
        std::fesetround(FE_UPWARD);
        upwards.processor().process(block.data);
        EXPECT_EQ(std::fegetround(), FE_UPWARD);
        std::fesetround(FE_TONEAREST);
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < 300; ++i)
                noisy[static_cast<std::size_t>(c)].push_back(block.output(c, i));
    }
    EXPECT_EQ(noisy, expected);
}

}
