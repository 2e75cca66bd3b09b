// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Content/SharedTree.h"
#include "Core/CWriteSeqBuffer.h"
#include "PresetText/CPresetDefinitions.h"
#include "PresetText/CPresetTextReader.h"
#include "PresetText/PresetTextWriter.h"
#include "PresetText/PresetValueText.h"

#include <rapidcheck/gtest.h>

#include <bit>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <random>

namespace kor::test
{
namespace
{

using PresetText = SharedTree;

CStringBuf fromUtf8(const std::string& text)
{
    return CStringBuf::fromUtf8(text);
}

CError read(CPresetFile& file, const std::string& text)
{
    const std::string name = "t.txt";
    return CPresetTextReader(name, text).read(file);
}

// The block of the only entry of a text.
CByteArray blockOf(const std::string& head, const std::string& line)
{
    CPresetFile file;
    EXPECT_TRUE(succeeded(read(file, "preset \"" + head + "\"\n" + line + "\n"))) << line;
    if (file.banks.empty() || file.banks[0].preset(0).entries().size() != 1)
        return {};
    return file.banks[0].preset(0).entries().begin()->second;
}

// Stored blocks by hand, from a list of 32-bit words, texts and doubles.
struct CBytes
{
    CBytes& u(std::initializer_list<std::uint32_t> words)
    {
        for (const std::uint32_t word : words)
            EXPECT_FALSE(out.writeU32(word));
        return *this;
    }
    CBytes& d(std::initializer_list<double> values)
    {
        for (const double value : values)
            EXPECT_FALSE(out.writeDouble(value));
        return *this;
    }
    CBytes& s(const char* text)
    {
        EXPECT_FALSE(out.writeString(fromUtf8(text)));
        return *this;
    }
    operator CByteArray() const { return out.getContents(); }
    CWriteSeqBuffer out;
};

CByteArray bodyOf(const CPresetFile& file)
{
    CByteArray body;
    EXPECT_TRUE(succeeded(file.writeBody(body)));
    return body;
}

const char* const storedKeys[] = {
    "modMorvaEQ.eq-params.gain",  "modMorvaEQ.eq-params.freq",       "modMorvaEQ.eq-params.bw",
    "modMorvaEQ.eq-params.dyn",   "modMorvaEQ.dyn-params.attack",    "modMorvaEQ.spectrum-params.slope",
    "modMorvaEQ.eq-params.mode",  "modMorvaEQ.spectrum-params.type", "io-params.group-names",
    "io-params.show-all-channels", "modMorvaEQ.dynmode",             "modMorvaEQ.specstatic-params.data",
    "modMorvaEQ.spectrum-params.block-size", "no.such.parameter", "^^x", "A b\xC3\xA9\xF0\x9F\x8E\xB5\"\\\n"};

double anyNumber(std::mt19937_64& random, const CAudioParamInfo* info)
{
    const double special[] = {0.0, -0.0, 1.0, 2.51188643150958, std::numeric_limits<double>::infinity(),
                              std::nan("7"), 5e-324, -1.7e308, 16.0, 1e15};
    switch (random() % 4)
    {
    case 0: return special[random() % std::size(special)];
    case 1: return std::bit_cast<double>(random());
    case 2: return static_cast<double>(random() % 22);
    default:
        return info != nullptr && info->type == CAudioParamType::real
                   ? info->converter()->normalisedToReal(*info, 0, static_cast<double>(random() % 1001) / 1000.0)
                   : 0.5;
    }
}

// A block as a file may hold it: of the parameter's layout or another, its table in order or not, or nothing known.
CByteArray anyBlock(std::mt19937_64& random, const CStringBuf& id, const CStringBuf& key)
{
    CByteArray noise(random() % 80);
    for (unsigned char& byte : noise)
        byte = static_cast<unsigned char>(random());
    if (random() % 16 == 0)
        return noise;
    const CAudioParamInfo* info = CPresetDefinitions::find(id, key);
    auto type = static_cast<std::uint32_t>(info != nullptr ? info->type : CAudioParamType::real);
    if (random() % 8 == 0)
        type = static_cast<std::uint32_t>(random() % 3);
    const std::uint32_t size = type == 0 && random() % 8 == 0 ? 2 : 1;
    const auto groups = static_cast<std::uint32_t>(random() % 10);
    CBytes block;
    block.s(random() % 4 == 0 ? "audio.else" : CPresetDefinitions::definitionName(id, key).toUtf8().c_str());
    block.u({1, size, type, groups});
    const auto items = static_cast<std::uint32_t>(random() % 6);
    const bool isPlain = random() % 2 == 0;
    const std::uint32_t elements =
        isPlain ? (groups > 0 ? items / groups : 0) : static_cast<std::uint32_t>(random() % 5);
    if (type != 0)
    {
        const std::uint32_t count = isPlain ? elements * groups : items;
        block.u({count});
        for (std::uint32_t i = 1; i <= count; ++i)
        {
            const std::uint32_t kind = isPlain ? type : 1 + static_cast<std::uint32_t>(random() % 2);
            block.u({isPlain ? i : static_cast<std::uint32_t>(random() % 9), kind});
            if (kind == 1)
                block.s(random() % 2 == 0 ? "Left" : "a, b; \"\xE2\x80\xA8#\xED\xA0\x80 \xC3\xBC\x07");
            else
            {
                block.u({static_cast<std::uint32_t>(noise.size())});
                EXPECT_FALSE(block.out.write(noise.data(), static_cast<std::int64_t>(noise.size())));
            }
        }
    }
    std::uint32_t next = 0;
    for (std::uint32_t g = 0; g < groups; ++g)
    {
        block.u({elements});
        for (std::uint32_t e = 0; e < elements * size; ++e)
            if (type == 0)
                block.d({anyNumber(random, info)});
            else
                block.u({isPlain ? ++next : static_cast<std::uint32_t>(random() % 9)});
    }
    CByteArray bytes = block;
    if (random() % 24 == 0)
        bytes.resize(bytes.size() - random() % std::min<std::size_t>(bytes.size(), 4));
    return bytes;
}

CPresetFile anyFile(std::mt19937_64& random)
{
    CPresetFile file;
    file.kind = static_cast<CPresetFileKind>(random() % 3);
    const bool isOne = file.kind == CPresetFileKind::preset;
    for (std::uint64_t b = file.kind == CPresetFileKind::list ? random() % 3 : 1; b > 0; --b)
    {
        CAudioPresetBank& bank = file.banks.emplace_back();
        bank.name = isOne ? "" : "Bank \"x\"";
        for (std::uint64_t p = isOne ? 1 : random() % 3; p > 0; --p)
        {
            CAudioPreset& preset = bank.append();
            preset.setName(random() % 4 == 0 ? "KRIO:a\n" : random() % 4 == 0 ? "nobody" : "q7ne:x");
            for (std::uint64_t e = random() % 12; e > 0; --e)
            {
                const CStringBuf key = fromUtf8(storedKeys[random() % std::size(storedKeys)]);
                preset.entries()[key] = anyBlock(random, CAudioPreset::idOf(preset.name()), key);
            }
        }
    }
    return file;
}

}

TEST_F(PresetText, ReadsWhatPeopleWrite)
{
    const char* const eq = "q7ne0:x";
    const std::string path = "audio.modMain.modMorvaEQ.eq-params.";
    const struct
    {
        const char* id;
        const char* line;
        CByteArray block;
    } cases[] = {
        {eq, "freq = 31 Hz, 2k, 10.5kHz", CBytes().s((path + "freq").c_str()).u({1, 1, 0, 1, 3}).d({31, 2000, 10500})},
        {eq, "gain = (0 dB*2, =2.5)*2 ; () # c",
         CBytes().s((path + "gain").c_str()).u({1, 1, 0, 3, 3}).d({1, 1, 2.5}).u({3}).d({1, 1, 2.5}).u({0})},
        {eq, "dyn = 100 %, 12.5,\n  # c\n  200%", CBytes().s((path + "dyn").c_str()).u({1, 1, 0, 1, 3}).d({1, .125, 2})},
        {eq, "mode = peaking, PeakInv, \"Peaking 8\"; 20",
         CBytes().s((path + "mode").c_str()).u({1, 1, 0, 2, 3}).d({1, 2, 15}).u({1}).d({20})},
        {eq, "bw = nothing # no groups", CBytes().s((path + "bw").c_str()).u({1, 1, 0, 0})},
        {"KRIO:x", "group-names at \"p\" = \"L\", \"\\u00e9\\\"\"*2",
         CBytes().s("p").u({1, 1, 1, 1, 3, 1, 1}).s("L").u({2, 1}).s("\xC3\xA9\"").u({3, 1}).s("\xC3\xA9\"")
             .u({3, 1, 2, 3})},
        {"KRIO:x", "\"group-names\" at \"p\" = [7: \"L\", 2: hex(0aF0\n 01 02)] (@2)*2; @7, @9",
         CBytes().s("p").u({1, 1, 1, 3, 2, 7, 1}).s("L").u({2, 2, 4, 0x0201F00A, 1, 2, 1, 2, 2, 7, 9})},
        {"KRIO:x", "sidechain : real[2] = 1|=2.5e1",
         CBytes().s("audio.modMain.io-params.sidechain").u({1, 2, 0, 1, 1}).d({1, 25})},
        {"KREA:x", "lowfreq = block( 01 02\n ff )", CByteArray{1, 2, 255}},
        {"KRSP:x", "block-size at \"\" = 65536, 5, 64", CBytes().s("").u({1, 1, 0, 1, 3}).d({10, 5, 0})},
        {"q7ne:x", "modMorvaEQ.dynmode = 2", CBytes().s("audio.modMain.modMorvaEQ.dynmode").u({1, 1, 0, 1, 1}).d({2})},
    };
    for (const auto& c : cases)
        EXPECT_EQ(blockOf(c.id, c.line), c.block) << c.line;
}

TEST_F(PresetText, NumbersAreShownInTheirUnit)
{
    // 20 log10 of a factor, seconds in milliseconds, shares in per cent.
    const struct
    {
        const char* key;
        double value;
        const char* text;
    } cases[] = {
        {"modMorvaEQ.eq-params.gain", 1.0, "0 dB"},
        {"modMorvaEQ.eq-params.gain", std::exp(-6.5 / 8.685889638065037), "-6.5 dB"},
        {"modMorvaEQ.eq-params.gain", 40.0, "=40"},
        {"modMorvaEQ.eq-params.freq", 15999.5, "15999.5 Hz"},
        {"modMorvaEQ.eq-params.dyn", 0.125, "12.5 %"},
        {"modMorvaEQ.dyn-params.attack", 0.0002, "0.2 ms"},
        {"modMorvaEQ.dyn-params.release", 0.1, "100 ms"},
        {"modMorvaEQ.eq-params.bw", 2.5, "2.5 Oct"},
        {"modMorvaEQ.eq-params.mode", 5.0, "Lo-shelf"},
        {"modMorvaEQ.eq-params.mode", 19.0, "19"},
        {"modMorvaEQ.eq-params.mode", 1.5, "=1.5"},
        {"modMorvaEQ.spectrum-params.smoothing", 1.0, "1/6 oct"},
    };
    for (const auto& c : cases)
    {
        const CAudioParamInfo* info = CPresetDefinitions::find("q7ne", c.key);
        ASSERT_NE(info, nullptr) << c.key;
        EXPECT_EQ(shownNumber(*info, 0, c.value), c.text);
    }
}

TEST_F(PresetText, MistakesAreToldWithTheirLine)
{
    const std::string head = "preset \"q7ne0:x\"\n";
    const std::pair<std::string, const char*> cases[] = {
        {"# nothing\n", "t.txt:2: nothing in it"},
        {"gain = 1\n", "t.txt:1: 'gain' stands in no preset"},
        {"preset \"a\nb\"\n", "t.txt:1: a text in quotes ends in its line"},
        {"preset \"a\" lke \"b\"", "t.txt:1: 'lke' does not belong here"},
        {"preset \"a\" like \"b\"", "t.txt:1: there is no preset \"b\" above"},
        {"preset \"a\"\npreset \"b\"", "t.txt:2: several presets need"},
        {"list\npreset \"a\"", "t.txt:2: a preset of a list stands in a bank"},
        {"bank \"\"\nbank \"\"", "t.txt:2: several banks need 'list'"},
        {head + "gain = 40 dB", "t.txt:2: gain: '40 dB' is outside of the range from -30.0 dB to 30.0 dB"},
        {head + "gain = \"loud\"", "t.txt:2: \"loud\" is a text"},
        {head + "\n\ngain = 1 ms", "t.txt:4: gain: '1 ms' is no number in dB"},
        {head + "gain = 1,, 2", "t.txt:2: a value is missing"},
        {head + "gain =", "t.txt:2: a value is missing"},
        {head + "gain 1", "t.txt:2: '=' is missing behind 'gain'"},
        {head + "gain = 1\ngain = 2", "t.txt:3: 'gain' is given twice"},
        {head + "gain = (1, 2", "t.txt:2: ')' is missing"},
        {head + "gain = 1 2 3\n", "t.txt:2: gain: '1 2 3' is no number in dB"},
        {head + "gain = 1 ) x\n", "t.txt:2: ')' does not belong here"},
        {head + "gain = =nan", "t.txt:2: gain: '=nan' is no stored number"},
        {head + "gain = 1*0", "t.txt:2: there are 1 to 65536 elements"},
        {head + "gain = 1*65536, 1", "t.txt:2: a group has at most 65536 elements"},
        {head + "gain = ()*65", "t.txt:2: there are 1 to 64 groups"},
        {head + "gain = ()*64; ()", "t.txt:2: a parameter has at most 64 groups"},
        {head + "mode = Loud", "t.txt:2: mode: 'Loud' is no state of this parameter"},
        {head + "mode = 21", "t.txt:2: mode: '21' is outside of the range from 0 to 20"},
        {head + "mode = \"a\\q\"", "t.txt:2: unknown escape"},
        {head + "mode = \"a\\u0000\"", "t.txt:2: unknown escape"},
        {head + "mode = \"\xFF\"", "t.txt:2: a text is not valid UTF-8"},
        {head + "gains = 1", "t.txt:2: there is no parameter 'gains' in presets of 'q7ne0'"},
        {head + "x : word = 1", "t.txt:2: behind ':' stands real, text or bytes"},
        {head + "x : bytes = hex(0)", "t.txt:2: bytes are pairs of hexadecimal digits"},
        {head + "x : text = [1: \"a\"] \"b\"", "t.txt:2: behind a table, an element is '@' and an id"},
        {head + "x : text = \"" + std::string(61441, 'x') + '"', "t.txt:2: a text is longer than 61440 bytes"},
    };
    for (const auto& [text, message] : cases)
    {
        CPresetFile file;
        file.kind = CPresetFileKind::list;
        const std::string told = read(file, text).message();
        EXPECT_EQ(told.substr(0, std::string(message).size()), message) << text.substr(0, 100);
        EXPECT_EQ(file.kind, CPresetFileKind::list) << "a mistake changes nothing";
    }
}

TEST_F(PresetText, AFewCharactersCannotMakeTooMuch)
{
    std::string copies = "bank \"\"\npreset \"a\"\n x : real = (0*65536)*4\n";
    for (int i = 0; i < 40; ++i)
        copies += "preset \"b\" like \"a\"\n";
    const std::string texts[] = {
        copies,
        "preset \"a\"\n x : real[4] = (0|0|0|0*65536)*64\n",
        "preset \"a\"\n x : text = (\"" + std::string(60000, 'x') + "\"*65536)*64\n",
        "preset \"a\"\n x : bytes = (hex(" + std::string(60000, '0') + ")*65536)*64\n",
    };
    for (const std::string& text : texts)
    {
        CPresetFile file;
        const std::string told = read(file, text).message();
        EXPECT_NE(told.find("the presets are larger than"), std::string::npos) << told;
    }
}

TEST_F(PresetText, LikeBeginsWithAnotherPreset)
{
    CPresetFile file;
    ASSERT_TRUE(succeeded(read(file, "bank \"B\"\npreset \"q7ne0:a\"\n gain = 0\n mode = 1\n"
                                     "preset \"q7ne0:b\" like \"q7ne0:a\"\n gain = 6\n")));
    const CAudioPreset& a = file.banks[0].preset(0);
    const CAudioPreset& b = file.banks[0].preset(1);
    EXPECT_EQ(b.entries().size(), 2u);
    EXPECT_EQ(b.entries().at("mode"), a.entries().at("mode"));
    EXPECT_EQ(b.entries().at("gain"), blockOf("q7ne0:x", "gain = 6"));
}

TEST_F(PresetText, TextOfAnyContentGivesTheSameBytes)
{
    ASSERT_TRUE(rc::check("text of any content gives the same bytes", [] {
        std::mt19937_64 random(*rc::gen::arbitrary<std::uint64_t>());
        const CPresetFile file = anyFile(random);
        const std::string text = presetText(file);
        CPresetFile again;
        CError failed = read(again, text);
        if (failed)
            RC_FAIL(failed.message() + "\n" + text);
        RC_ASSERT(again.kind == file.kind);
        RC_ASSERT(bodyOf(again) == bodyOf(file));
        RC_ASSERT(presetText(again) == text);
        CByteArray packed;
        RC_ASSERT(!file.write(packed));
        CPresetFile unpacked;
        RC_ASSERT(!unpacked.read(packed));
        RC_ASSERT(bodyOf(unpacked) == bodyOf(file));
    }));
}

TEST_F(PresetText, DamagedTextsAreMistakesOrTexts)
{
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(std::getenv("MORVA_LONG") != nullptr ? 60000 : 500);
    std::mt19937_64 random(20261122);
    int good = 0;
    int bad = 0;
    while (std::chrono::steady_clock::now() < end || good == 0 || bad == 0)
    {
        std::string text = presetText(anyFile(random));
        for (std::uint64_t i = random() % 4; i > 0; --i)
        {
            const std::size_t at = random() % (text.size() + 1);
            const char mark = "\"\\(),;*=@[]:|#\n 9\x80"[random() % 18];
            if (random() % 2 == 0)
                text.insert(at, 1, mark);
            else
                text.erase(at, 1 + random() % 3);
        }
        CPresetFile file;
        CError failed = read(file, text);
        ++(failed ? bad : good);
        if (failed)
            ASSERT_EQ(failed.message().substr(0, 6), "t.txt:");
        else
        {
            CPresetFile again;
            ASSERT_TRUE(succeeded(read(again, presetText(file)))) << text << presetText(file);
            ASSERT_EQ(bodyOf(again), bodyOf(file)) << text;
        }
    }
}

}
