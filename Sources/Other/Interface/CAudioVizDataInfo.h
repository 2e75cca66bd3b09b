// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"
#include "Other/Interface/CAudioVizData.h"

namespace kor
{

// A text with a number.
class CAudioVizDataInfo : public CAudioVizData
{
public:
    CAudioVizDataInfo() noexcept : CAudioVizData(CAudioVizKind::info) {}
    CError write(COutputStream& stream) const override;
    CError read(CInputStream& stream) override;

    CStringBuf text;
    std::int32_t number = 0;
};

}
