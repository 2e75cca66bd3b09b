// SPDX-License-Identifier: GPL-3.0-or-later
#include "PresetText/CPresetTextReader.h"

#include "PresetText/CPresetBlockReader.h"
#include "PresetText/CPresetDefinitions.h"

namespace kor
{

namespace
{
constexpr std::size_t bytesOfEntry = 64;            // what a name costs besides its characters
}

CError CPresetTextReader::charge(std::size_t bytes)
{
    made += bytes;
    if (made > CPresetFile::largestBody)
        return scanner.mistake("the presets are larger than " + std::to_string(CPresetFile::largestBody) + " bytes");
    return {};
}

CError CPresetTextReader::endOfLine()
{
    scanner.skipInLine();
    if (!scanner.atLineEnd())
        return scanner.mistake(std::string("'") + scanner.peek() + "' does not belong here");
    return {};
}

CError CPresetTextReader::read(CPresetFile& out)
{
    for (scanner.skipLines(); !scanner.atEnd(); scanner.skipLines())
    {
        CStringBuf key;
        if (scanner.peek() == '"')
            KOR_TRY(scanner.readQuoted(key));
        else
        {
            const std::string word = scanner.readWord();
            scanner.skipInLine();
            const bool isNamed = scanner.peek() == '"' && (word == "preset" || word == "bank");
            if (isNamed || (word == "list" && scanner.atLineEnd()))
            {
                KOR_TRY(readHead(word));
                KOR_TRY(endOfLine());
                continue;
            }
            if (word.empty())
                return scanner.mistake("a key is missing");
            key = CStringBuf(word);
        }
        KOR_TRY(readEntry(key));
        KOR_TRY(endOfLine());
    }
    if (!isBegun)
        return scanner.mistake("nothing in it; begin with preset \"ID:Name\", bank \"Name\" or list");
    out = std::move(file);
    return {};
}

CError CPresetTextReader::readHead(const std::string& word)
{
    const bool isFirst = !isBegun;
    isBegun = true;
    if (word == "list")
    {
        if (!isFirst)
            return scanner.mistake("'list' stands only at the beginning");
        file.kind = CPresetFileKind::list;
        return {};
    }
    CStringBuf name;
    KOR_TRY(scanner.readQuoted(name));
    KOR_TRY(charge(bytesOfEntry + static_cast<std::size_t>(name.length())));
    if (word == "bank")
    {
        if (isFirst)
            file.kind = CPresetFileKind::bank;
        else if (file.kind != CPresetFileKind::list)
            return scanner.mistake("several banks need 'list' at the beginning");
        file.banks.emplace_back().name = name;
        preset = nullptr;
        return {};
    }
    if (isFirst)
        file.banks.emplace_back();
    else if (file.kind == CPresetFileKind::preset)
        return scanner.mistake("several presets need 'bank \"Name\"' at the beginning");
    else if (file.banks.empty())
        return scanner.mistake("a preset of a list stands in a bank; write 'bank \"\"' above it");
    const CAudioPreset* model = nullptr;
    const std::string how = scanner.readWord();
    if (!how.empty() && how != "like")
        return scanner.mistake("'" + how + "' does not belong here");
    if (how == "like")
    {
        CStringBuf modelName;
        KOR_TRY(scanner.readQuoted(modelName));
        for (const CAudioPresetBank& bank : file.banks)
            for (std::size_t i = 0; i < bank.size() && model == nullptr; ++i)
                if (bank.preset(i).name() == modelName)
                    model = &bank.preset(i);
        if (model == nullptr)
            return scanner.mistake("there is no preset \"" + modelName.toUtf8() + "\" above");
        for (const auto& [key, block] : model->entries())
            KOR_TRY(charge(block.size() + bytesOfEntry));
    }
    preset = &file.banks.back().append();
    preset->setName(name);
    if (model != nullptr)
        preset->entries() = model->entries();
    keys.clear();
    return {};
}

CError CPresetTextReader::readEntry(const CStringBuf& key)
{
    if (preset == nullptr)
        return scanner.mistake("'" + key.toUtf8() + "' stands in no preset; write 'preset \"ID:Name\"' above it");
    if (!keys.insert(key).second)
        return scanner.mistake("'" + key.toUtf8() + "' is given twice in one preset");
    CPresetBlockReader reader(scanner, CAudioPreset::idOf(preset->name()), key,
                              [this](std::size_t bytes) { return charge(bytes); });
    CByteArray block;
    KOR_TRY(reader.read(block));
    preset->entries()[key] = std::move(block);
    return {};
}

}
