// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CVst3Plugin.h"

#include "Vst3Host/CHostApplication.h"
#include "Vst3Host/CHostStream.h"
#include "Vst3Host/HostText.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <strings.h>

namespace kor
{

using namespace Steinberg;

namespace
{

// The usual arrangement of that many channels, in the order of a wave file's.
Vst::SpeakerArrangement arrangementOf(int channels)
{
    using namespace Vst::SpeakerArr;
    constexpr Vst::SpeakerArrangement usual[] = {kEmpty, kMono, kStereo, k30Cine, k40Music, k50, k51, k70Music, k71Music};
    if (channels < static_cast<int>(std::size(usual)))
        return usual[channels];
    return (Vst::SpeakerArrangement(1) << channels) - 1;
}

// One object out of a factory; null when it refuses.
template <class Interface>
IPtr<Interface> create(IPluginFactory& factory, const TUID classId)
{
    void* made = nullptr;
    if (factory.createInstance(classId, Interface::iid, &made) != kResultOk || made == nullptr)
        return {};
    return IPtr<Interface>(static_cast<Interface*>(made), false);
}

}

CVst3Plugin::CVst3Plugin(CHostApplication& application) : host(application), ear(application.runLoop()) {}

CVst3Plugin::~CVst3Plugin()
{
    close();
}

CError CVst3Plugin::open(const CVst3Module& module, const CVst3Class& effect)
{
    close();
    about = effect;
    TUID classId;
    effect.id.toTUID(classId);
    processorSide = create<Vst::IComponent>(module.factory(), classId);
    if (processorSide == nullptr)
        return KOR_FAIL("'%1' cannot be created", about.name);
    if (processorSide->initialize(static_cast<Vst::IHostApplication*>(&host)) != kResultOk)
    {
        processorSide.reset();
        return KOR_FAIL("'%1' fails to initialise", about.name);
    }
    audio = FUnknownPtr<Vst::IAudioProcessor>(processorSide);
    CError failure = audio != nullptr ? openController(module) : KOR_FAIL("'%1' does not process audio", about.name);
    if (failure)
        close();
    return failure;
}

CError CVst3Plugin::openController(const CVst3Module& module)
{
    controllerSide = FUnknownPtr<Vst::IEditController>(processorSide);
    isOneObject = controllerSide != nullptr;
    TUID classId = {};
    if (!isOneObject && processorSide->getControllerClassId(classId) == kResultOk)
    {
        controllerSide = create<Vst::IEditController>(module.factory(), classId);
        if (controllerSide == nullptr)
            return KOR_FAIL("the controller of '%1' cannot be created", about.name);
        if (controllerSide->initialize(static_cast<Vst::IHostApplication*>(&host)) != kResultOk)
        {
            controllerSide.reset();
            return KOR_FAIL("the controller of '%1' fails to initialise", about.name);
        }
    }
    if (controllerSide == nullptr)
        return {};
    controllerSide->setComponentHandler(&ear);
    if (!isOneObject)
    {
        connectHalves(true);
        CHostStream state;
        int64 start = 0;
        if (processorSide->getState(&state) == kResultOk && state.seek(0, IBStream::kIBSeekSet, &start) == kResultOk)
            controllerSide->setComponentState(&state);
    }
    readParameters();
    return {};
}

void CVst3Plugin::connectHalves(bool isJoining)
{
    const FUnknownPtr<Vst::IConnectionPoint> one(processorSide);
    const FUnknownPtr<Vst::IConnectionPoint> other(controllerSide);
    if (!one || !other || isConnected == isJoining)
        return;
    isConnected = isJoining;
    if (isJoining)
    {
        one->connect(other);
        other->connect(one);
    }
    else
    {
        one->disconnect(other);
        other->disconnect(one);
    }
}

void CVst3Plugin::close()
{
    if (processorSide == nullptr)
        return;
    deactivate();
    if (controllerSide != nullptr)
    {
        controllerSide->setComponentHandler(nullptr);
        if (!isOneObject)
        {
            connectHalves(false);
            controllerSide->terminate();
        }
    }
    processorSide->terminate();
    controllerSide.reset();
    audio.reset();
    processorSide.reset();
    paramList.clear();
}

void CVst3Plugin::readParameters()
{
    const int32 count = controllerSide->getParameterCount();
    for (int32 i = 0; i < count; ++i)
    {
        Vst::ParameterInfo info = {};
        if (controllerSide->getParameterInfo(i, info) == kResultOk)
            paramList.push_back({info.id, textOf(info.title), textOf(info.units), info.defaultNormalizedValue,
                                 info.stepCount, info.flags});
    }
    const auto room = static_cast<int>(paramList.size());
    incoming.reserve(room);
    outgoing.reserve(room);
}

std::vector<CVst3Bus> CVst3Plugin::buses() const
{
    std::vector<CVst3Bus> all;
    for (const Vst::MediaType media : {Vst::kAudio, Vst::kEvent})
        for (const Vst::BusDirection direction : {Vst::kInput, Vst::kOutput})
        {
            const int32 count = processorSide->getBusCount(media, direction);
            for (int32 i = 0; i < count; ++i)
            {
                Vst::BusInfo info = {};
                if (processorSide->getBusInfo(media, direction, i, info) != kResultOk)
                    continue;
                all.push_back({textOf(info.name), info.channelCount, media == Vst::kAudio, direction == Vst::kInput,
                               info.busType == Vst::kMain, (info.flags & Vst::BusInfo::kDefaultActive) != 0});
            }
        }
    return all;
}

std::vector<std::string> CVst3Plugin::programs() const
{
    std::vector<std::string> names;
    const FUnknownPtr<Vst::IUnitInfo> units(controllerSide);
    Vst::ProgramListInfo list = {};
    if (!units || units->getProgramListCount() < 1 || units->getProgramListInfo(0, list) != kResultOk)
        return names;
    for (int32 i = 0; i < list.programCount; ++i)
    {
        Vst::String128 name = {};
        units->getProgramName(list.id, i, name);
        names.push_back(textOf(name));
    }
    return names;
}

const CVst3Parameter* CVst3Plugin::findParameter(std::string_view title) const
{
    const std::string wanted(title);
    for (const CVst3Parameter& parameter : paramList)
        if (parameter.title == wanted)
            return &parameter;
    for (const CVst3Parameter& parameter : paramList)
        if (::strcasecmp(parameter.title.c_str(), wanted.c_str()) == 0)
            return &parameter;
    return nullptr;
}

const CVst3Parameter* CVst3Plugin::programParameter() const
{
    for (const CVst3Parameter& parameter : paramList)
        if ((parameter.flags & Vst::ParameterInfo::kIsProgramChange) != 0)
            return &parameter;
    return nullptr;
}

std::string CVst3Plugin::textOfValue(const CVst3Parameter& parameter, double normalised) const
{
    Vst::String128 text = {};
    const bool isSaid = controllerSide->getParamStringByValue(parameter.id, normalised, text) == kResultOk;
    return isSaid ? textOf(text) : std::string();
}

CError CVst3Plugin::valueOfText(const CVst3Parameter& parameter, const std::string& text, double& normalised) const
{
    Vst::String128 typed = {};
    putText(typed, text);
    double read = 0.0;
    if (controllerSide->getParamValueByString(parameter.id, typed, read) != kResultOk || !std::isfinite(read))
        return KOR_FAIL("'%1' is no value for '%2' of '%3'", text, parameter.title, about.name);
    normalised = std::clamp(read, 0.0, 1.0);
    return {};
}

double CVst3Plugin::value(const CVst3Parameter& parameter) const
{
    return controllerSide->getParamNormalized(parameter.id);
}

void CVst3Plugin::setValue(const CVst3Parameter& parameter, double normalised)
{
    controllerSide->setParamNormalized(parameter.id, normalised);
    incoming.add(parameter.id, 0, normalised);
}

CError CVst3Plugin::getState(std::vector<char>& state) const
{
    CHostStream stream;
    if (processorSide->getState(&stream) != kResultOk)
        return KOR_FAIL("'%1' gives no state", about.name);
    state = stream.contents();
    return {};
}

CError CVst3Plugin::setState(std::span<const char> state)
{
    CHostStream stream(state);
    if (processorSide->setState(&stream) != kResultOk)
        return KOR_FAIL("'%1' refuses the state", about.name);
    if (controllerSide != nullptr && !isOneObject)
    {
        CHostStream again(state);
        controllerSide->setComponentState(&again);
    }
    return {};
}

CError CVst3Plugin::setLayout(int inputs, int outputs)
{
    const auto refusal = [&]
    {
        return KOR_FAIL("'%1' takes no layout of %2 channels in and %3 out", about.name, inputs, outputs);
    };
    constexpr int mostChannels = 63;
    if (inputs > mostChannels || outputs > mostChannels)
        return refusal();
    std::vector<Vst::SpeakerArrangement> wanted[2];
    for (const Vst::BusDirection direction : {Vst::kInput, Vst::kOutput})
    {
        wanted[direction].resize(static_cast<std::size_t>(processorSide->getBusCount(Vst::kAudio, direction)));
        for (std::size_t i = 0; i < wanted[direction].size(); ++i)
            audio->getBusArrangement(direction, static_cast<int32>(i), wanted[direction][i]);
        const int channels = direction == Vst::kInput ? inputs : outputs;
        if (!wanted[direction].empty())
            wanted[direction][0] = arrangementOf(channels);
        else if (channels > 0)
            return refusal();
    }
    const tresult answer = audio->setBusArrangements(wanted[Vst::kInput].data(), static_cast<int32>(wanted[Vst::kInput].size()),
                                                     wanted[Vst::kOutput].data(),
                                                     static_cast<int32>(wanted[Vst::kOutput].size()));
    if (answer == kResultTrue)
        return {};
    // Some change nothing and say no where what they have is what was wanted.
    for (const Vst::BusDirection direction : {Vst::kInput, Vst::kOutput})
    {
        Vst::SpeakerArrangement present = 0;
        if (!wanted[direction].empty() && (audio->getBusArrangement(direction, 0, present) != kResultOk ||
                                           std::popcount(present) != std::popcount(wanted[direction][0])))
            return refusal();
    }
    return {};
}

std::vector<int> CVst3Plugin::channelsOfBuses(Vst::BusDirection direction) const
{
    std::vector<int> channels;
    const int32 count = processorSide->getBusCount(Vst::kAudio, direction);
    for (int32 i = 0; i < count; ++i)
    {
        Vst::BusInfo info = {};
        const bool isKnown = processorSide->getBusInfo(Vst::kAudio, direction, i, info) == kResultOk;
        channels.push_back(isKnown ? std::clamp<int>(info.channelCount, 0, 64) : 0);
    }
    return channels;
}

void CVst3Plugin::activateBuses(bool isOn)
{
    // The main buses; side chains and the like stay off, as where nobody connects them.
    for (const Vst::BusDirection direction : {Vst::kInput, Vst::kOutput})
        if (processorSide->getBusCount(Vst::kAudio, direction) > 0)
            processorSide->activateBus(Vst::kAudio, direction, 0, isOn);
}

CError CVst3Plugin::activate(const CVst3Setup& setup)
{
    deactivate();
    const int32 size = setup.isDouble ? Vst::kSample64 : Vst::kSample32;
    if (audio->canProcessSampleSize(size) != kResultTrue)
        return KOR_FAIL("'%1' takes no samples in %2 precision", about.name, setup.isDouble ? "double" : "single");
    Vst::ProcessSetup wanted = {setup.isOffline ? Vst::kOffline : Vst::kRealtime, size, setup.maxBlock,
                                setup.sampleRate};
    if (audio->setupProcessing(wanted) != kResultOk)
        return KOR_FAIL("'%1' refuses %2 Hz in blocks of %3", about.name, setup.sampleRate, setup.maxBlock);
    how = setup;
    activateBuses(true);
    if (const tresult answer = processorSide->setActive(true); answer != kResultOk && answer != kNotImplemented)
    {
        activateBuses(false);
        return KOR_FAIL("'%1' does not become active", about.name);
    }
    isRunning = true;
    inputBuses.prepare(channelsOfBuses(Vst::kInput), setup.maxBlock);
    outputBuses.prepare(channelsOfBuses(Vst::kOutput), setup.maxBlock);
    context = {};
    context.state = Vst::ProcessContext::kPlaying | Vst::ProcessContext::kTempoValid |
                    Vst::ProcessContext::kTimeSigValid | Vst::ProcessContext::kContTimeValid |
                    Vst::ProcessContext::kProjectTimeMusicValid;
    context.sampleRate = setup.sampleRate;
    context.tempo = 120.0;
    context.timeSigNumerator = 4;
    context.timeSigDenominator = 4;
    audio->setProcessing(true);
    return {};
}

void CVst3Plugin::deactivate()
{
    if (!isRunning)
        return;
    isRunning = false;
    audio->setProcessing(false);
    processorSide->setActive(false);
    activateBuses(false);
}

bool CVst3Plugin::process(std::span<void* const> inputs, std::span<void* const> outputs, int frames)
{
    inputBuses.setMain(inputs, true);
    outputBuses.setMain(outputs, false);
    return call(frames, true);
}

bool CVst3Plugin::flush()
{
    return call(0, false);
}

bool CVst3Plugin::call(int frames, bool hasBuses)
{
    Vst::ProcessData data;
    data.processMode = how.isOffline ? Vst::kOffline : Vst::kRealtime;
    data.symbolicSampleSize = how.isDouble ? Vst::kSample64 : Vst::kSample32;
    data.numSamples = frames;
    data.numInputs = hasBuses ? inputBuses.busCount() : 0;
    data.numOutputs = hasBuses ? outputBuses.busCount() : 0;
    data.inputs = hasBuses ? inputBuses.data() : nullptr;
    data.outputs = hasBuses ? outputBuses.data() : nullptr;
    eventsOut.clear();
    outgoing.clear();
    data.inputParameterChanges = &incoming;
    data.outputParameterChanges = &outgoing;
    data.inputEvents = &eventsIn;
    data.outputEvents = &eventsOut;
    data.processContext = &context;
    const bool isDone = audio->process(data) == kResultOk;
    incoming.clear();
    context.projectTimeSamples += frames;
    context.continousTimeSamples = context.projectTimeSamples;
    context.projectTimeMusic = static_cast<double>(context.projectTimeSamples) / how.sampleRate * context.tempo / 60.0;
    return isDone;
}

}
