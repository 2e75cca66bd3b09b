// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CPresetContent.h"

#include <map>

namespace kor::test
{

CError CPresetContent::read(const CByteArray& block)
{
    groups = nlohmann::json::array();
    CMemoryReader in(block);
    CStringBuf name;
    std::uint32_t version = 0;
    std::uint32_t type = 0;
    std::uint32_t groupCount = 0;
    KOR_TRY(in.readString(name));
    KOR_TRY(in.readU32(version));
    KOR_TRY(in.readU32(elementSize));
    KOR_TRY(in.readU32(type));
    KOR_TRY(in.readU32(groupCount));
    path = name.toUtf8();
    if (version != 1 || type > 2)
        return KOR_FAIL("version %1, type %2", version, type);
    std::map<std::uint32_t, std::string> items;
    std::uint32_t itemCount = 0;
    if (type != 0)
        KOR_TRY(in.readU32(itemCount));
    while (itemCount-- > 0)
    {
        std::uint32_t id = 0;
        std::uint32_t itemType = 0;
        std::uint32_t size = 0;
        KOR_TRY(in.readU32(id));
        KOR_TRY(in.readU32(itemType));
        KOR_TRY(in.readU32(size));
        if (itemType != type || items.contains(id))
            return KOR_FAIL("item %1 of type %2", id, itemType);
        items[id].resize(size);
        KOR_TRY(in.read(items[id].data(), size));
    }
    while (groupCount-- > 0)
    {
        nlohmann::json& group = groups.emplace_back(nlohmann::json::array());
        std::uint32_t count = 0;
        KOR_TRY(in.readU32(count));
        for (std::uint32_t i = 0; i < count * (type == 0 ? elementSize : 1u); ++i)
        {
            double number = 0.0;
            std::uint32_t id = 0;
            if (type == 0)
                KOR_TRY(in.readDouble(number));
            else
                KOR_TRY(in.readU32(id));
            if (type != 0 && !items.contains(id))
                return KOR_FAIL("no item %1", id);
            group.push_back(type == 0 ? nlohmann::json(number) : nlohmann::json(items[id]));
        }
    }
    std::int64_t end = 0;
    KOR_TRY(in.getPosition(end));
    return end == static_cast<std::int64_t>(block.size()) ? CError() : KOR_FAIL("bytes are left over");
}

}
