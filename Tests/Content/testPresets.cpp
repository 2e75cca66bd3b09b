// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioPresetBank.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "SharedTree.h"
#include "Support/CPresetContent.h"

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

namespace kor::test
{

namespace
{

using nlohmann::json;

json readReference(const char* name)
{
    return json::parse(std::ifstream(std::string(MORVA_TEST_REFERENCE "/") + name));
}

/// Numbers to rounding. One element stands for any number of equal ones, one group for eight.
bool isSame(const json& got, const json& want, std::size_t repeats)
{
    if (want.is_number() && got.is_number())
        return std::abs(got.get<double>() - want.get<double>()) <= 1e-12 * std::abs(want.get<double>());
    if (!want.is_array() || !got.is_array())
        return got == want;
    const bool isRepeated = want.size() == 1 && got.size() > 1;
    if (isRepeated ? repeats != 0 && got.size() != repeats : got.size() != want.size())
        return false;
    for (std::size_t i = 0; i < got.size(); ++i)
        if (!isSame(got[i], want[isRepeated ? 0 : i], 0))
            return false;
    return true;
}

/// The one bank of a resource, be it a bank or a list.
void load(const json& resource, CAudioPresetBank& bank)
{
    const CStringBuf name(std::string_view(resource.at("name").get_ref<const std::string&>()));
    if (resource.at("tag") == "abnk")
    {
        ASSERT_TRUE(succeeded(bank.loadFile(name)));
        return;
    }
    CResourceReader file;
    CByteArray body;
    CArray<CAudioPresetBank> banks;
    ASSERT_TRUE(succeeded(file.open(name)));
    ASSERT_TRUE(succeeded(file.readCompressedData(body, CAudioPresetBank::listId)));
    CMemoryReader reader(body);
    ASSERT_TRUE(succeeded(CAudioPresetBank::loadList(reader, banks)));
    ASSERT_EQ(banks.size(), 1u);
    bank = std::move(banks[0]);
}

}

// What users find after the installation, in projects and in lists, is known by these names and values.
TEST_F(SharedTree, HoldsThePresetsOfTheProduct)
{
    int valuesCompared = 0;
    const json reference = readReference("presets.json");
    const json none = json::object();
    const auto part = [&none](const json& preset, const char* name) -> const json&
    { return preset.contains(name) ? preset.at(name) : none; };
    for (const json& resource : reference.at("resources"))
    {
        CAudioPresetBank bank;
        ASSERT_NO_FATAL_FAILURE(load(resource, bank)) << resource.at("name");
        EXPECT_EQ(bank.name.toUtf8(), resource.at("bank"));
        ASSERT_EQ(bank.size(), resource.at("presets").size()) << resource.at("name");
        for (std::size_t i = 0; i < bank.size(); ++i)
        {
            const CAudioPreset& preset = bank.preset(i);
            const json& want = resource.at("presets")[i];
            EXPECT_EQ(preset.name().toUtf8(), want.at("name"));
            EXPECT_EQ(preset.entries().size(), want.at("count")) << want.at("name");
            for (const auto& [key, values] : part(want, "values").items())
            {
                const json got = valuesOf(preset, key);
                EXPECT_TRUE(isSame(got, values, 8)) << want.at("name") << ' ' << key << ": " << got.dump();
                ++valuesCompared;
            }
            for (const auto& [key, sizes] : part(want, "group-sizes").items())
            {
                json got = valuesOf(preset, key);
                for (json& group : got)
                    group = group.size();
                EXPECT_EQ(got, sizes) << want.at("name") << ' ' << key;
            }
            for (const auto& [title, area] : part(want, "titles").items())
                EXPECT_EQ(valuesOf(preset, "title")[0][area.get<std::size_t>()], title) << want.at("name");
        }
    }
    EXPECT_GT(valuesCompared, 200);
}

// A key that the program does not know is lost without a word, and a band that a list forgets sounds as its default.
TEST_F(SharedTree, FactoryProgramsSayAllOfTheirBandsUnderKnownKeys)
{
    const std::set<std::string> known = readReference("tree.json").at("state-keys");
    CAudioPresetBank bank;
    ASSERT_TRUE(succeeded(bank.loadFile("FactoryROM.cbf")));
    for (std::size_t p = 0; p < bank.size(); ++p)
    {
        const CAudioPreset& preset = bank.preset(p);
        const std::string name = preset.name().toUtf8();
        for (const auto& [key, block] : preset.entries())
        {
            CPresetContent content;
            EXPECT_TRUE(succeeded(content.read(block))) << name << ' ' << key.toUtf8();
            EXPECT_EQ(content.path, "audio.modMain." + key.toUtf8());
            EXPECT_EQ(content.elementSize, 1u);
            EXPECT_TRUE(known.contains(key.toUtf8())) << name << ' ' << key.toUtf8();
        }
        const json counts = valuesOf(preset, "modMorvaEQ.eq-params.band-count");
        ASSERT_EQ(counts.size(), 8u) << name;
        for (const char* key : {"mode", "prevmode", "freq", "gain", "bw", "dyn"})
        {
            const json lists = valuesOf(preset, std::string("modMorvaEQ.eq-params.") + key);
            ASSERT_EQ(lists.size(), 8u) << name;
            for (std::size_t g = 0; g < 8; ++g)
                EXPECT_GE(lists[g].size(), counts[g][0].get<std::size_t>()) << name << ' ' << key << " group " << g;
        }
    }
}

// Areas cover what their names say: a note lies a quarter tone to both sides of its pitch, octaves join without a gap.
TEST_F(SharedTree, AreasLieWhereTheirNamesSay)
{
    CAudioPresetBank bank;
    ASSERT_NO_FATAL_FAILURE(load({{"name", "AppDataGlobal_eqareas-presets"}, {"tag", "alst"}}, bank));
    const struct
    {
        std::size_t preset;
        double lowest;          // lower edge of the first area
        double step;            // from each area to the next, and from lower edge to upper
    } rows[] = {{1, 55.0 * std::exp2(-1.0 / 24.0), std::exp2(1.0 / 12.0)}, {4, 31.25 / std::sqrt(2.0), 2.0}};
    for (const auto& row : rows)
    {
        const json low = valuesOf(bank.preset(row.preset), "lowfreq")[0];
        const json high = valuesOf(bank.preset(row.preset), "highfreq")[0];
        for (std::size_t i = 0; i < low.size(); ++i)
        {
            const double edge = row.lowest * std::pow(row.step, static_cast<double>(i));
            EXPECT_NEAR(low[i].get<double>() / edge, 1.0, 3e-4) << i;       // half a cent: two decimals in the source
            EXPECT_NEAR(high[i].get<double>() / edge, row.step, 6e-4) << i;
        }
    }
    const json titles = valuesOf(bank.preset(1), "title")[0];
    const std::string names[] = {"A", "A#", "B", "C", "C#", "D", "D#", "E", "F", "F#", "G", "G#"};
    for (std::size_t i = 0; i < titles.size(); ++i)
        EXPECT_EQ(titles[i], names[i % 12] + std::to_string(1 + (i + 9) / 12));
    for (std::size_t p = 0; p < bank.size(); ++p)
    {
        const json low = valuesOf(bank.preset(p), "lowfreq")[0];
        const json high = valuesOf(bank.preset(p), "highfreq")[0];
        const json row = valuesOf(bank.preset(p), "vertpos")[0];
        const json height = valuesOf(bank.preset(p), "height")[0];
        for (std::size_t i = 0; i < low.size(); ++i)
        {
            EXPECT_LT(low[i], high[i]) << bank.preset(p).name().toUtf8() << ' ' << i;
            EXPECT_LE(row[i].get<double>() + height[i].get<double>(), 12.0);
        }
    }
}

}
