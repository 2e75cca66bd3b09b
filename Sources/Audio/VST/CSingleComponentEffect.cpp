// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CSingleComponentEffect.h"

namespace kor
{

using namespace Steinberg;
using namespace Steinberg::Vst;

CSingleComponentEffect::CSingleComponentEffect()
    : audioInputs(kAudio, kInput), audioOutputs(kAudio, kOutput), eventInputs(kEvent, kInput),
      eventOutputs(kEvent, kOutput)
{
}

tresult PLUGIN_API CSingleComponentEffect::initialize(FUnknown* context)
{
    // The SDK knows a second call only by a context, which a host may leave out.
    if (isInitialised)
        return kResultFalse;
    const tresult result = EditController::initialize(context);
    isInitialised = result == kResultOk;
    return result;
}

tresult PLUGIN_API CSingleComponentEffect::terminate()
{
    isInitialised = false;
    removeAudioBusses();
    eventInputs.clear();
    eventOutputs.clear();
    return EditController::terminate();
}

tresult PLUGIN_API CSingleComponentEffect::getParameterInfo(int32 index, ParameterInfo& info)
{
    if (index < 0 || index >= getParameterCount())
        return kInvalidArgument;
    return EditController::getParameterInfo(index, info);
}

BusList* CSingleComponentEffect::findBusses(MediaType type, BusDirection direction) noexcept
{
    if (direction != kInput && direction != kOutput)
        return nullptr;
    switch (type)
    {
    case kAudio:
        return direction == kInput ? &audioInputs : &audioOutputs;
    case kEvent:
        return direction == kInput ? &eventInputs : &eventOutputs;
    default:
        return nullptr;
    }
}

Bus* CSingleComponentEffect::findBus(MediaType type, BusDirection direction, int32 index) noexcept
{
    BusList* const busses = findBusses(type, direction);
    if (busses == nullptr || index < 0 || static_cast<std::size_t>(index) >= busses->size())
        return nullptr;
    return (*busses)[static_cast<std::size_t>(index)];
}

int32 PLUGIN_API CSingleComponentEffect::getBusCount(MediaType type, BusDirection direction)
{
    const BusList* const busses = findBusses(type, direction);
    return busses != nullptr ? static_cast<int32>(busses->size()) : 0;
}

tresult PLUGIN_API CSingleComponentEffect::getBusInfo(MediaType type, BusDirection direction, int32 index,
                                                      BusInfo& info)
{
    Bus* const bus = findBus(type, direction, index);
    if (bus == nullptr)
        return kInvalidArgument;
    info.mediaType = type;
    info.direction = direction;
    return bus->getInfo(info) ? kResultOk : kResultFalse;
}

tresult PLUGIN_API CSingleComponentEffect::activateBus(MediaType type, BusDirection direction, int32 index, TBool state)
{
    Bus* const bus = findBus(type, direction, index);
    if (bus == nullptr)
        return kInvalidArgument;
    bus->setActive(state);
    return kResultOk;
}

tresult PLUGIN_API CSingleComponentEffect::getBusArrangement(BusDirection direction, int32 index,
                                                             SpeakerArrangement& arrangement)
{
    const Bus* const bus = findBus(kAudio, direction, index);
    if (bus == nullptr)
        return kInvalidArgument;
    arrangement = static_cast<const AudioBus*>(bus)->getArrangement();
    return kResultOk;
}

void CSingleComponentEffect::addAudioBus(BusDirection direction, const TChar* name, SpeakerArrangement arrangement,
                                         Use use)
{
    const bool isMain = use == Use::main;
    BusList& busses = direction == kInput ? audioInputs : audioOutputs;
    busses.push_back(owned(static_cast<Bus*>(
        new AudioBus(name, isMain ? kMain : kAux, isMain ? BusInfo::kDefaultActive : 0, arrangement))));
}

void CSingleComponentEffect::addEventInput(const TChar* name, int32 channels)
{
    eventInputs.push_back(owned(static_cast<Bus*>(new EventBus(name, kMain, BusInfo::kDefaultActive, channels))));
}

void CSingleComponentEffect::removeAudioBusses()
{
    audioInputs.clear();
    audioOutputs.clear();
}

}
