// SPDX-License-Identifier: GPL-3.0-or-later
#include "VstTestKit.h"

#include "Core/CApplicationData.h"
#include "Support/CFreshDataFolders.h"

#include <algorithm>

namespace kor::test
{

using namespace Steinberg;
using namespace Steinberg::Vst;

CHostApplication& hostApplication()
{
    static CHostApplication application("a test");
    return application;
}

CVst3Module& builtModule()
{
    static const CFreshDataFolders folders;
    static CVst3Module module;
    static const bool isOpen = []
    {
        // Each module adds noise of its own against denormals; without it equal settings give equal bits.
        CGlobalData::instance().writeText("denorm-enable", "0");
        return !module.open(MORVA_BUNDLE, static_cast<IHostApplication*>(&hostApplication()));
    }();
    EXPECT_TRUE(isOpen) << MORVA_BUNDLE;
    return module;
}

CTestEffect::CTestEffect()
{
    const CVst3Class* effect = nullptr;
    EXPECT_FALSE(builtModule().findEffect(effect));
    const CError failure = plugin.open(builtModule(), *effect);
    EXPECT_FALSE(failure) << failure.text();
}

const CVst3Parameter& CTestEffect::parameter(const char* title)
{
    static const CVst3Parameter none;
    const CVst3Parameter* const found = plugin.findParameter(title);
    EXPECT_NE(found, nullptr) << title;
    return found != nullptr ? *found : none;
}

std::vector<double> CTestEffect::values()
{
    std::vector<double> result;
    for (const CVst3Parameter& one : plugin.parameters())
        result.push_back(plugin.value(one));
    return result;
}

std::vector<char> CTestEffect::state()
{
    std::vector<char> result;
    EXPECT_FALSE(plugin.getState(result));
    return result;
}

void CTestEffect::dial()
{
    const struct
    {
        const char* title;
        const char* text;
    } settings[] = {{"1Mode1", "Peaking"}, {"1Freq1", "1k"},       {"1Gain1", "-9"}, {"1Mode2", "Lo-shelf"},
                    {"1Gain2", "6"},       {"2Mode3", "Hi-shelf"}, {"1OGain", "-3"}};
    for (const auto& row : settings)
    {
        double normalized = 0.0;
        const CVst3Parameter& target = parameter(row.title);
        ASSERT_FALSE(plugin.valueOfText(target, row.text, normalized)) << row.title << ' ' << row.text;
        plugin.setValue(target, normalized);
    }
}

tresult CTestEffect::setup(double rateHz, int32 sampleSize, int32 mode)
{
    ProcessSetup wanted{mode, sampleSize, 8192, rateHz};
    return processor().setupProcessing(wanted);
}

namespace
{

SpeakerArrangement channels(int count)
{
    return (SpeakerArrangement{1} << count) - 1;
}

}

bool CTestEffect::setLayout(std::vector<int> inputs, std::vector<int> outputs)
{
    std::vector<SpeakerArrangement> in(inputs.size());
    std::vector<SpeakerArrangement> out(outputs.size());
    std::transform(inputs.begin(), inputs.end(), in.begin(), channels);
    std::transform(outputs.begin(), outputs.end(), out.begin(), channels);
    return processor().setBusArrangements(in.data(), static_cast<int32>(in.size()), out.data(),
                                          static_cast<int32>(out.size())) == kResultTrue;
}

void CTestEffect::start()
{
    EXPECT_EQ(component().setActive(true), kResultOk);
    EXPECT_EQ(processor().setProcessing(true), kResultOk);
}

void CTestEffect::stop()
{
    EXPECT_EQ(processor().setProcessing(false), kResultOk);
    EXPECT_EQ(component().setActive(false), kResultOk);
}

void CTestBlock::CSide::prepare(int count, int frames, bool useDoubles, double value)
{
    const auto size = static_cast<std::size_t>(frames);
    for (int c = 0; c < count; ++c)
    {
        doubles.emplace_back(useDoubles ? size : 0, value);
        floats.emplace_back(useDoubles ? 0 : size, static_cast<float>(value));
    }
    for (int c = 0; c < count; ++c)
    {
        const auto channel = static_cast<std::size_t>(c);
        pointers.push_back(useDoubles ? static_cast<void*>(doubles[channel].data()) : floats[channel].data());
    }
}

CTestBlock::CTestBlock(int inputs, int outputs, int frames, int32 sampleSize) : isDouble(sampleSize == kSample64)
{
    in.prepare(inputs, frames, isDouble, 0.0);
    out.prepare(outputs, frames, isDouble, garbage);
    inputBus.numChannels = inputs;
    inputBus.channelBuffers64 = reinterpret_cast<Sample64**>(in.pointers.data());
    outputBus.numChannels = outputs;
    outputBus.channelBuffers64 = reinterpret_cast<Sample64**>(out.pointers.data());
    outputBus.silenceFlags = 3;
    data.symbolicSampleSize = sampleSize;
    data.numSamples = frames;
    data.numInputs = 1;
    data.numOutputs = 1;
    data.inputs = &inputBus;
    data.outputs = &outputBus;
    changes.reserve(64);
    data.inputParameterChanges = &changes;
}

void CTestBlock::setInput(int channel, int frame, double value)
{
    const auto c = static_cast<std::size_t>(channel);
    const auto i = static_cast<std::size_t>(frame);
    if (isDouble)
        in.doubles[c][i] = value;
    else
        in.floats[c][i] = static_cast<float>(value);
}

void CTestBlock::fill(unsigned seed)
{
    for (int c = 0; c < inputBus.numChannels; ++c)
    {
        const CSignal samples = noise(static_cast<std::size_t>(data.numSamples), seed + static_cast<unsigned>(c));
        for (int i = 0; i < data.numSamples; ++i)
            setInput(c, i, samples[static_cast<std::size_t>(i)]);
    }
}

double CTestBlock::output(int channel, int frame) const
{
    const auto c = static_cast<std::size_t>(channel);
    const auto i = static_cast<std::size_t>(frame);
    return isDouble ? out.doubles[c][i] : static_cast<double>(out.floats[c][i]);
}

bool CTestBlock::isSilent() const
{
    const auto isZero = [](auto sample) { return sample == 0; };
    const auto isSilence = [&](const auto& channel) { return std::all_of(channel.begin(), channel.end(), isZero); };
    return std::all_of(out.doubles.begin(), out.doubles.end(), isSilence) &&
           std::all_of(out.floats.begin(), out.floats.end(), isSilence);
}

CSignals runNoise(CTestEffect& effect, int count, int total, int block, unsigned seed)
{
    CSignals in;
    for (int c = 0; c < count; ++c)
        in.push_back(noise(static_cast<std::size_t>(total), seed + static_cast<unsigned>(c)));
    CSignals result(static_cast<std::size_t>(count));
    for (int from = 0; from < total; from += block)
    {
        CTestBlock piece(count, count, std::min(block, total - from));
        for (int c = 0; c < count; ++c)
            for (int i = 0; i < piece.data.numSamples; ++i)
                piece.setInput(c, i, in[static_cast<std::size_t>(c)][static_cast<std::size_t>(from + i)]);
        EXPECT_EQ(effect.processor().process(piece.data), kResultOk);
        for (int c = 0; c < count; ++c)
            for (int i = 0; i < piece.data.numSamples; ++i)
                result[static_cast<std::size_t>(c)].push_back(piece.output(c, i));
    }
    return result;
}

}
