// SPDX-License-Identifier: GPL-3.0-or-later
// Presets, banks and lists of banks: their bodies and their text.
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamStorage.h"
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
        require(!CPresetTextReader("seed", text).read(file), "the product's own texts can be read");
        banks.insert(banks.end(), file.banks.begin(), file.banks.end());
    }
    require(banks.size() == 6, "the factory bank, the four lists and a preset alone are there");
    return banks;
}

// A block as a parameter of its own type and element size takes it: eight groups, the range of nobody.
void checkBlock(const CByteArray& block)
{
    CMemoryReader in(block);
    CStringBuf path;
    std::uint32_t version = 0;
    std::uint32_t elementSize = 0;
    std::uint32_t type = 0;
    if (in.readString(path) || in.readU32(version) || in.readU32(elementSize) || in.readU32(type) || type > 2 ||
        elementSize == 0 || elementSize > 16)
        return;
    CAudioParamInfo info;
    info.type = static_cast<CAudioParamType>(type);
    info.elementSize = static_cast<int>(elementSize);
    const auto emptyStorage = [&info]
    {
        CAudioParamStorage storage;
        storage.clear(info);
        storage.setGroupCount(8);
        return storage;
    };
    std::string written;
    CMemoryReader first(block);
    CAudioParamStorage storage = emptyStorage();
    require(!first.readString(path), "the path is there");
    if (storage.load(first))
    {
        for (int g = 0; g < 8; ++g)
            require(storage.elementCount(g) == 0, "a failure leaves the values alone");
        return;
    }
    written = saved([&](COutputStream& out) { return storage.save(out, -1); });
    CMemoryReader second(reinterpret_cast<const unsigned char*>(written.data()), written.size());
    CAudioParamStorage back = emptyStorage();
    require(!back.load(second), "stored values can be read");
    require(saved([&](COutputStream& out) { return back.save(out, -1); }) == written, "values come back the same");
}

}

int fuzzPreset(const unsigned char* data, std::size_t size)
{
    return checkBody(data, size, [](CInputStream& stream, std::string& written)
    {
        CAudioPreset preset;
        if (preset.load(stream))
            return false;
        for (const auto& [key, block] : preset.entries())
            checkBlock(block);
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
