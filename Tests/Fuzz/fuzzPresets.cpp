// SPDX-License-Identifier: GPL-3.0-or-later
// Presets, banks and lists of banks: their bodies and their text.
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Fuzz/FuzzTargets.h"
#include "PresetText/CPresetTextReader.h"
#include "PresetText/PresetTextWriter.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace kor::test
{
namespace
{

template <class Save>
std::string saved(const Save& save)
{
    CWriteSeqBuffer buffer;
    require(!save(buffer), "what was read can be written");
    const CByteArray bytes = buffer.getContents();
    return std::string(bytes.begin(), bytes.end());
}

// Entries have an order of their own, so the first writing may differ from what came in, but no later one does.
template <class Load>
int checkBody(const unsigned char* data, std::size_t size, const Load& load)
{
    const CByteArray bytes(data, data + size);
    CMemoryReader first(bytes);
    std::string written;
    if (!load(first, written))
        return 0;
    CMemoryReader second(reinterpret_cast<const unsigned char*>(written.data()), written.size());
    std::string again;
    require(load(second, again), "what was written can be read");
    require(again == written, "what was written reads back the same");
    return 1;
}

const std::vector<std::string>& contentTexts()
{
    static const std::vector<std::string> texts = []
    {
        std::vector<std::filesystem::path> paths;
        for (const auto& entry : std::filesystem::directory_iterator(MORVA_PRESETS))
            if (entry.path().extension() == ".txt")
                paths.push_back(entry.path());
        std::sort(paths.begin(), paths.end());
        std::vector<std::string> all = {"preset \"x:y\"\n"};
        for (const std::filesystem::path& path : paths)
        {
            std::ostringstream text;
            text << std::ifstream(path).rdbuf();
            all.push_back(text.str());
        }
        return all;
    }();
    return texts;
}

std::vector<CAudioPresetBank> contentBanks()
{
    std::vector<CAudioPresetBank> banks;
    for (const std::string& text : contentTexts())
    {
        CPresetFile file;
        if (const CError failure = CPresetTextReader("seed", text).read(file))
            continue;
        banks.insert(banks.end(), file.banks.begin(), file.banks.end());
    }
    return banks;
}

}

int fuzzPreset(const unsigned char* data, std::size_t size)
{
    return checkBody(data, size, [](CInputStream& stream, std::string& written)
    {
        CAudioPreset preset;
        if (preset.load(stream))
            return false;
        written = saved([&](COutputStream& out) { return preset.save(out); });
        return true;
    });
}

int fuzzBank(const unsigned char* data, std::size_t size)
{
    return checkBody(data, size, [](CInputStream& stream, std::string& written)
    {
        CAudioPresetBank bank;
        if (bank.load(stream))
            return false;
        written = saved([&](COutputStream& out) { return bank.save(out); });
        return true;
    });
}

int fuzzList(const unsigned char* data, std::size_t size)
{
    return checkBody(data, size, [](CInputStream& stream, std::string& written)
    {
        CArray<CAudioPresetBank> banks;
        if (CAudioPresetBank::loadList(stream, banks))
            return false;
        written = saved([&](COutputStream& out) { return CAudioPresetBank::saveList(out, banks); });
        return true;
    });
}

int fuzzPresetText(const unsigned char* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    CPresetFile file;
    if (CPresetTextReader("fuzz", text).read(file))
        return 0;
    CByteArray body;
    require(!file.writeBody(body), "what was read can be written");
    CPresetFile again;
    CByteArray bodyAgain;
    const std::string dumped = presetText(file);
    require(!CPresetTextReader("dump", dumped).read(again) && !again.writeBody(bodyAgain), "a dump can be read");
    require(body == bodyAgain, "dump and make give the same bytes");
    return 1;
}

std::vector<std::string> presetSeeds()
{
    std::vector<std::string> seeds;
    for (const CAudioPresetBank& bank : contentBanks())
        for (std::size_t i = 0; i < bank.size(); ++i)
            seeds.push_back(saved([&](COutputStream& out) { return bank.preset(i).save(out); }));
    return seeds;
}

std::vector<std::string> bankSeeds()
{
    std::vector<std::string> seeds;
    for (const CAudioPresetBank& bank : contentBanks())
        seeds.push_back(saved([&](COutputStream& out) { return bank.save(out); }));
    return seeds;
}

std::vector<std::string> listSeeds()
{
    const std::vector<CAudioPresetBank> banks = contentBanks();
    const CArray<CAudioPresetBank> list(banks.begin(), banks.end());
    return {saved([&](COutputStream& out) { return CAudioPresetBank::saveList(out, list); }),
            saved([&](COutputStream& out) { return CAudioPresetBank::saveList(out, {}); })};
}

std::vector<std::string> presetTextSeeds()
{
    return contentTexts();
}

}
