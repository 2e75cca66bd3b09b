// SPDX-License-Identifier: GPL-3.0-or-later
// The product's whole state as presets: what is in it, that it comes back, and what follows the dynamics mode.
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "EqualizerTestKit.h"
#include "Support/CTestTree.h"

#include <map>
#include <random>

namespace kor::test
{
namespace
{

const std::string kEq = "modMorvaEQ.";
const std::string kDyn = kEq + "dyn-params.";

CByteArray state(CAudioParamRegistry& registry, int group = everyIndex)
{
    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(registry.acquirePreset(CAudioPresetSource::session, -1, group, out)));
    return out.getContents();
}

// Every stored value of an equalizer, as text, by the parameter's key.
std::map<std::string, std::string> storedValues(const CAudioInstance& instance)
{
    std::map<std::string, std::string> all;
    for (const CStringBuf& key : instance.paramKeys())
    {
        CAudioParam& param = *instance.findParam(key);
        if (!param.info().isStorable && !param.info().isPersistent)
            continue;
        CLockHolder hold(param.lock());
        std::string text;
        for (int g = 0; g < param.values().groupCount(); ++g, text += ";")
            for (int e = 0; e < param.getElementCount(g); ++e, text += ",")
            {
                if (param.info().type == CAudioParamType::real)
                    text += CStringBuf::fromDouble(param.getValue(g, e)).toUtf8();
                text += param.getText(g, e).toUtf8();
                for (const unsigned char byte : param.values().getRaw(g, e))
                    text += std::to_string(byte) + " ";
            }
        all[key.toUtf8()] = text;
    }
    return all;
}

// Random lists of random values in every parameter that is stored.
void scatter(CAudioInstance& instance, unsigned seed)
{
    std::mt19937 random(seed);
    for (const CStringBuf& key : instance.paramKeys())
    {
        CAudioParam& param = *instance.findParam(key);
        const CAudioParamInfo& info = param.info();
        if (!info.isStorable && !info.isPersistent)
            continue;
        for (int g = 0; g < (info.isSingleGroup ? 1 : instance.groupCount()); ++g)
            for (int e = 0; e < (info.isSingleElement ? 1 : static_cast<int>(random() % 33)); ++e)
            {
                const double share = random() / 4294967295.0;
                if (info.type == CAudioParamType::real)
                    param.setValue(g, e, info.minValue(0) + share * (info.maxValue(0) - info.minValue(0)));
                else if (info.type == CAudioParamType::string)
                    param.setText(g, e, CStringBuf(u"\u00e4\u4e2d") + CStringBuf::fromInt(random() % 1000));
            }
    }
}

// Puts dynamics modes of its own in the place of the product's for as long as it lives.
class CDynModes
{
public:
    CDynModes()
    {
        CLocalData::instance().read(name, before, CAudioPresetBank::listId);
        CTestEqualizer eq;
        CAudioPresetBank bank;
        for (const double attack : {0.004, 0.001, 0.02})
        {
            eq.set(kDyn + "attack", attack, 0);
            const CByteArray bytes = state(*eq.instance.findRegistry("q7ne1"), 0);
            CMemoryReader reader(bytes);
            EXPECT_TRUE(succeeded(bank.append().load(reader)));
        }
        CWriteSeqBuffer out;
        EXPECT_TRUE(succeeded(CAudioPresetBank::saveList(out, {bank})));
        write(out.getContents());
    }
    ~CDynModes() { write(before.empty() ? CByteArray(4, 0) : before); }

private:
    void write(const CByteArray& bytes)
    {
        CLocalData::instance().write(name, bytes.data(), bytes.size(), CAudioPresetBank::listId);
    }

