// SPDX-License-Identifier: GPL-3.0-or-later
// The bundle, driven by its host interface alone, against the graph that it wraps.
#include "Support/CFreshDataFolders.h"
#include "Support/CRealtimeGuard.h"

#include "CGraphEngine.h"
#include "CHostAutomation.h"
#include "CHostSession.h"
#include "CPluginEngine.h"
#include "DefaultRouting.h"

#include "Core/CApplicationData.h"
#include "Core/CWriteSeqBuffer.h"
#include "Vst3Host/CHostApplication.h"
#include "Vst3Host/CVst3Plugin.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>

namespace kor::test
{

namespace
{

using CPlanes = std::vector<std::vector<double>>;

constexpr double rate = 48000.0;
constexpr int frames = 9000;

// What all instances of a process share is there before the bundle is loaded, and stays: no noise, steep filters.
struct CWorld
{
    CWorld()
    {
        EXPECT_EQ(session.start().message(), "");
        CGlobalData::instance().writeText("denorm-enable", "0");
        CGlobalData::instance().writeText("lp-oversampling-enable", "1");
        EXPECT_EQ(module.open(MORVA_BUNDLE, static_cast<Steinberg::Vst::IHostApplication*>(&host)).message(), "");
        EXPECT_EQ(module.findEffect(effect).message(), "");
    }

    CFreshDataFolders data;
    CHostSession session;
    CHostApplication host;
    CVst3Module module;
    const CVst3Class* effect = nullptr;
};

CWorld& world()
{
    static CWorld it;
    return it;
}

struct CSoundCase
{
    const char* name;
    int channels;
    std::vector<std::string> settings;
    const char* table;                  // of changes; frames / 48000 as decimal fractions
};

const std::string eq = "modMorvaEQ.eq-params.";

const CSoundCase soundCases[] = {
    {"static bands", 2, {eq + "mode[0,0]=Hi-pass 24", eq + "freq[0,0]=60", eq + "mode[0,1]=Lo-shelf", eq + "gain[0,1]=6",
                         eq + "mode[0,4]=Peaking Plain", eq + "gain[0,4]=-9"}, ""},
    {"dynamic bands, one channel", 1, {eq + "mode[0,2]=Peaking", eq + "gain[0,2]=12", eq + "dyn[0,2]=1.5"}, ""},
    {"six channels in two groups, mid and side", 6,
     {"io-params.grouping[0,2]=1", "io-params.grouping[0,3]=1", "io-params.ms-pairs[0,0]=MS1", "io-params.ms-pairs[0,1]=MS1",
      eq + "mode[0,1]=Peaking", eq + "gain[0,1]=8", eq + "mode[1,0]=Notch", "modOutGain.gain[1,0]=-6"}, ""},
    {"twice the rate", 2, {"oversampling=2x", eq + "mode[0,3]=Peaking Hrm", eq + "gain[0,3]=6"}, ""},
    {"changes at any sample", 2, {eq + "mode[0,1]=Peaking Plain", eq + "mode[0,2]=Peaking"},
     "0.0000209,modOutGain.gain,-6\n0.01066,modMorvaEQ.eq-params.gain[0,1],9\n0.010688,1Gain3,-12\n"
     "0.0213125,1Freq2,700\n0.0213125,1Mode4,Lo-shelf\n0.05,1OGain,3\n0.0777,1Mode2,Off\n0.12,Bypass,On\n0.15,Bypass,Off\n"},
};

CPlanes noisePlanes(int channels)
{
    std::mt19937 numbers(20221);
    CPlanes planes(static_cast<std::size_t>(channels), std::vector<double>(frames));
    for (std::vector<double>& plane : planes)
        for (double& sample : plane)                    // of single precision, so that both formats carry the same
            sample = static_cast<double>(static_cast<float>(0.5 * (numbers() / 2147483648.0 - 1.0)));
    return planes;
}

// Runs noise through an engine in blocks: `block` samples, or below 0 random ones of that seed.
CPlanes run(CRenderEngine& engine, int channels, int block)
{
    CPlanes planes = noisePlanes(channels);
    std::mt19937 numbers(static_cast<unsigned>(-block));
    for (int position = 0; position < frames;)
    {
        const int wanted = block > 0 ? block : 1 + static_cast<int>(numbers() % 2048);
        const int count = std::min(wanted, frames - position);
        std::vector<double*> pointers;
        for (std::vector<double>& plane : planes)
            pointers.push_back(plane.data() + position);
        EXPECT_EQ(engine.process(pointers, position, count).message(), "");
        position += count;
    }
    return planes;
}

double largestDifference(const CPlanes& a, const CPlanes& b)
{
    double largest = 0.0;
    for (std::size_t c = 0; c < a.size(); ++c)
        for (std::size_t i = 0; i < a[c].size(); ++i)
        {
            const double difference = std::abs(a[c][i] - b[c][i]);
            largest = difference <= largest ? largest : difference;     // a NaN counts
        }
    return largest;
}

// The case as the bare graph has it, and as the bundle's state and events.
class CCaseRun
{
public:
    explicit CCaseRun(const CSoundCase& t) : sound(t)
    {
        world();
        EXPECT_EQ(instance.create().message(), "");
        routeByDefault(instance, t.channels, t.channels);
        std::vector<std::string> all = {"denorm-enable=0", "lp-oversampling-enable=1"};
        all.insert(all.end(), t.settings.begin(), t.settings.end());
        EXPECT_EQ(settings.parse(all).message(), "");
        EXPECT_EQ(settings.resolve(instance).message(), "");
        settings.give(instance);
        CWriteSeqBuffer buffer;
        EXPECT_EQ(instance.saveState(buffer).message(), "");
        const CByteArray bytes = buffer.getContents();
        state.assign(bytes.begin(), bytes.end());
        const std::string file = world().data.root() + "table.csv";
        std::ofstream(file) << t.table;
        EXPECT_EQ(table.read(file).message(), "");
    }

