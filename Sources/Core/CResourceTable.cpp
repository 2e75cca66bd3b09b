// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CResourceTable.h"

namespace kor
{
namespace
{

using CBlocks = CMap<CStringBuf, CResourceTable::CBlock>;

CBlocks& blocks()
{
    static CBlocks& map = *new CBlocks;
    return map;
}

}

void CResourceTable::add(const CResourceEntry* table)
{
    if (table == nullptr)
        return;
    for (; table->block != nullptr; ++table)
    {
        std::uint32_t size = 0;
        for (int i = 3; i >= 0; --i)
            size = (size << 8) | table->block[i];
        blocks()[CStringBuf::fromUtf8(table->name)] = {table->block + 4, size};
    }
}

const CResourceTable::CBlock* CResourceTable::find(const CStringBuf& name)
{
    const auto found = blocks().find(name);
    return found == blocks().end() ? nullptr : &found->second;
}

}
