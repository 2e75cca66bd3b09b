// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamDataFormat.h"

#include "Audio/Parameters/CAudioParamDataItemRaw.h"
#include "Audio/Parameters/CAudioParamDataItemString.h"

#include <memory>

namespace kor
{

CError readDataItems(CInputStream& stream, CAudioParamData& table, CAudioParamDataIds& ids)
{
    std::uint32_t count = 0;
    KOR_TRY(stream.readU32(count));
    for (std::uint32_t i = 0; i < count; ++i)
    {
        std::uint32_t id = 0;
        std::uint32_t typeCode = 0;
        KOR_TRY(stream.readU32(id));
        KOR_TRY(stream.readU32(typeCode));
        std::unique_ptr<CAudioParamDataItem> item;
        if (typeCode == static_cast<std::uint32_t>(CAudioParamType::string))
            item = std::make_unique<CAudioParamDataItemString>();
        else if (typeCode == static_cast<std::uint32_t>(CAudioParamType::raw))
            item = std::make_unique<CAudioParamDataItemRaw>();
        else
            return KOR_FAIL("Unknown data type %1 encountered", typeCode);
        KOR_TRY(item->load(stream));
        int& known = ids[id];
        table.release(known);
        known = table.add(item.release());
    }
    return {};
}

CError writeDataItem(COutputStream& stream, std::uint32_t id, const CAudioParamDataItem& item)
{
    KOR_TRY(stream.writeU32(id));
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(item.type())));
    KOR_TRY(item.save(stream));
    return {};
}

}
