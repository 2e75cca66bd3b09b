// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Converters/CAudioParamConverter.h"

namespace kor
{

// States by index, read and written by the names of the parameter, else by those of the converter.
class CAudioParamConverterEnum : public CAudioParamConverter
{
public:
    CError init() override;
    double parse(const CAudioParamInfo& info, int component, const CStringBuf& text, bool& ok) const override;
    double parseBare(const CStringBuf& text, bool& ok) const override;
    void format(CStringBuf& out, const CAudioParamInfo& info, int component, double value, CAudioParamTextMode mode,
                const CStringBuf* itemText) const override;
    double normalisedToReal(const CAudioParamInfo& info, int component, double x) const override;
    double realToNormalised(const CAudioParamInfo& info, int component, double value) const override;

    /// Names that the converter itself gives, for parameters that have none.
    virtual const CArray<CAudioParamStateName>& ownStateNames() const noexcept { return stateNames; }

private:
    bool findState(const CAudioParamInfo& info, const CStringBuf& text, double& value) const;

    CArray<CAudioParamStateName> stateNames;
};

}
