// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Converters/CAudioParamConverter.h"

namespace kor
{

// Texts: an element is written as its item says. As a number it behaves as a plain one.
class CAudioParamConverterText : public CAudioParamConverter
{
public:
    double parseBare(const CStringBuf& text, bool& ok) const override;
    void format(CStringBuf& out, const CAudioParamInfo& info, int component, double value, CAudioParamTextMode mode,
                const CStringBuf* itemText) const override;
    double normalisedToReal(const CAudioParamInfo& info, int component, double x) const override;
    double realToNormalised(const CAudioParamInfo& info, int component, double value) const override;
};

}
