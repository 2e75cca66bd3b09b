// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PresetText/CPresetBlock.h"
#include "PresetText/CPresetScanner.h"

#include <functional>

namespace kor
{

class CAudioParamInfo;

// Reads what stands behind a key in a text of presets, and makes the key's block of it.
class CPresetBlockReader
{
public:
    /// Asked before memory is taken that a few characters may cause; refuses when it gets too much.
    using CCharge = std::function<CError(std::size_t bytes)>;

    CPresetBlockReader(CPresetScanner& text, const CStringBuf& id, const CStringBuf& key, CCharge charge);

    CError read(CByteArray& out);

private:
    struct CElement
    {
        double numbers[4] = {};                 // or the id of an item
        CPresetBlock::CItem item;               // of its own, where there is no table
        std::uint32_t count = 1;
    };
    using CList = CArray<CElement>;

    CError readLayout();
    CError readType();
    CError readTable();
    CError readGroups();
    CError readGroup();
    CError readList(CList& list);
    CError readElement(CElement& element);
    CError readNumber(int component, double& value);
    CError readItem(CPresetBlock::CItem& item, CAudioParamType type);
    CError readRepeat(std::uint32_t most, const char* what, std::uint32_t& count);
    CError append(const CList& list, std::uint32_t times);

    CPresetScanner& scanner;
    CStringBuf id;
    CStringBuf key;
    CCharge charge;
    CPresetBlock block;
    const CAudioParamInfo* info = nullptr;      // null where the text says the layout itself
    bool isTyped = false;
    bool hasTable = false;
};

}