    const CStringBuf name = "dynmode-presets";
    CByteArray before;
};

TEST(State, HoldsSixtyKeys)
{
    CTestEqualizer eq;
    const CByteArray bytes = state(eq.instance.registry());
    CMemoryReader reader(bytes);
    CAudioPreset preset;
    ASSERT_TRUE(succeeded(preset.load(reader)));
    std::map<std::string, int> counts;
    for (const auto& [key, block] : preset.entries())
    {
        const std::string text = key.toUtf8();
        ++counts[text.substr(0, text.rfind('.') + 1)];
    }
    const std::map<std::string, int> expected = {{"", 3},
                                                 {"io-params.", 7},
                                                 {"modMorvaEQ.", 7},
                                                 {"modMorvaEQ.eq-params.", 7},
                                                 {"modMorvaEQ.eqareas-params.", 9},
                                                 {"modMorvaEQ.specstatic-params.", 9},
                                                 {"modMorvaEQ.spectrum-params.", 15},
                                                 {"modOutGain.", 3}};
    EXPECT_EQ(counts, expected);
    EXPECT_EQ(preset.entries().size(), 60u);
}

TEST(State, ComesBackInAFreshInstance)
{
    for (const unsigned seed : {1u, 2u, 3u})
    {
        SCOPED_TRACE(seed);
        CTestEqualizer eq;
        scatter(eq.instance, seed);
        CWriteSeqBuffer out;
        ASSERT_TRUE(succeeded(eq.instance.saveState(out)));
        const CByteArray bytes = out.getContents();
        auto expected = storedValues(eq.instance);
        CTestEqualizer fresh;
        CMemoryReader reader(bytes);
        ASSERT_TRUE(succeeded(fresh.instance.loadState(reader)));
        auto found = storedValues(fresh.instance);
        for (auto* values : {&expected, &found})
            std::erase_if(*values, [](const auto& each) { return each.first.starts_with(kDyn); });
        EXPECT_EQ(found, expected);
    }
}

TEST(State, TimesFollowTheDynamicsMode)
{
    const CDynModes modes;
    CTestEqualizer eq;
    CAudioParamRegistry& master = eq.instance.registry();
    const auto attack = [&](const CTestEqualizer& of, int group)
    { return of.instance.findParam(CStringBuf(kDyn + "attack"))->getValue(group, 0); };
    const auto setMode = [&](int group, int mode) { eq.set(kEq + "dynmode", mode, group); };

    setMode(0, 1);
    setMode(3, 2);
    EXPECT_EQ(attack(eq, 0), 0.001);
    EXPECT_EQ(attack(eq, 3), 0.02);
    EXPECT_EQ(attack(eq, 1), 0.004);

    master.exchangeShadowPreset();
    setMode(0, 2);
    EXPECT_EQ(attack(eq, 0), 0.02);
    master.exchangeShadowPreset();
    EXPECT_EQ(attack(eq, 0), 0.001);
    master.exchangeShadowPreset();
    EXPECT_EQ(attack(eq, 0), 0.02);

    CWriteSeqBuffer out;
    ASSERT_TRUE(succeeded(eq.instance.saveState(out)));
    master.setCurrentProgram(1);
    master.setCurrentProgram(0);
    EXPECT_EQ(attack(eq, 3), 0.02);
    const CByteArray bytes = out.getContents();
    CTestEqualizer fresh;
    CMemoryReader reader(bytes);
    ASSERT_TRUE(succeeded(fresh.instance.loadState(reader)));
    EXPECT_EQ(attack(fresh, 0), 0.02);
    EXPECT_EQ(attack(fresh, 3), 0.02);

    setMode(0, 7);
    EXPECT_EQ(attack(eq, 0), 0.005) << "beyond the list: the definition's own";
}

TEST(State, BandsOfOneGroupGoToAnother)
{
    CTestEqualizer eq;
    eq.set(kEq + "eq-params.band-count", 2, 1);
    eq.setBand(1, 0, 1, 440.0, 2.0);
    eq.setBand(1, 1, 4, 3000.0, 0.5);
    CAudioParamRegistry& bands = *eq.instance.findRegistry("q7ne0");
    const CByteArray bytes = state(bands, 1);
    eq.setBand(1, 0, 0, 100.0, 1.0);
    CMemoryReader reader(bytes);
    ASSERT_TRUE(succeeded(bands.activatePreset(reader, CAudioPresetScope::storable, 5)));
    const CAudioParam& freq = *eq.instance.findParam(CStringBuf(kEq + "eq-params.freq"));
    EXPECT_EQ(freq.getValue(5, 0), 440.0);
    EXPECT_EQ(freq.getValue(5, 1), 3000.0);
    EXPECT_EQ(freq.getValue(1, 0), 100.0);
    EXPECT_EQ(eq.instance.bandCount(5), 2);
    CMemoryReader again(bytes);
    EXPECT_EQ(eq.instance.registry().activatePreset(again, CAudioPresetScope::storable).message(),
              "Incompatible preset.");
}

}
}
