// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Converters/CAudioParamConverter.h"

namespace kor
{

// Times in seconds, read and written in the unit that the scale makes (0.001: milliseconds).
class CAudioParamConverterTime : public CAudioParamConverter
{
public:
    CError init() override;
    double parseBare(const CStringBuf& text, bool& ok) const override;
    void format(CStringBuf& out, const CAudioParamInfo& info, int component, double value, CAudioParamTextMode mode,
                const CStringBuf* itemText) const override;
    double normalisedToReal(const CAudioParamInfo& info, int component, double x) const override;
    double realToNormalised(const CAudioParamInfo& info, int component, double value) const override;
    double normalisedToDisplay(const CAudioParamInfo& info, int component, double x) const override;

private:
    double scale = 1.0;                 // seconds in a display unit
    bool isLog = false;
    bool isExact = false;
    bool isPrecise = false;
};

}