    CPlanes direct()
    {
        // The graph knows keys only; each name of the table stands for one.
        CAutomation keys;
        std::string text = sound.table;
        for (const auto& [name, key] : {std::pair<std::string, std::string>{"1Gain3", eq + "gain[0,2]"},
                                        {"1Freq2", eq + "freq[0,1]"}, {"1Mode4", eq + "mode[0,3]"},
                                        {"1Mode2", eq + "mode[0,1]"}, {"1OGain", "modOutGain.gain"},
                                        {"Bypass", "bypass-enable"}})
            for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + key.size()))
                text.replace(at, name.size(), key);
        const std::string file = world().data.root() + "keys.csv";
        std::ofstream(file) << text;
        EXPECT_EQ(keys.read(file).message(), "");
        EXPECT_EQ(keys.resolve(instance, rate).message(), "");
        EXPECT_EQ(instance.start(sound.channels, sound.channels, rate).message(), "");
        CGraphEngine engine(instance.graph(), sound.channels, keys.events());
        latency = engine.latency();
        return run(engine, sound.channels, 512);
    }

    void open(CVst3Plugin& plugin, bool isDouble)
    {
        ASSERT_EQ(plugin.open(world().module, *world().effect).message(), "");
        ASSERT_EQ(plugin.setLayout(sound.channels, sound.channels).message(), "");
        ASSERT_EQ(plugin.setState(state).message(), "");
        ASSERT_EQ(plugin.activate({rate, 8192, isDouble, false}).message(), "");
    }

    CPlanes bundled(int block, bool isDouble)
    {
        CVst3Plugin plugin(world().host);
        open(plugin, isDouble);
        CHostAutomation automation;
        CExtAssignments ext;
        EXPECT_EQ(automation.resolve(table, plugin, &instance, rate, settings, ext).message(), "");
        CPluginEngine engine(plugin, world().host.runLoop(), {sound.channels, sound.channels, isDouble, 8192},
                             automation.events());
        EXPECT_EQ(engine.latency(), latency);
        return run(engine, sound.channels, block);
    }

    const CSoundCase& sound;
    CAudioInstance instance;
    CParamAssignments settings;
    CAutomation table;
    std::vector<char> state;
    int latency = 0;
};

}

TEST(PluginSound, IsTheGraphsForEveryBlockAndFormat)
{
    for (const CSoundCase& t : soundCases)
    {
        CCaseRun one(t);
        const CPlanes expected = one.direct();
        EXPECT_GT(largestDifference(expected, noisePlanes(t.channels)), 0.01) << t.name << ": nothing was equalized";
        // Normalised values are as exact as their conversion; a state is exact.
        const double tolerance = *t.table == 0 ? 1e-12 : 1e-9;
        for (const int block : {1, 33, 64, 511, 512, 1000, 8192, -1, -2})
        {
            EXPECT_LE(largestDifference(one.bundled(block, true), expected), tolerance) << t.name << ", block " << block;
            // Half a step of single precision, at up to 4 times full scale.
            EXPECT_LE(largestDifference(one.bundled(block, false), expected), 1.2e-7) << t.name << ", block " << block;
        }
    }
}

TEST(PluginSound, AStateGivesAnotherInstanceTheSameBitForBit)
{
    for (const CSoundCase& t : soundCases)
    {
        CCaseRun one(t);
        one.direct();
        CVst3Plugin first(world().host);
        one.open(first, true);
        std::vector<char> kept;
        ASSERT_EQ(first.getState(kept).message(), "");
        const CPlanes before = one.bundled(512, true);
        one.state = kept;
        EXPECT_EQ(one.bundled(512, true), before) << t.name;
    }
}

// From the second block of a configuration on: the first makes what the settings call for.
TEST(PluginSound, NeitherAllocatesNorFreesWhileItProcesses)
{
    for (const CSoundCase& t : soundCases)
    {
        CCaseRun one(t);
        CVst3Plugin plugin(world().host);
        one.open(plugin, true);
        CPlanes planes = noisePlanes(t.channels);
        std::vector<void*> pointers;
        for (std::vector<double>& plane : planes)
            pointers.push_back(plane.data());
        const CVst3Parameter& gain = *plugin.findParameter("1OGain");
        const CVst3Parameter& frequency = *plugin.findParameter("1Freq2");
        for (int block = 0; block < 200; ++block)
        {
            for (int point = 0; point < 4; ++point)
            {
                plugin.changes().add(gain.id, 100 * point, 0.01 * ((block + point) % 90));
                plugin.changes().add(frequency.id, 100 * point + 7, 0.01 * ((block + 3 * point) % 90));
            }
            const CRealtimeGuard guard;
            EXPECT_TRUE(plugin.process(pointers, pointers, 700));
            const std::size_t faults = guard.faults();
            ASSERT_EQ(block > 0 ? faults : 0u, 0u) << t.name << ", block " << block;
        }
    }
}

}
