// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Converters/CAudioParamConverterLog.h"

namespace kor
{

// Frequencies in hertz; "10k" is 10000.
class CAudioParamConverterFreq : public CAudioParamConverterLog
{
public:
    double parseBare(const CStringBuf& text, bool& ok) const override;
    void format(CStringBuf& out, const CAudioParamInfo& info, int component, double value, CAudioParamTextMode mode,
                const CStringBuf* itemText) const override;
};

}
