// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamDataItemRaw.h"

#include <algorithm>
#include <cstring>

namespace kor
{

CAudioParamDataItemRaw::CAudioParamDataItemRaw(std::span<const unsigned char> content)
{
    assign(content);
}

CAudioParamDataItemRaw::CAudioParamDataItemRaw(const CAudioParamDataItemRaw& other) : CAudioParamDataItem(other)
{
    assign(other.bytes());
}

CAudioParamDataItemRaw::~CAudioParamDataItemRaw()
{
    if (heap != nullptr)
        freeBlock(heap);
}

void CAudioParamDataItemRaw::assign(std::span<const unsigned char> content)
{
    unsigned char* block = nullptr;
    if (content.size() > inlineBytes)
        block = static_cast<unsigned char*>(needBlock(content.size()));
    if (!content.empty())
        std::memcpy(block != nullptr ? block : inlineData, content.data(), content.size());
    if (heap != nullptr)
        freeBlock(heap);
    heap = block;
    length = content.size();
}

CAudioParamDataItem* CAudioParamDataItemRaw::clone() const
{
    return new CAudioParamDataItemRaw(*this);
}

CError CAudioParamDataItemRaw::save(COutputStream& stream) const
{
    KOR_TRY(stream.writeU32(static_cast<std::uint32_t>(length)));
    if (length > 0)
        KOR_TRY(stream.write(data(), static_cast<std::int64_t>(length)));
    return {};
}

CError CAudioParamDataItemRaw::load(CInputStream& stream)
{
    std::uint32_t count = 0;
    KOR_TRY(stream.readU32(count));
    constexpr std::size_t step = 65536;
    CByteArray loaded;
    while (loaded.size() < count)
    {
        const std::size_t old = loaded.size();
        const std::size_t part = std::min<std::size_t>(step, count - old);
        loaded.resize(old + part);
        KOR_TRY(stream.read(loaded.data() + old, static_cast<std::int64_t>(part)));
    }
    assign(loaded);
    return {};
}

}
