// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CAudioWrapperVST3ProgramParameter.h"

#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/CAudioHostCall.h"
#include "Audio/Plugin/CAudioWrapper.h"
#include "Audio/VST/VstText.h"

#include <cmath>

namespace kor
{

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace
{

ParameterInfo describe(int lastProgram)
{
    ParameterInfo info{};
    info.id = CAudioWrapperVST3ProgramParameter::programId;
    putText("Program", info.title);
    info.stepCount = lastProgram;
    info.unitId = kRootUnitId;
    info.flags = ParameterInfo::kIsProgramChange | ParameterInfo::kIsList;
    return info;
}

}

CAudioWrapperVST3ProgramParameter::CAudioWrapperVST3ProgramParameter(CAudioWrapper& owner)
    : CSharedParameter(describe(owner.registry().getProgramCount() - 1), 0.0), wrapper(owner), last(info.stepCount)
{
    refresh();
}

void CAudioWrapperVST3ProgramParameter::refresh()
{
    store(clampNormalized(toNormalized(wrapper.registry().getCurrentProgram())));
}

CStringBuf CAudioWrapperVST3ProgramParameter::programName(int index) const
{
    const CStringBuf stored = wrapper.registry().getProgramName(index);
    return stored.substr(stored.findChar(':') + 1);
}

void CAudioWrapperVST3ProgramParameter::changed(int32 message)
{
    const CAudioHostCall call;
    wrapper.setProgram(indexOf(present()));
    CSharedParameter::changed(message);
}

void CAudioWrapperVST3ProgramParameter::toString(ParamValue value, String128 text) const
{
    putText(programName(indexOf(value)), text);
}

bool CAudioWrapperVST3ProgramParameter::fromString(const TChar* text, ParamValue& value) const
{
    const CStringBuf wanted = takeText(text);
    for (int i = 0; i <= last; ++i)
    {
        if (programName(i) == wanted)
        {
            value = toNormalized(i);
            return true;
        }
    }
    return false;
}

ParamValue CAudioWrapperVST3ProgramParameter::toPlain(ParamValue value) const
{
    return last * value;
}

ParamValue CAudioWrapperVST3ProgramParameter::toNormalized(ParamValue plain) const
{
    return last > 0 ? plain / last : 0.0;
}

int CAudioWrapperVST3ProgramParameter::indexOf(ParamValue value) const
{
    return static_cast<int>(std::lround(toPlain(clampNormalized(value))));
}

}
