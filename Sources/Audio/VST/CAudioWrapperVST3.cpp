// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CAudioWrapperVST3.h"

#include "Audio/Plugin/CAudioExtParam.h"
#include "Audio/Plugin/CAudioExtParamList.h"
#include "Audio/Plugin/CAudioHostCall.h"
#include "Audio/VST/Arrangements.h"
#include "Audio/VST/CAudioWrapperVST3Parameter.h"
#include "Audio/VST/CAudioWrapperVST3ProgramParameter.h"
#include "Audio/VST/CInputStreamVST.h"
#include "Audio/VST/COutputStreamVST.h"
#include "Audio/VST/CVstBlock.h"
#include "Audio/VST/VstEvents.h"
#include "Audio/VST/VstText.h"
#include "Core/CLog.h"
#include "Core/CRoundingGuard.h"

#include <pluginterfaces/vst/vstspeaker.h>

#include <algorithm>

namespace kor
{

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace
{

constexpr ParamID programId = CAudioWrapperVST3ProgramParameter::programId;
constexpr ProgramListID programListId = programId;

tresult logged(CError failure)
{
    if (!failure)
        return kResultOk;
    CLog::writeError(std::move(failure));
    return kResultFalse;
}

}

CAudioWrapperVST3::~CAudioWrapperVST3()
{
    // Whatever still changes must find no bridge before this part of the object is gone.
    if (rowCount != 0)
        extParams().setBridge(nullptr);
}

tresult PLUGIN_API CAudioWrapperVST3::initialize(FUnknown* context)
{
    const CRoundingGuard rounding;
    const tresult result = CSingleComponentEffect::initialize(context);
    if (result != kResultOk)
        return result;
    if (rowCount == 0)
    {
        if (logged(init()) != kResultOk)
        {
            CSingleComponentEffect::terminate();
            return kResultFalse;
        }
        rowCount = static_cast<int>(extParams().rows().size());
    }
    addBusses();
    addParameters();
    return kResultOk;
}

tresult PLUGIN_API CAudioWrapperVST3::terminate()
{
    const CRoundingGuard rounding;
    if (rowCount != 0)
        deactivate();
    programs = nullptr;
    return CSingleComponentEffect::terminate();
}

tresult PLUGIN_API CAudioWrapperVST3::notify(IMessage* message)
{
    if (rowCount != 0)
        settle();
    return CSingleComponentEffect::notify(message);
}

void CAudioWrapperVST3::addBusses()
{
    addAudioBus(kInput, STR16("Audio In"), SpeakerArr::kStereo, Use::main);
    addAudioBus(kOutput, STR16("Audio Out"), SpeakerArr::kStereo, Use::main);
    addEventInput(STR16("MIDI In"), 1);
    if (instance().project().usesSidechain)
        addAudioBus(kInput, STR16("Sidechain"), SpeakerArr::kStereo, Use::side);
}

void CAudioWrapperVST3::addParameters()
{
    ParamID id = 0;
    for (CAudioExtParam* const row : extParams().rows())
        parameters.addParameter(new CAudioWrapperVST3Parameter(*row, id++));
    programs = new CAudioWrapperVST3ProgramParameter(*this);
    parameters.addParameter(programs);
}

tresult PLUGIN_API CAudioWrapperVST3::setActive(TBool state)
{
    const CRoundingGuard rounding;
    if (rowCount == 0)
        return kNotInitialized;
    if (state != 0)
        activate();
    else
        deactivate();
    return kResultOk;
}

tresult CAudioWrapperVST3::loadComponent(IBStream* stream)
{
    const CRoundingGuard rounding;
    if (stream == nullptr)
        return kInvalidArgument;
    if (rowCount == 0)
        return kNotInitialized;
    CInputStreamVST input(*stream);
    return logged(loadState(input));
}

tresult CAudioWrapperVST3::saveComponent(IBStream* stream)
{
    const CRoundingGuard rounding;
    if (stream == nullptr)
        return kInvalidArgument;
    if (rowCount == 0)
        return kNotInitialized;
    COutputStreamVST output(*stream);
    return logged(saveState(output));
}

tresult PLUGIN_API CAudioWrapperVST3::setBusArrangements(SpeakerArrangement* inputs, int32 numIns,
                                                         SpeakerArrangement* outputs, int32 numOuts)
{
    const CRoundingGuard rounding;
    if (rowCount == 0 || inputs == nullptr || outputs == nullptr || numIns <= 0 || numOuts <= 0)
        return kResultFalse;
    const CArrangementLimits limits{instance().channelCount(), instance().project().usesSidechain};
    CAudioHostChannels channels;
    if (!acceptArrangements({inputs, static_cast<std::size_t>(numIns)}, {outputs, static_cast<std::size_t>(numOuts)},
                            limits, channels))
        return kResultFalse;

    removeAudioBusses();
    addAudioBus(kInput, STR16("Audio In"), inputs[0], Use::main);
    addAudioBus(kOutput, STR16("Audio Out"), outputs[0], Use::main);
    CArray<CStringBuf> labels;
    appendSpeakerNames(inputs[0], labels);
    if (channels.sidechain > 0)
    {
        addAudioBus(kInput, STR16("Sidechain"), inputs[1], Use::side);
        appendSpeakerNames(inputs[1], labels);
    }
    setArrangement(channels, std::move(labels));
    return kResultOk;
}

tresult PLUGIN_API CAudioWrapperVST3::canProcessSampleSize(int32 size)
{
    return size == kSample32 || size == kSample64 ? kResultTrue : kResultFalse;
}

uint32 PLUGIN_API CAudioWrapperVST3::getLatencySamples()
{
    const CRoundingGuard rounding;
    return rowCount != 0 ? static_cast<uint32>(std::max(getLatency(), 0)) : 0;
}

tresult PLUGIN_API CAudioWrapperVST3::setupProcessing(ProcessSetup& setup)
{
    const CRoundingGuard rounding;
    if (rowCount == 0)
        return kNotInitialized;
    if (canProcessSampleSize(setup.symbolicSampleSize) != kResultTrue)
        return kResultFalse;
    if (logged(setSampleRate(setup.sampleRate)) != kResultOk)
        return kResultFalse;
    setOffline(setup.processMode == kOffline);
    return kResultOk;
}

tresult PLUGIN_API CAudioWrapperVST3::setProcessing(TBool state)
{
    const CRoundingGuard rounding;
    if (rowCount == 0)
        return kNotInitialized;
    if (state != 0)
        startProcessing();
    else
        stopProcessing();
    return kResultOk;
}

tresult PLUGIN_API CAudioWrapperVST3::process(ProcessData& data)
{
    const CRoundingGuard rounding;
    if (rowCount == 0)
    {
        CVstBlock::silenceOutput(data);
        return kResultOk;
    }
    setOffline(data.processMode == kOffline);
    takeEvents(data.inputParameterChanges, rowCount, *this);
    const CVstBlock block(data, instance().project().usesSidechain);
    CAudioWrapper::process(block.block());
    return kResultOk;
}

uint32 PLUGIN_API CAudioWrapperVST3::getTailSamples()
{
    const CRoundingGuard rounding;
    return rowCount != 0 ? static_cast<uint32>(std::max(getTail(), 0)) : 0;
}

tresult PLUGIN_API CAudioWrapperVST3::setComponentHandler(IComponentHandler* handler)
{
    const CLockHolder hold(handlerLock);
    return CSingleComponentEffect::setComponentHandler(handler);
}

IPtr<IComponentHandler> CAudioWrapperVST3::host() const
{
    const CLockHolder hold(handlerLock);
    return componentHandler;
}

CSharedParameter* CAudioWrapperVST3::parameter(ParamID id) const
{
    return static_cast<CSharedParameter*>(parameters.getParameter(id));
}

tresult PLUGIN_API CAudioWrapperVST3::getParamStringByValue(ParamID id, ParamValue value, String128 text)
{
    const CRoundingGuard rounding;
    return CSingleComponentEffect::getParamStringByValue(id, value, text);
}

tresult PLUGIN_API CAudioWrapperVST3::getParamValueByString(ParamID id, TChar* text, ParamValue& value)
{
    const CRoundingGuard rounding;
    return text != nullptr ? CSingleComponentEffect::getParamValueByString(id, text, value) : kInvalidArgument;
}

ParamValue PLUGIN_API CAudioWrapperVST3::getParamNormalized(ParamID id)
{
    const CSharedParameter* const found = parameter(id);
    return found != nullptr ? found->present() : 0.0;
}

tresult PLUGIN_API CAudioWrapperVST3::setParamNormalized(ParamID id, ParamValue value)
{
    const CRoundingGuard rounding;
    CSharedParameter* const found = parameter(id);
    if (found == nullptr)
        return kInvalidArgument;
    settle();
    return found->setNormalized(value) ? kResultOk : kInvalidArgument;
}

IPlugView* PLUGIN_API CAudioWrapperVST3::createView(FIDString)
{
    const CRoundingGuard rounding;
    if (rowCount != 0)
        settle();
    return nullptr;
}

tresult PLUGIN_API CAudioWrapperVST3::getUnitInfo(int32 index, UnitInfo& info)
{
    if (index != 0)
        return kResultFalse;
    info.id = kRootUnitId;
    info.parentUnitId = kNoParentUnitId;
    putText("Root", info.name);
    info.programListId = programListId;
    return kResultOk;
}

tresult PLUGIN_API CAudioWrapperVST3::getProgramListInfo(int32 index, ProgramListInfo& info)
{
    if (index != 0 || programs == nullptr)
        return kResultFalse;
    info.id = programListId;
    putText("Programs", info.name);
    info.programCount = programs->getInfo().stepCount + 1;
    return kResultOk;
}

tresult PLUGIN_API CAudioWrapperVST3::getProgramName(ProgramListID list, int32 index, String128 name)
{
    const CRoundingGuard rounding;
    if (list != programListId || programs == nullptr || index < 0 || index > programs->getInfo().stepCount)
        return kResultFalse;
    settle();
    putText(programs->programName(index), name);
    return kResultOk;
}

void CAudioWrapperVST3::sendValue(int index, double normalized)
{
    showValue(index, normalized);
    if (const IPtr<IComponentHandler> handler = host())
        handler->performEdit(static_cast<ParamID>(index), normalized);
}

void CAudioWrapperVST3::showValue(int index, double normalized)
{
    if (CSharedParameter* const found = parameter(static_cast<ParamID>(index)))
        found->store(clampNormalized(normalized));
}

void CAudioWrapperVST3::beginEdit(int index)
{
    if (const IPtr<IComponentHandler> handler = host())
        handler->beginEdit(static_cast<ParamID>(index));
}

void CAudioWrapperVST3::endEdit(int index)
{
    if (const IPtr<IComponentHandler> handler = host())
        handler->endEdit(static_cast<ParamID>(index));
}

void CAudioWrapperVST3::programChanged(bool isByHost)
{
    if (programs == nullptr)
        return;
    programs->refresh();
    const IPtr<IComponentHandler> handler = host();
    if (isByHost || handler == nullptr)
        return;
    handler->beginEdit(programId);
    handler->performEdit(programId, programs->present());
    handler->endEdit(programId);
    if (FUnknownPtr<IUnitHandler> units{handler.get()})
        units->notifyProgramListChange(programListId, kAllProgramInvalid);
}

}
