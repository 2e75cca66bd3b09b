// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CAudioWrapperVST3Parameter.h"

#include "Audio/Plugin/CAudioExtParam.h"
#include "Audio/Plugin/CAudioHostCall.h"
#include "Audio/VST/VstText.h"

namespace kor
{

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace
{

ParameterInfo describe(const CAudioExtParam& row, ParamID id)
{
    ParameterInfo info{};
    info.id = id;
    putText(row.extName(), info.title);
    putText(row.extName(), info.shortTitle);
    putText(row.getUnit(), info.units);
    info.defaultNormalizedValue = clampNormalized(row.getDefaultNormalized());
    info.unitId = kRootUnitId;
    info.flags = ParameterInfo::kCanAutomate;
    if (row.extName().equals("Bypass"))
    {
        info.stepCount = 1;
        info.flags |= ParameterInfo::kIsBypass;
    }
    return info;
}

}

CAudioWrapperVST3Parameter::CAudioWrapperVST3Parameter(CAudioExtParam& row, ParamID id)
    : CSharedParameter(describe(row, id), row.getNormalized()), target(row)
{
}

ParamValue CAudioWrapperVST3Parameter::present() const noexcept
{
    return target.pendingOrder() != 0 ? target.getNormalized() : CSharedParameter::present();
}

void CAudioWrapperVST3Parameter::changed(int32 message)
{
    const CAudioHostCall call;
    target.setNormalized(CSharedParameter::present());
    CSharedParameter::changed(message);
}

void CAudioWrapperVST3Parameter::toString(ParamValue value, String128 text) const
{
    putText(target.getText(clampNormalized(value)), text);
}

bool CAudioWrapperVST3Parameter::fromString(const TChar* text, ParamValue& value) const
{
    return target.fromText(takeText(text), value);
}

}
