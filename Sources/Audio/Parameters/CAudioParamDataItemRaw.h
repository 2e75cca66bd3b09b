// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamDataItem.h"

#include <span>

namespace kor
{

// A block of bytes as a parameter's value. Most blocks are a few words long: up to 48 bytes live in the item itself.
class CAudioParamDataItemRaw : public CAudioParamDataItem
{
public:
    CAudioParamDataItemRaw() = default;
    explicit CAudioParamDataItemRaw(std::span<const unsigned char> content);
    CAudioParamDataItemRaw(const CAudioParamDataItemRaw& other);
    ~CAudioParamDataItemRaw() override;

    std::span<const unsigned char> bytes() const noexcept { return {data(), length}; }

    CAudioParamDataItem* clone() const override;
    CError save(COutputStream& stream) const override;

    /// A u32 byte count and the bytes. Memory is taken as bytes arrive, never on the word of the count alone.
    CError load(CInputStream& stream) override;
    CAudioParamType type() const noexcept override { return CAudioParamType::raw; }

private:
    static constexpr std::size_t inlineBytes = 48;
    const unsigned char* data() const noexcept { return heap != nullptr ? heap : inlineData; }
    void assign(std::span<const unsigned char> content);

    std::size_t length = 0;
    unsigned char* heap = nullptr;          // owned; null while the content fits inside
    unsigned char inlineData[inlineBytes];
};

}
