// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioPresetBank.h"
#include "Core/CMemoryReader.h"
#include "StreamsInMemory.h"
#include "Support/CFreshDataFolders.h"
#include "Support/CTestTree.h"

#include <rapidcheck/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <sys/resource.h>

namespace kor::test
{
namespace
{

using namespace std::string_literals;

// The stored form by hand.
std::string u32(std::uint32_t value)
{
    std::string bytes;
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

std::string str(const std::string& utf8)
{
    return u32(static_cast<std::uint32_t>(utf8.size())) + utf8;
}

CByteArray bytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

CStringBuf fromUtf8(const std::string& text)
{
    return CStringBuf::fromUtf8(text);
}

template <class Content>
std::string saved(const Content& content)
{
    CMemoryOut out;
    EXPECT_TRUE(succeeded(content.save(out)));
    return {out.bytes.begin(), out.bytes.end()};
}

template <class Content>
CError loaded(Content& content, const std::string& body)
{
    CMemoryIn in(bytesOf(body));
    return content.load(in);
}

const std::string smallPreset = str("q7ne:Two") + u32(2) + str("a.b") + u32(3) + "xyz" + str("b") + u32(0);

// A file of the container with this tag.
std::string fileWith(const CFreshDataFolders& folders, std::uint32_t tag, const std::string& body)
{
    CMemoryOut out;
    EXPECT_TRUE(succeeded(out.writeCompressedData(body.data(), static_cast<std::int64_t>(body.size()), tag)));
    const std::string path = folders.root() + "content";
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(out.bytes.data()),
                                                static_cast<std::streamsize>(out.bytes.size()));
    return path;
}

long peakMegabytes()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

// Reads a body as each of the three kinds; what loads must save and load again as the same.
void readAsEverything(const std::string& body)
{
    CAudioPreset preset;
    if (CError failed = loaded(preset, body); !failed)
    {
        CAudioPreset again;
        ASSERT_TRUE(succeeded(loaded(again, saved(preset))));
        ASSERT_EQ(saved(again), saved(preset));
    }
    CAudioPresetBank bank;
    loaded(bank, body).ignore();
    CArray<CAudioPresetBank> list;
    CMemoryIn in(bytesOf(body));
    CAudioPresetBank::loadList(in, list).ignore();
}

}

TEST(Presets, BodiesHaveTheStoredForm)
{
    CAudioPreset preset;
    preset.setName("q7ne:Two");
    preset.entries()["b"];
    preset.entries()["a.b"] = bytesOf("xyz");
    EXPECT_EQ(saved(preset), smallPreset);

    CAudioPresetBank bank;
    bank.name = fromUtf8("B\xC3\xA4nk");
    EXPECT_EQ(saved(bank), str("B\xC3\xA4nk") + u32(0));
    bank.append() = preset;
    bank.append().setName("x");
    const std::string body = str("B\xC3\xA4nk") + u32(2) + smallPreset + str("x") + u32(0);
    EXPECT_EQ(saved(bank), body);

    CMemoryOut list;
    EXPECT_TRUE(succeeded(CAudioPresetBank::saveList(list, {bank, CAudioPresetBank()})));
    EXPECT_EQ(std::string(list.bytes.begin(), list.bytes.end()), u32(2) + body + str("") + u32(0));
}

TEST(Presets, LoadTakesWhatStandsThereAndNoByteMore)
{
    CMemoryIn in(bytesOf(smallPreset + "behind"));
    CAudioPreset preset;
    preset.entries()["old"];
    ASSERT_TRUE(succeeded(preset.load(in)));
    EXPECT_EQ(in.left(), 6u);
    EXPECT_EQ(saved(preset), smallPreset);

    // Of a repeated key the last counts; keys come out in order, narrow and wide alike.
    const std::string shuffled = str("n") + u32(4) + str("\xC5\x81") + u32(1) + "1" + str("b") + u32(1) + "2" +
                                 str("\xC3\xA9") + u32(1) + "3" + str("b") + u32(1) + "4";
    ASSERT_TRUE(succeeded(loaded(preset, shuffled)));
    EXPECT_EQ(saved(preset), str("n") + u32(3) + str("b") + u32(1) + "4" + str("\xC3\xA9") + u32(1) + "3" +
                                 str("\xC5\x81") + u32(1) + "1");

    CArray<CAudioPresetBank> banks(3);
    CMemoryIn none(bytesOf(u32(0)));
    EXPECT_TRUE(succeeded(CAudioPresetBank::loadList(none, banks)));
    EXPECT_TRUE(banks.empty());
}

TEST(Presets, NamesHaveAnIdAndATitle)
{
    for (const auto& [name, id, title] : {std::tuple{"KRIO:Dual Mono", "KRIO", "Dual Mono"},
                                          std::tuple{"Plain", "", "Plain"}, std::tuple{":x", "", "x"},
                                          std::tuple{"a:b:c", "a", "b:c"}, std::tuple{"", "", ""}})
    {
        EXPECT_EQ(CAudioPreset::idOf(name), id) << name;
        EXPECT_EQ(CAudioPreset::titleOf(name), title) << name;
    }
}

TEST(Presets, BanksAreCopiedWithTheirPresets)
{
    CAudioPresetBank bank;
    ASSERT_TRUE(succeeded(loaded(bank, str("B") + u32(1) + smallPreset)));
    CAudioPresetBank copy = bank;
    copy.preset(0).setName("other");
    EXPECT_EQ(bank.preset(0).name(), "q7ne:Two");
    bank = copy;
    EXPECT_EQ(saved(bank), saved(copy));
}

TEST(Presets, FilesAndResourcesLoadByTheirTag)
{
    const CFreshDataFolders folders;
    CAudioPreset preset;
    ASSERT_TRUE(succeeded(preset.loadFile(fromUtf8(fileWith(folders, fourCC("aprs"), smallPreset)))));
    EXPECT_EQ(saved(preset), smallPreset);

    CAudioPresetBank bank;
    const std::string bankBody = str("") + u32(1) + smallPreset;
    const std::string bankFile = fileWith(folders, fourCC("abnk"), bankBody);
    ASSERT_TRUE(succeeded(bank.loadFile(fromUtf8(bankFile))));
    EXPECT_EQ(saved(bank), bankBody);
    EXPECT_EQ(preset.loadFile(fromUtf8(bankFile)).message(),
              "Invalid ID encountered when reading compressed data (expected 1936879713, read 1802396257).");
    EXPECT_EQ(saved(preset), smallPreset);

    std::ifstream stream(bankFile, std::ios::binary);
    addTestResource("presets.cbf", {std::istreambuf_iterator<char>(stream), {}});
    EXPECT_TRUE(succeeded(bank.loadFile("presets.cbf")));
    EXPECT_EQ(bank.size(), 1u);
    EXPECT_TRUE(bank.loadFile("presets.missing"));
    EXPECT_EQ(bank.size(), 0u);
}

TEST(Presets, BrokenBodiesFailAndChangeNothing)
{
    const auto entry = [](const std::string& rest) { return str("n") + u32(1) + rest; };
    const struct
    {
        const char* what;
        std::string body;
        const char* message;
    } cases[] = {
        {"long name", u32(61441) + std::string(61441, 'x'), "String length 61441 too long in readString()."},
        {"long key", entry(u32(0xFFFFFFFF)), "String length 4294967295 too long in readString()."},
        {"short block", entry(str("k") + u32(4) + "abc"), "end"},
        {"huge block", entry(str("k") + u32(0xFFFFFFFF) + "abc"), "end"},
        {"many entries", str("n") + u32(0xFFFFFFFF) + str("k") + u32(0), "end"},
        {"nothing", "", "end"},
    };
    const long before = peakMegabytes();
    for (const auto& c : cases)
    {
        CAudioPreset preset;
        ASSERT_TRUE(succeeded(loaded(preset, smallPreset)));
        EXPECT_EQ(loaded(preset, c.body).message(), c.message) << c.what;
        EXPECT_EQ(saved(preset), smallPreset) << c.what;
        CAudioPresetBank bank;
        ASSERT_TRUE(succeeded(loaded(bank, str("B") + u32(1) + smallPreset)));
        EXPECT_EQ(loaded(bank, str("new") + u32(0xFFFFFFFF) + c.body).message(), c.message) << c.what;
        EXPECT_EQ(saved(bank), str("B") + u32(1) + smallPreset) << c.what;
        CArray<CAudioPresetBank> list = {bank};
        CMemoryIn in(bytesOf(u32(0xFFFFFFFF) + str("new") + u32(0xFFFFFFFF) + c.body));
        EXPECT_EQ(CAudioPresetBank::loadList(in, list).message(), c.message) << c.what;
        ASSERT_EQ(list.size(), 1u) << c.what;
        EXPECT_EQ(saved(list[0]), saved(bank)) << c.what;
    }
    EXPECT_LT(peakMegabytes() - before, 64) << "a count was believed before its bytes were there";
}

// What a body can blow up to: the smallest things there are, each with its own bytes, as a few kilobytes of zlib stream
// can bring them. An object in memory takes no more than a small multiple of its bytes.
TEST(Presets, TheSmallestThingsTakeMemoryByTheirBytes)
{
#if defined(KOR_SANITIZE)
    constexpr long mostPerByte = 100;
#else
    constexpr long mostPerByte = 32;
#endif
    constexpr std::uint32_t count = 100000;
    const std::string zeros(8 * count, '\0');
    std::string entries = str("n") + u32(count);
    for (std::uint32_t i = 0; i < count; ++i)
        entries += str(std::string(1, static_cast<char>('0' + i % 64)) + static_cast<char>('0' + i / 64 % 64) +
                       static_cast<char>('0' + i / 4096)) + u32(0);
    const auto bankOf = [](const std::string& body) { CAudioPresetBank bank; EXPECT_TRUE(succeeded(loaded(bank, body))); };
    const auto listOf = [](const std::string& body)
    {
        CArray<CAudioPresetBank> list;
        CMemoryIn in(bytesOf(body));
        EXPECT_TRUE(succeeded(CAudioPresetBank::loadList(in, list)));
    };
    const auto presetOf = [](const std::string& body) { CAudioPreset made; EXPECT_TRUE(succeeded(loaded(made, body))); };
    const struct
    {
        const char* what;
        std::string body;
        std::function<void(const std::string&)> load;
    } cases[] = {{"presets", u32(0) + u32(count) + zeros, bankOf},
                 {"banks", u32(count) + zeros, listOf},
                 {"entries", entries, presetOf}};
    const long before = peakMegabytes();
    std::size_t largest = 0;
    for (const auto& c : cases)
    {
        largest = std::max(largest, c.body.size());
        c.load(c.body);
        EXPECT_LT((peakMegabytes() - before) * 1048576, static_cast<long>(largest) * mostPerByte) << c.what;
    }
}

RC_GTEST_PROP(Presets, LoadAfterSaveGivesTheSame, ())
{
    const auto text = [] {
        CStringBuf made;
        for (int i = *rc::gen::inRange(0, 12); i > 0; --i)
            switch (*rc::gen::inRange(0, 3))
            {
            case 0: made.append(static_cast<char16_t>(*rc::gen::inRange(1, 256))); break;
            case 1: made.append(static_cast<char16_t>(*rc::gen::inRange(256, 0xD800))); break;
            default:
                made.append(static_cast<char16_t>(*rc::gen::inRange(0xD800, 0xDC00)));
                made.append(static_cast<char16_t>(*rc::gen::inRange(0xDC00, 0xE000)));
            }
        return made;
    };
    CAudioPresetBank bank;
    bank.name = text();
    for (int p = *rc::gen::inRange(0, 4); p > 0; --p)
    {
        CAudioPreset& preset = bank.append();
        preset.setName(text());
        for (int e = *rc::gen::inRange(0, 8); e > 0; --e)
        {
            CByteArray& block = preset.entries()[text()];
            block.resize(*rc::gen::element<std::size_t>(0, 1, 48, 49, 65535, 65536, 65537, 100000));
            for (std::size_t i = 0; i < block.size(); ++i)
                block[i] = static_cast<unsigned char>(i * 2654435761u >> 13);
        }
    }
    CAudioPresetBank again;
    RC_ASSERT(!loaded(again, saved(bank)));
    RC_ASSERT(again.name == bank.name);
    RC_ASSERT(again.size() == bank.size());
    for (std::size_t i = 0; i < bank.size(); ++i)
    {
        RC_ASSERT(again.preset(i).name() == bank.preset(i).name());
        RC_ASSERT(again.preset(i).entries() == bank.preset(i).entries());
    }
}

TEST(Presets, EveryTruncationOfABodyFails)
{
    const std::string list = u32(1) + str("B") + u32(2) + smallPreset + smallPreset;
    for (std::size_t size = 0; size < list.size(); ++size)
    {
        CArray<CAudioPresetBank> banks;
        CMemoryIn in(bytesOf(list.substr(0, size)));
        EXPECT_TRUE(CAudioPresetBank::loadList(in, banks)) << size;
        EXPECT_TRUE(banks.empty());
    }
}

TEST(Presets, DamagedBodiesFailOrLoadAsAPreset)
{
    const std::string start[] = {smallPreset, str("B") + u32(2) + smallPreset + smallPreset,
                                 u32(1) + str("B") + u32(1) + smallPreset};
    for (const std::string& body : start)
        for (std::size_t bit = 0; bit < body.size() * 8; ++bit)
        {
            std::string damaged = body;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
            readAsEverything(damaged);
        }

    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(std::getenv("MORVA_LONG") != nullptr ? 60000 : 300);
    std::mt19937 random(20261122);
    while (std::chrono::steady_clock::now() < end)
    {
        std::string body = start[random() % std::size(start)];
        for (std::size_t i = 1 + random() % 6; i > 0; --i)
        {
            const std::size_t at = random() % (body.size() + 1);
            if (random() % 2 == 0)
                body.insert(at, u32(static_cast<std::uint32_t>(random() >> random() % 32)));
            else
                body.erase(at, random() % 8);
        }
        readAsEverything(body);
    }
}

}
