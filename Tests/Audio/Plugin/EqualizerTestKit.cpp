// SPDX-License-Identifier: GPL-3.0-or-later
#include "EqualizerTestKit.h"

#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/AudioCreators.h"
#include "Core/CApplication.h"
#include "MorvaResources.h"
#include "Support/CFreshDataFolders.h"
#include "Support/CTestTree.h"

#include <algorithm>
#include <functional>

namespace kor::test
{

void startApplication()
{
    static CFreshDataFolders folders;
    static const bool isStarted = []
    {
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        EXPECT_TRUE(succeeded(CApplication::initApplication(setup)));
        return true;
    }();
    (void)isStarted;
}

CTestEqualizer::CTestEqualizer()
{
    startApplication();
    EXPECT_TRUE(succeeded(instance.create()));
}

void CTestEqualizer::set(const std::string& key, double value, int group, int element)
{
    CAudioParam* param = instance.findParam(CStringBuf(key));
    ASSERT_NE(param, nullptr) << key;
    param->setValue(group, element, value);
}

void CTestEqualizer::setAll(const std::string& key, const std::vector<double>& elements, int group)
{
    for (std::size_t e = 0; e < elements.size(); ++e)
        set(key, elements[e], group, static_cast<int>(e));
}

void CTestEqualizer::setBand(int group, int element, int mode, double hz, double gain, double octaves)
{
    const std::string folder = "modMorvaEQ.eq-params.";
    set(folder + "mode", mode, group, element);
    set(folder + "freq", hz, group, element);
    set(folder + "gain", gain, group, element);
    set(folder + "bw", octaves, group, element);
}

void CTestEqualizer::routeStraight(int channels)
{
    for (int c = 0; c < 16; ++c)
    {
        const double number = c < channels ? c + 1.0 : 0.0;
        set("io-params.in-routing", number, 0, c);
        set("io-params.out-routing", number, 0, c);
    }
}

void CTestEqualizer::start(int channels, double rateHz)
{
    channelCount = channels;
    instance.environment().isProcessing = true;
    const std::vector<int> groups(static_cast<std::size_t>(channels), 0);
    ASSERT_TRUE(succeeded(instance.graph().setLayout(groups, rateHz)));
}

CSignals CTestEqualizer::run(const CSignals& in, int block)
{
    const std::size_t count = in.front().size();
    CSignals out(in.size(), CSignal(count));
    for (std::size_t at = 0; at < count; at += static_cast<std::size_t>(block))
    {
        std::vector<const double*> from;
        std::vector<double*> to;
        for (std::size_t c = 0; c < in.size(); ++c)
        {
            from.push_back(in[c].data() + at);
            to.push_back(out[c].data() + at);
        }
        const std::size_t length = std::min(static_cast<std::size_t>(block), count - at);
        instance.graph().process(from.data(), to.data(), static_cast<int>(to.size()), static_cast<int>(length));
    }
    return out;
}

CSignal CTestEqualizer::run(const CSignal& in, int block)
{
    return run(CSignals(static_cast<std::size_t>(channelCount), in), block).front();
}

CAudioProcessBase* CTestEqualizer::find(const std::string& path) const
{
    const CStringBuf wanted(instance.graph().rootProcess()->name() + "." + CStringBuf(path));
    CAudioProcessBase* found = nullptr;
    const std::function<void(CAudioProcessBase&)> visit = [&](CAudioProcessBase& node)
    {
        if (found == nullptr && node.name() == wanted)
            found = &node;
        node.visitRunning(visit);
    };
    visit(*instance.graph().rootProcess());
    return found;
}

const std::vector<CKnob>& equalizerKnobs()
{
    static const std::vector<CKnob> knobs = []
    {
        std::vector<double> bandTypes;
        for (int mode = 0; mode <= 20; ++mode)      // the last two pass
            bandTypes.push_back(mode);
        return std::vector<CKnob>{
            {"modMorvaEQ.eq-params.mode", 8, 4, bandTypes},
            {"modMorvaEQ.eq-params.mode", 8, 4, {0, 1, 2, 3, 4, 5, 6}},
            {"modMorvaEQ.eq-params.freq", 8, 4, {200, 1000, 4000, 12000, 30000}},
            {"modMorvaEQ.eq-params.gain", 8, 4, {0.5, 1.0, 2.0}},
            {"modMorvaEQ.eq-params.bw", 8, 4, {0.7, 1.0, 2.5}},
            {"modMorvaEQ.eq-params.dyn", 8, 4, {0.0, 1.0, 2.5}},
            {"modMorvaEQ.eq-params.band-count", 8, 1, {0, 1, 3, 4}},
            {"modMorvaEQ.dyn-params.attack", 8, 1, {0.0005, 0.005}},
            {"modMorvaEQ.dyn-params.envrelease", 8, 1, {0.05, 0.1}},
            {"io-params.in-routing", 1, 8, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16}},
            {"io-params.out-routing", 1, 8, {0, 1, 2, 3, 4, 5, 6, 7, 8, 12}},
            {"io-params.grouping", 1, 8, {0, 1, 2, 3, 4, 5, 6, 7}},
            {"io-params.ms-pairs", 1, 8, {0, 1, 2, 3, 4}},
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
    }();
    return knobs;
}

CSignals noises(int channels, std::size_t count, unsigned seed)
{
    CSignals signals;
    for (int c = 0; c < channels; ++c)
        signals.push_back(0.25 * noise(count, seed * 16 + static_cast<unsigned>(c) + 1));
    return signals;
}

void expectSameSound(CTestEqualizer& a, CTestEqualizer& b, int channels)
{
    constexpr std::size_t settling = 48000; // longer than every fade, every memory and the slowest detector of the knobs
    const CSignals in = noises(channels, settling + 2000, 77);
    const CSignals fromA = a.run(in);
    const CSignals fromB = b.run(in);
    EXPECT_EQ(a.latency(), b.latency());
    for (std::size_t c = 0; c < in.size(); ++c)
        EXPECT_LT(difference(fromA[c], fromB[c], settling), 1e-9) << "channel " << c;
}

}
