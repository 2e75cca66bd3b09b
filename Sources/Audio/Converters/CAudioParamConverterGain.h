// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Converters/CAudioParamConverterLog.h"

namespace kor
{

// Linear gains, read and written in dB.
class CAudioParamConverterGain : public CAudioParamConverterLog
{
public:
    CError init() override;
    double parseBare(const CStringBuf& text, bool& ok) const override;
    void format(CStringBuf& out, const CAudioParamInfo& info, int component, double value, CAudioParamTextMode mode,
                const CStringBuf* itemText) const override;
    double normalisedToDisplay(const CAudioParamInfo& info, int component, double x) const override;

private:
    int decimals = 1;
};

}
