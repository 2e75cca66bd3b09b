// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Converters/CAudioParamConverter.h"

namespace kor
{

// Bandwidths in octaves, with more room for the narrow ones.
class CAudioParamConverterBW : public CAudioParamConverter
{
public:
    double parseBare(const CStringBuf& text, bool& ok) const override;
    void format(CStringBuf& out, const CAudioParamInfo& info, int component, double value, CAudioParamTextMode mode,
                const CStringBuf* itemText) const override;
    double normalisedToReal(const CAudioParamInfo& info, int component, double x) const override;
    double realToNormalised(const CAudioParamInfo& info, int component, double value) const override;
};

}
