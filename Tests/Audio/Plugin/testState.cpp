// SPDX-License-Identifier: GPL-3.0-or-later
// The product's whole state as presets: what is in it, that it comes back, and what follows the dynamics mode.
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "StateTestKit.h"
#include "Support/CTestTree.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <set>
#include <tuple>

namespace kor::test
{
namespace
{

const std::string kEq = "modMorvaEQ.";
const std::string kDyn = kEq + "dyn-params.";

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
            bank.append() = presetOf(captured(*eq.instance.findRegistry("q7ne1"), 0));
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
    const CAudioPreset preset = presetOf(captured(eq.instance.registry()));
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

// One takes random states, saved as a host keeps them; the other is what it was left with by the state before.
TEST(State, ComesBackInAnyInstance)
{
    CTestEqualizer eq;
    CTestEqualizer other;
    const unsigned last = std::getenv("MORVA_LONG") != nullptr ? 40 : 4;
    for (unsigned seed = 1; seed <= last; ++seed)
    {
        SCOPED_TRACE(seed);
        scatter(eq.instance, seed);
        eq.instance.registry().renamePreset(0, CStringBuf(u"\u00e9\u4e2d\xd83c\xdf9b ") + CStringBuf::fromInt(seed));
        const CStateSnapshot expected = snapshot(eq.instance, CSnapshotOf::projects);
        CWriteSeqBuffer out;
        ASSERT_TRUE(succeeded(eq.instance.saveState(out)));
        const CByteArray bytes = out.getContents();
        CMemoryReader reader(bytes);
        ASSERT_TRUE(succeeded(other.instance.loadState(reader)));
        EXPECT_EQ(differences(snapshot(other.instance, CSnapshotOf::projects), expected), "");
        CWriteSeqBuffer again;
        ASSERT_TRUE(succeeded(other.instance.saveState(again)));
        EXPECT_TRUE(again.getContents() == bytes);
    }
}

// The presets that the product brings, on a whole instance, by the way that a user's own would take.
TEST(State, EveryBuiltInPresetSurvivesSavingAndLoading)
{
    CTestEqualizer eq;
    CTestEqualizer other;                           // is left with something by each
    scatter(other.instance, 7);
    const auto check = [&](const CStringBuf& id, const CAudioPreset& preset)
    {
        SCOPED_TRACE(preset.name().toUtf8());
        CAudioParamRegistry& from = *eq.instance.findRegistry(id);
        ASSERT_EQ(activate(from, bodyOf(preset)), "");
        const CByteArray body = captured(from);
        const CAudioPreset now = presetOf(body);
        // Routings with a side chain name three keys that this product has no parameters for.
        const std::set<CStringBuf> elsewhere = {"oversampling", "sidechain", "sidechain-mute"};
        for (const auto& [key, block] : preset.entries())
            EXPECT_TRUE(now.entries().contains(key) || (id == "KRIO" && elsewhere.contains(key))) << key.toUtf8();
        ASSERT_EQ(activate(*other.instance.findRegistry(id), body, everyIndex, CAudioPresetScope::storableAndPersistent),
                  "");
        EXPECT_TRUE(captured(*other.instance.findRegistry(id)) == body);
        // With the rest of the state taken over, all is the same, to the last bit.
        ASSERT_EQ(activate(other.instance.registry(), captured(eq.instance.registry()), everyIndex,
                           CAudioPresetScope::storableAndPersistent),
                  "");
        ASSERT_EQ(activate(*other.instance.findRegistry(id), body), "");
        EXPECT_EQ(differences(snapshot(other.instance, CSnapshotOf::projects),
                              snapshot(eq.instance, CSnapshotOf::projects)),
                  "");
    };
    CAudioPresetBank factory;
    ASSERT_TRUE(succeeded(factory.loadFile("FactoryROM.cbf")));
    ASSERT_EQ(factory.size(), 11u);
    for (std::size_t i = 0; i < factory.size(); ++i)
        check("q7ne", factory.preset(i));
    const struct
    {
        CApplicationData& store;
        const char* name;
        const char* id;
        std::size_t count;
    } lists[] = {{CGlobalData::instance(), "routing-presets-sys", "KRIO", 10},
                 {CGlobalData::instance(), "spectrum-presets", "KRSP", 8},
                 {CGlobalData::instance(), "eqareas-presets", "KREA", 5},
                 {CLocalData::instance(), "dynmode-presets", "q7ne1", 3}};
    for (const auto& list : lists)
    {
        const CAudioPresetBank bank = builtInList(list.store, list.name);
        ASSERT_EQ(bank.size(), list.count) << list.name;
        for (std::size_t i = 0; i < bank.size(); ++i)
            check(list.id, bank.preset(i));
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
    const CByteArray body = captured(bands, 1);
    eq.setBand(1, 0, 0, 100.0, 1.0);
    ASSERT_EQ(activate(bands, body, 5), "");
    const CAudioParam& freq = *eq.instance.findParam(CStringBuf(kEq + "eq-params.freq"));
    EXPECT_EQ(freq.getValue(5, 0), 440.0);
    EXPECT_EQ(freq.getValue(5, 1), 3000.0);
    EXPECT_EQ(freq.getValue(1, 0), 100.0);
    EXPECT_EQ(eq.instance.bandCount(5), 2);
}

// One parameter's block, put down field by field.
CByteArray blockOf(std::initializer_list<std::uint32_t> head, const std::vector<std::vector<double>>& groups)
{
    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(out.writeString("audio.old.place")));
    for (const std::uint32_t field : head)
        EXPECT_TRUE(succeeded(out.writeU32(field)));
    for (const std::vector<double>& group : groups)
    {
        EXPECT_TRUE(succeeded(out.writeU32(static_cast<std::uint32_t>(group.size()))));
        for (const double value : group)
            EXPECT_TRUE(succeeded(out.writeDouble(value)));
    }
    return out.getContents();
}

// Files of other versions, other products and no product at all, over a state that is in use.
TEST(State, OldAndForeignStatesDoWhatTheyCan)
{
    const std::string freq = kEq + "eq-params.freq";
    const std::string attack = kDyn + "attack";
    const std::string title = kEq + "eqareas-params.title";
    using CValues = std::vector<std::tuple<std::string, int, int, double>>;     // key, group, element, value
    struct CRow
    {
        const char* what;
        std::function<void(CAudioPreset&)> change;
        std::string message;
        CValues values;
    };
    const auto put = [](const std::string& key, CByteArray block)
    { return [=](CAudioPreset& preset) { preset.entries()[CStringBuf(key)] = block; }; };
    const CByteArray good = blockOf({1, 1, 0, 1}, {{440.0}});
    const CValues all = {{"io-params.grouping", 0, 1, 3}, {freq, 0, 0, 700}, {freq, 5, 3, 800}, {"modOutGain.gain", 0, 0, 0.5}};
    const CValues upToMisfit = {{"io-params.grouping", 0, 1, 3}, {freq, 0, 0, 90}, {freq, 5, 3, 90}, {"modOutGain.gain", 0, 0, 2}};
    const CRow rows[] = {
        {"as it is", [](CAudioPreset&) {}, "", all},
        {"a single key", [&](CAudioPreset& preset) { preset.entries().clear(); put(freq, good)(preset); }, "",
         {{"io-params.grouping", 0, 1, 0}, {freq, 0, 0, 440}, {"modOutGain.gain", 0, 0, 1}}},
        {"no keys", [](CAudioPreset& preset) { preset.entries().clear(); }, "",
         {{"io-params.grouping", 0, 1, 0}, {freq, 0, 0, 31}, {"modOutGain.gain", 0, 0, 1}}},
        {"a later version's key", put(kEq + "eq-params.slope2", blockOf({7, 9, 9, 9}, {})), "", all},
        {"keys that are no names", put("^^modOutGain..gain{}", good), "", all},
        {"two groups", put(freq, blockOf({1, 1, 0, 2}, {{}, {80, 90}})), "", {{freq, 1, 1, 90}, {"modOutGain.gain", 0, 0, 0.5}}},
        {"more groups", put(freq, blockOf({1, 1, 0, 9}, {{80}, {}, {}, {}, {}, {}, {}, {81}, {82}})), "",
         {{freq, 0, 0, 80}, {freq, 7, 0, 81}}},
        {"out of range", put(freq, blockOf({1, 1, 0, 1}, {{-5, 1e300, std::nan("")}})), "",
         {{freq, 0, 0, 20}, {freq, 0, 1, 96000}, {freq, 0, 2, 20}}},
        {"own times", put(attack, blockOf({1, 1, 0, 2}, {{0.007}, {0.009}})), "",
         {{attack, 0, 0, 0.007}, {attack, 1, 0, 0.009}, {kDyn + "release", 0, 0, 0.05}}},
        {"another product", [](CAudioPreset& preset) { preset.setName("KRIO:Stereo"); }, "Incompatible preset.",
         {{"io-params.grouping", 0, 1, 1}, {freq, 0, 0, 90}, {"modOutGain.gain", 0, 0, 2}}},
        {"no product", [](CAudioPreset& preset) { preset.setName("q7ne"); }, "Incompatible preset.", {{freq, 0, 0, 90}}},
        {"element size", put(freq, blockOf({1, 2, 0, 1}, {{440, 440}})),
         "Unsupported storage format (esize=2, dtype=0; should be: esize=1, dtype=0).", upToMisfit},
        {"type", put(freq, blockOf({1, 1, 1, 0, 0}, {})),
         "Unsupported storage format (esize=1, dtype=1; should be: esize=1, dtype=0).", upToMisfit},
        {"version", put(freq, blockOf({2, 1, 0, 1}, {{440}})), "Unsupported data set version 2.", upToMisfit},
        {"item type", put(title, blockOf({1, 1, 1, 1, 1, 1, 7}, {})), "Unknown data type 7 encountered",
         {{freq, 0, 0, 700}, {"modOutGain.gain", 0, 0, 2}}},
        {"cut", put(freq, blockOf({1, 1, 0, 2}, {{440}})),
         "Premature end of memory resource while reading (pos 47, count 4, size 47).", upToMisfit},
    };
    CTestEqualizer eq;
    CAudioParamRegistry& master = eq.instance.registry();
    eq.set("io-params.grouping", 3, 0, 1);
    eq.set(freq, 700);
    eq.set(freq, 800, 5, 3);
    eq.set("modOutGain.gain", 0.5);
    eq.set(kEq + "dynmode", 1, 0);
    const CByteArray stored = captured(master);
    master.renamePreset(0, "Live");
    for (const CRow& row : rows)
    {
        SCOPED_TRACE(row.what);
        eq.set("io-params.grouping", 1, 0, 1);
        for (const auto& [group, element] : {std::pair(0, 0), std::pair(5, 3)})
            eq.set(freq, 90, group, element);
        eq.set("modOutGain.gain", 2);
        master.renamePreset(0, "Live");
        CAudioPreset preset = presetOf(stored);
        row.change(preset);
        EXPECT_EQ(activate(master, bodyOf(preset), everyIndex, CAudioPresetScope::storableAndPersistent), row.message);
        for (const auto& [key, group, element, value] : row.values)
            EXPECT_DOUBLE_EQ(eq.instance.findParam(CStringBuf(key))->getValue(group, element), value) << key;
        EXPECT_EQ(master.getProgramName(0).toUtf8(), row.message.empty() ? "q7ne:Default" : "q7ne:Live");
    }
}

}
}
