// SPDX-License-Identifier: GPL-3.0-or-later
#include "PresetText/PresetTextWriter.h"

#include "PresetText/CPresetBlock.h"
#include "PresetText/CPresetDefinitions.h"
#include "PresetText/PresetValueText.h"

#include "Audio/Parameters/CAudioParamInfo.h"

#include <algorithm>
#include <vector>

namespace kor
{

namespace
{

constexpr std::size_t lineWidth = 118;
constexpr std::size_t hexInPiece = 32;              // bytes between two blanks, where a line may break
constexpr std::string_view indent = "    ";

std::string hexText(const CByteArray& bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text = "(";
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        if (i > 0 && i % hexInPiece == 0)
            text += ' ';
        text += {digits[bytes[i] >> 4], digits[bytes[i] & 15]};
    }
    return text + ')';
}

std::string keyText(const CStringBuf& key)
{
    for (int i = 0; i < key.length(); ++i)
    {
        const char16_t c = key[i];
        const bool isWord = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
                            c == '-' || c == '_';
        if (!isWord)
            return quotedText(key);
    }
    return key.isEmpty() ? quotedText(key) : key.toUtf8();
}

// Equal neighbours as one with their number behind it. Groups stand in brackets for that, or where they are empty.
std::string joined(const std::vector<std::string>& parts, const char* between, std::size_t leastRepeat, bool areGroups)
{
    std::string text;
    for (std::size_t i = 0; i < parts.size();)
    {
        std::size_t end = i + 1;
        while (end < parts.size() && parts[end] == parts[i])
            ++end;
        const bool isRepeated = end - i >= leastRepeat;
        if (!isRepeated)
            end = i + 1;
        if (i > 0)
            text += between;
        const bool needsBrackets = areGroups && (isRepeated || parts[i].empty());
        text += needsBrackets ? '(' + parts[i] + ')' : parts[i];
        if (isRepeated)
            text += '*' + std::to_string(end - i);
        i = end;
    }
    return text;
}

// Breaks a long line where the reader goes on with the next: behind "," and ";", and between bytes.
std::string wrapped(const std::string& line)
{
    if (line.size() <= lineWidth)
        return line;
    std::string out;
    std::size_t lineStart = 0;                      // in out
    std::size_t lastBreak = std::string::npos;      // a blank in out
    bool isQuoted = false;
    bool isBytes = false;
    for (std::size_t i = 0; i < line.size(); ++i)
    {
        const char c = line[i];
        if (isQuoted && c == '\\')
            out += line[i++];
        else if (c == '"')
            isQuoted = !isQuoted;
        else if (!isQuoted && c == '(')
            isBytes = i > 0 && (line[i - 1] == 'x' || line[i - 1] == 'k');
        else if (!isQuoted && c == ')')
            isBytes = false;
        else if (!isQuoted && c == ' ' && i > 0 && (isBytes || line[i - 1] == ',' || line[i - 1] == ';'))
            lastBreak = out.size();
        out += line[i];
        if (out.size() - lineStart > lineWidth && lastBreak != std::string::npos)
        {
            out.replace(lastBreak, 1, "\n" + std::string(indent) + std::string(indent));
            lineStart = lastBreak + 1;
            lastBreak = std::string::npos;
        }
    }
    return out;
}

std::string itemText(const CPresetBlock::CItem& item)
{
    return item.type == CAudioParamType::string ? quotedText(item.text) : "hex" + hexText(item.bytes);
}

// `info` is null where the block has another layout than its parameter.
std::string elementText(const CPresetBlock& block, const CAudioParamInfo* info, bool hasTable, const double* numbers)
{
    if (block.type != CAudioParamType::real)
    {
        const auto item = static_cast<std::uint32_t>(*numbers);
        return hasTable ? '@' + std::to_string(item) : itemText(block.items[item - 1]);
    }
    std::string text;
    for (int c = 0; c < block.elementSize; ++c)
        text += (c > 0 ? "|" : "") + (info != nullptr ? shownNumber(*info, c, numbers[c]) : storedNumber(numbers[c]));
    return text;
}

std::string valuesText(const CPresetBlock& block, const CAudioParamInfo* info)
{
    if (block.groups.empty() && block.items.empty())
        return std::string(presetNothing);
    std::string text;
    const bool hasTable = block.type != CAudioParamType::real && !block.hasPlainItems();
    if (hasTable)
    {
        for (const CPresetBlock::CItem& item : block.items)
            text += (text.empty() ? "[" : ", ") + std::to_string(item.id) + ": " + itemText(item);
        text += text.empty() ? "[] " : "] ";
    }
    std::vector<std::string> groups;
    for (const CPresetBlock::CGroup& group : block.groups)
    {
        std::vector<std::string> elements;
        for (std::size_t i = 0; i < group.size(); i += static_cast<std::size_t>(block.elementSize))
            elements.push_back(elementText(block, info, hasTable, &group[i]));
        groups.push_back(joined(elements, ", ", 3, false));
    }
    return text + joined(groups, "; ", 2, true);
}

std::string typeText(const CPresetBlock& block)
{
    if (block.type == CAudioParamType::string)
        return " : text";
    if (block.type == CAudioParamType::raw)
        return " : bytes";
    return block.elementSize == 1 ? " : real" : " : real[" + std::to_string(block.elementSize) + ']';
}

void appendEntry(std::string& out, const CStringBuf& id, const CStringBuf& key, const CByteArray& bytes)
{
    std::string line = std::string(indent) + keyText(key);
    CPresetBlock block;
    const bool isTable = block.read(bytes);
    if (!isTable || (block.groups.empty() && !block.items.empty()))
        line += " = block" + hexText(bytes);
    else
    {
        const CAudioParamInfo* info = CPresetDefinitions::find(id, key);
        if (info == nullptr || info->type != block.type || info->elementSize != block.elementSize)
        {
            info = nullptr;
            line += typeText(block);
        }
        if (!(block.path == CPresetDefinitions::definitionName(id, key)))
            line += " at " + quotedText(block.path);
        line += " = " + valuesText(block, info);
    }
    out += wrapped(line) + '\n';
}

}

std::string presetText(const CPresetFile& file)
{
    std::string out = file.kind == CPresetFileKind::list ? "list\n" : "";
    for (const CAudioPresetBank& bank : file.banks)
    {
        if (file.kind != CPresetFileKind::preset)
            out += "bank " + quotedText(bank.name) + '\n';
        for (std::size_t i = 0; i < bank.size(); ++i)
        {
            const CAudioPreset& preset = bank.preset(i);
            out += (out.empty() ? "preset " : "\npreset ") + quotedText(preset.name()) + '\n';
            for (const auto& [key, block] : preset.entries())
                appendEntry(out, CAudioPreset::idOf(preset.name()), key, block);
        }
    }
    return out;
}

}
