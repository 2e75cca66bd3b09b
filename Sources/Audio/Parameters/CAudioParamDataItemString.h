// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamDataItem.h"

namespace kor
{

// A text as a parameter's value; never longer than what the stored form can hold.
class CAudioParamDataItemString : public CAudioParamDataItem
{
public:
    CAudioParamDataItemString() = default;

    /// Cuts the text to 61,440 bytes of UTF-8 at a character boundary.
    explicit CAudioParamDataItemString(const CStringBuf& text);

    const CStringBuf& text() const noexcept { return content; }

    CAudioParamDataItem* clone() const override;
    CError save(COutputStream& stream) const override;
    CError load(CInputStream& stream) override;
    CAudioParamType type() const noexcept override { return CAudioParamType::string; }

private:
    CStringBuf content;
};

}
