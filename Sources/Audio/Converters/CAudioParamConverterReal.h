// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Converters/CAudioParamConverter.h"

namespace kor
{

// Plain numbers, evenly spread.
class CAudioParamConverterReal : public CAudioParamConverter
{
public:
    CError init() override;
    double parseBare(const CStringBuf& text, bool& ok) const override;
    void format(CStringBuf& out, const CAudioParamInfo& info, int component, double value, CAudioParamTextMode mode,
                const CStringBuf* itemText) const override;
    double normalisedToReal(const CAudioParamInfo& info, int component, double x) const override;
    double realToNormalised(const CAudioParamInfo& info, int component, double value) const override;

private:
    int decimals = 2;
};

}
