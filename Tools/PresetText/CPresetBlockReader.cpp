// SPDX-License-Identifier: GPL-3.0-or-later
#include "PresetText/CPresetBlockReader.h"

#include "PresetText/CPresetDefinitions.h"
#include "PresetText/PresetValueText.h"

#include "Audio/Converters/CAudioParamConverterEnum.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamStorage.h"

namespace kor
{

namespace
{

constexpr std::uint32_t mostElements = CAudioParamStorage::maxElements;
constexpr std::uint32_t mostGroups = CAudioParamStorage::maxGroups;

// What an item costs in a table besides its content, in the text's own unit of account.
std::size_t sizeOf(const CPresetBlock::CItem& item)
{
    return 64 + 2 * static_cast<std::size_t>(item.text.length()) + item.bytes.size();
}

}

CPresetBlockReader::CPresetBlockReader(CPresetScanner& text, const CStringBuf& presetId, const CStringBuf& presetKey,
                                       CCharge chargeCall)
    : scanner(text), id(presetId), key(presetKey), charge(std::move(chargeCall)),
      info(CPresetDefinitions::find(presetId, presetKey))
{
}

CError CPresetBlockReader::read(CByteArray& out)
{
    KOR_TRY(readLayout());
    scanner.skipLines();
    if (scanner.openCall("block"))
    {
        KOR_TRY(scanner.readHex(out));
        return charge(out.size());
    }
    if (info == nullptr && !isTyped)
        return scanner.mistake("there is no parameter '" + key.toUtf8() + "' in presets of '" + id.toUtf8() +
                               "'; to store it all the same, write ': real', ': text' or ': bytes' behind the key");
    if (!scanner.takeLast(presetNothing))
    {
        KOR_TRY(readTable());
        KOR_TRY(readGroups());
    }
    return block.write(out);
}

CError CPresetBlockReader::readLayout()
{
    block.path = CPresetDefinitions::definitionName(id, key);
    if (scanner.take(':'))
        KOR_TRY(readType());
    else if (info != nullptr)
    {
        block.type = info->type;
        block.elementSize = info->elementSize;
    }
    const std::string word = scanner.readWord();
    if (word == "at")
        KOR_TRY(scanner.readQuoted(block.path));
    else if (!word.empty())
        return scanner.mistake("'=' is missing behind '" + key.toUtf8() + "'");
    if (!scanner.take('='))
        return scanner.mistake("'=' is missing behind '" + key.toUtf8() + "'");
    return {};
}

CError CPresetBlockReader::readType()
{
    isTyped = true;
    info = nullptr;
    const std::string word = scanner.readWord();
    if (word == "text")
        block.type = CAudioParamType::string;
    else if (word == "bytes")
        block.type = CAudioParamType::raw;
    else if (word != "real")
        return scanner.mistake("behind ':' stands real, text or bytes");
    if (word != "real" || !scanner.open('['))
        return {};
    std::uint32_t size = 0;
    KOR_TRY(scanner.readCount(size));
    KOR_TRY(scanner.close(']'));
    if (size == 0 || size > CAudioParamInfo::maxElementSize)
        return scanner.mistake("an element has 1 to " + std::to_string(CAudioParamInfo::maxElementSize) + " numbers");
    block.elementSize = static_cast<int>(size);
    return {};
}

CError CPresetBlockReader::readTable()
{
    if (block.type == CAudioParamType::real || !scanner.open('['))
        return {};
    hasTable = true;
    scanner.skipInLine();
    while (scanner.peek() != ']')
    {
        CPresetBlock::CItem item;
        KOR_TRY(scanner.readCount(item.id));
        if (!scanner.take(':'))
            return scanner.mistake("':' is missing behind an id");
        scanner.skipInLine();
        KOR_TRY(readItem(item, scanner.peek() == '"' ? CAudioParamType::string : CAudioParamType::raw));
        KOR_TRY(charge(sizeOf(item)));
        block.items.push_back(std::move(item));
        if (!scanner.take(','))
            break;
        scanner.skipInLine();
    }
    return scanner.close(']');
}

CError CPresetBlockReader::readGroups()
{
    do
    {
        scanner.skipLines();
        KOR_TRY(readGroup());
    } while (scanner.take(';'));
    return {};
}

CError CPresetBlockReader::readGroup()
{
    CList list;
    std::uint32_t times = 1;
    if (scanner.open('('))
    {
        scanner.skipInLine();
        if (scanner.peek() != ')')
            KOR_TRY(readList(list));
        KOR_TRY(scanner.close(')'));
        KOR_TRY(readRepeat(mostGroups, "groups", times));
    }
    else
        KOR_TRY(readList(list));
    return append(list, times);
}

CError CPresetBlockReader::readRepeat(std::uint32_t most, const char* what, std::uint32_t& count)
{
    if (!scanner.take('*'))
        return {};
    KOR_TRY(scanner.readCount(count));
    if (count == 0 || count > most)
        return scanner.mistake("there are 1 to " + std::to_string(most) + " " + what);
    return {};
}

CError CPresetBlockReader::readList(CList& list)
{
    std::uint32_t total = 0;
    do
    {
        scanner.skipLines();
        CElement& element = list.emplace_back();
        KOR_TRY(readElement(element));
        KOR_TRY(readRepeat(mostElements, "elements", element.count));
        total += element.count;
        if (total > mostElements)
            return scanner.mistake("a group has at most " + std::to_string(mostElements) + " elements");
    } while (scanner.take(','));
    return {};
}

CError CPresetBlockReader::readElement(CElement& element)
{
    if (block.type == CAudioParamType::real)
    {
        for (int c = 0; c < block.elementSize; ++c)
        {
            if (c > 0 && !scanner.take('|'))
                return scanner.mistake("an element has " + std::to_string(block.elementSize) +
                                       " numbers, with '|' between");
            KOR_TRY(readNumber(c, element.numbers[c]));
        }
        return {};
    }
    if (!hasTable)
        return readItem(element.item, block.type);
    std::uint32_t item = 0;
    if (!scanner.take('@'))
        return scanner.mistake("behind a table, an element is '@' and an id");
    KOR_TRY(scanner.readCount(item));
    element.numbers[0] = item;
    return {};
}

CError CPresetBlockReader::readNumber(int component, double& value)
{
    std::string text;
    if (scanner.peek() == '"')
    {
        CStringBuf state;
        KOR_TRY(scanner.readQuoted(state));
        text = state.toUtf8();
        if (info == nullptr || dynamic_cast<const CAudioParamConverterEnum*>(info->converter(component)) == nullptr)
            return scanner.mistake("\"" + text + "\" is a text; this parameter takes numbers");
    }
    else
        text = scanner.readBare();
    if (text.empty())
        return scanner.mistake("a value is missing");
    if (info == nullptr)
        return parseStoredNumber(std::string_view(text).substr(text[0] == '=' ? 1 : 0), value)
                   ? CError()
                   : scanner.mistake("'" + text + "' is no number");
    CError wrong = parseShownNumber(*info, component, text, value);
    return wrong ? scanner.mistake(key.toUtf8() + ": " + wrong.message()) : CError();
}

CError CPresetBlockReader::readItem(CPresetBlock::CItem& item, CAudioParamType type)
{
    item.type = type;
    if (type == CAudioParamType::string)
        return scanner.readQuoted(item.text);
    if (!scanner.openCall("hex"))
        return scanner.mistake("bytes are written as hex(...)");
    return scanner.readHex(item.bytes);
}

CError CPresetBlockReader::append(const CList& list, std::uint32_t times)
{
    if (block.groups.size() + times > mostGroups)
        return scanner.mistake("a parameter has at most " + std::to_string(mostGroups) + " groups");
    const bool isReal = block.type == CAudioParamType::real;
    const auto numbers = static_cast<std::size_t>(block.elementSize);
    std::size_t bytes = 8;
    for (const CElement& element : list)
        bytes += element.count * (isReal || hasTable ? numbers * sizeof(double) : sizeOf(element.item));
    KOR_TRY(charge(bytes * times));
    for (std::uint32_t t = 0; t < times; ++t)
    {
        CPresetBlock::CGroup& group = block.groups.emplace_back();
        for (const CElement& element : list)
            for (std::uint32_t i = 0; i < element.count; ++i)
            {
                if (isReal || hasTable)
                {
                    group.insert(group.end(), element.numbers, element.numbers + numbers);
                    continue;
                }
                block.items.push_back(element.item);
                block.items.back().id = static_cast<std::uint32_t>(block.items.size());
                group.push_back(block.items.back().id);
            }
    }
    return {};
}

}
