// SPDX-License-Identifier: GPL-3.0-or-later
// A VST 3 effect as small as can be, for tests of the host: processor and controller are two objects, the result lies
// three samples late, and the gain changes at the very samples that its queue names. The variable FIXTURE_FORM makes it
// misbehave: "asleep" refuses to start, "empty" offers no class, "stubborn" takes mono only, "single" no doubles,
// "deaf" refuses every state.
#include "pluginterfaces/base/ibstream.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"
#include "public.sdk/source/vst/vstcomponent.h"
#include "public.sdk/source/vst/vsteditcontroller.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

// The interfaces are bases without virtual destructors.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace
{

const FUID processorId(0x6E1B5A01, 0x2B7C4D11, 0x9A0E3F52, 0x77C10D01);
const FUID controllerId(0x6E1B5A02, 0x2B7C4D11, 0x9A0E3F52, 0x77C10D02);
constexpr ParamID gainId = 40;              // 0 to 2, as a text too; 1 at the start
constexpr ParamID rateId = 41;              // what the processor told by message: kHz / 1000
constexpr int latency = 3;

bool isForm(const char* form)
{
    const char* const wanted = std::getenv("FIXTURE_FORM");
    return wanted != nullptr && std::strcmp(wanted, form) == 0;
}

class GainProcessor : public Component, public IAudioProcessor
{
public:
    GainProcessor() { setControllerClass(controllerId); }

    tresult PLUGIN_API initialize(FUnknown* context) override
    {
        const tresult result = Component::initialize(context);
        const SpeakerArrangement start = isForm("stubborn") ? SpeakerArr::kMono : SpeakerArr::kStereo;
        audioInputs.push_back(IPtr<Vst::Bus>(new AudioBus(STR16("In"), kMain, BusInfo::kDefaultActive, start), false));
        audioInputs.push_back(IPtr<Vst::Bus>(new AudioBus(STR16("Side"), kAux, 0, SpeakerArr::kMono), false));
        audioOutputs.push_back(IPtr<Vst::Bus>(new AudioBus(STR16("Out"), kMain, BusInfo::kDefaultActive, start), false));
        return result;
    }

    tresult PLUGIN_API setBusArrangements(SpeakerArrangement* in, int32 ins, SpeakerArrangement* out, int32 outs) override
    {
        if (isForm("stubborn") || ins != 2 || outs != 1 || in[0] != out[0])
            return kResultFalse;
        static_cast<AudioBus*>(audioInputs[0].get())->setArrangement(in[0]);
        static_cast<AudioBus*>(audioOutputs[0].get())->setArrangement(out[0]);
        return kResultTrue;
    }

    tresult PLUGIN_API getBusArrangement(BusDirection direction, int32 index, SpeakerArrangement& found) override
    {
        BusList& list = direction == kInput ? audioInputs : audioOutputs;
        if (index < 0 || index >= static_cast<int32>(list.size()))
            return kInvalidArgument;
        found = static_cast<AudioBus*>(list[static_cast<std::size_t>(index)].get())->getArrangement();
        return kResultTrue;
    }

    tresult PLUGIN_API canProcessSampleSize(int32 size) override
    {
        return size == kSample64 && isForm("single") ? kResultFalse : kResultTrue;
    }
    uint32 PLUGIN_API getLatencySamples() override { return latency; }
    tresult PLUGIN_API setupProcessing(ProcessSetup& setup) override
    {
        rate = setup.sampleRate;
        return kResultTrue;
    }
    tresult PLUGIN_API setProcessing(TBool) override { return kNotImplemented; }
    uint32 PLUGIN_API getTailSamples() override { return 7; }

    tresult PLUGIN_API setActive(TBool state) override
    {
        memory = {};
        if (state)
            if (IPtr<IMessage> message = owned(allocateMessage()))
            {
                message->setMessageID("rate");
                message->getAttributes()->setFloat("kHz", rate / 1000.0);
                sendMessage(message);
            }
        return Component::setActive(state);
    }

    tresult PLUGIN_API setState(IBStream* stream) override
    {
        double read = 0.0;
        int32 count = 0;
        if (isForm("deaf") || stream->read(&read, sizeof read, &count) != kResultOk || count != sizeof read)
            return kResultFalse;
        gain = read;
        return kResultOk;
    }
    tresult PLUGIN_API getState(IBStream* stream) override { return stream->write(&gain, sizeof gain, nullptr); }

    tresult PLUGIN_API process(ProcessData& data) override
    {
        for (int32 i = 0; i < data.numSamples || i == 0; ++i)
        {
            takeChanges(data.inputParameterChanges, i, i + 1 >= data.numSamples);
            for (int32 c = 0; i < data.numSamples && data.numOutputs > 0 && c < data.outputs[0].numChannels; ++c)
                if (data.symbolicSampleSize == kSample64)
                    one(data.inputs[0].channelBuffers64, data.outputs[0].channelBuffers64, c, i);
                else
                    one(data.inputs[0].channelBuffers32, data.outputs[0].channelBuffers32, c, i);
        }
        return kResultOk;
    }

    OBJ_METHODS(GainProcessor, Component)
    DEFINE_INTERFACES
    DEF_INTERFACE(IAudioProcessor)
    END_DEFINE_INTERFACES(Component)
    REFCOUNT_METHODS(Component)

private:
    // Points of one sample, and at the last all that lie behind it.
    void takeChanges(IParameterChanges* changes, int32 sample, bool isLast)
    {
        for (int32 q = 0; changes != nullptr && q < changes->getParameterCount(); ++q)
        {
            IParamValueQueue* const queue = changes->getParameterData(q);
            for (int32 p = 0; queue->getParameterId() == gainId && p < queue->getPointCount(); ++p)
            {
                int32 offset = 0;
                ParamValue value = 0.0;
                queue->getPoint(p, offset, value);
                if (offset == sample || (isLast && offset > sample))
                    gain = 2.0 * value;
            }
        }
    }

    template <class Sample>
    void one(Sample** in, Sample** out, int32 channel, int32 i)
    {
        auto& late = memory[static_cast<std::size_t>(channel)];
        const double sample = in[channel][i];
        out[channel][i] = static_cast<Sample>(late[0]);
        std::rotate(late.begin(), late.begin() + 1, late.end());
        late.back() = sample * gain;
    }

    double gain = 1.0;
    double rate = 0.0;
    std::array<std::array<double, latency>, 64> memory = {};
};

class GainController : public EditController
{
public:
    tresult PLUGIN_API initialize(FUnknown* context) override
    {
        const tresult result = EditController::initialize(context);
        parameters.addParameter(STR16("Gain"), STR16("x"), 0, 0.5, ParameterInfo::kCanAutomate, gainId);
        parameters.addParameter(STR16("Rate"), STR16("kHz"), 0, 0.0, ParameterInfo::kIsReadOnly, rateId);
        return result;
    }

    tresult PLUGIN_API setComponentState(IBStream* stream) override
    {
        double gain = 0.0;
        int32 count = 0;
        if (stream->read(&gain, sizeof gain, &count) == kResultOk && count == sizeof gain)
            setParamNormalized(gainId, gain / 2.0);
        return kResultOk;
    }

    tresult PLUGIN_API getParamStringByValue(ParamID id, ParamValue value, String128 text) override
    {
        char plain[32];
        std::snprintf(plain, sizeof plain, "%g", id == gainId ? 2.0 * value : 1000.0 * value);
        for (std::size_t i = 0; i <= std::strlen(plain); ++i)
            text[i] = static_cast<TChar>(plain[i]);
        return kResultOk;
    }

    tresult PLUGIN_API getParamValueByString(ParamID id, TChar* text, ParamValue& value) override
    {
        std::string plain;
        for (; *text != 0; ++text)
            plain += static_cast<char>(*text);
        char* end = nullptr;
        const double read = std::strtod(plain.c_str(), &end);
        if (id != gainId || plain.empty() || *end != 0)
            return kResultFalse;
        value = read / 2.0;
        return kResultOk;
    }

    tresult PLUGIN_API notify(IMessage* message) override
    {
        double kHz = 0.0;
        if (std::strcmp(message->getMessageID(), "rate") == 0 && message->getAttributes()->getFloat("kHz", kHz) == kResultOk)
            setParamNormalized(rateId, kHz / 1000.0);
        return kResultOk;
    }
};

class GainFactory : public IPluginFactory
{
public:
    tresult PLUGIN_API queryInterface(const TUID wanted, void** object) override
    {
        const bool isOurs = FUnknownPrivate::iidEqual(wanted, FUnknown::iid) ||
                            FUnknownPrivate::iidEqual(wanted, IPluginFactory::iid);
        *object = isOurs ? this : nullptr;
        return isOurs ? kResultOk : kNoInterface;
    }
    uint32 PLUGIN_API addRef() override { return 1; }
    uint32 PLUGIN_API release() override { return 1; }
    tresult PLUGIN_API getFactoryInfo(PFactoryInfo* info) override
    {
        *info = PFactoryInfo("Fixtures", "", "", PFactoryInfo::kUnicode);
        return kResultOk;
    }
    int32 PLUGIN_API countClasses() override { return isForm("empty") ? 0 : 2; }
    tresult PLUGIN_API getClassInfo(int32 index, PClassInfo* info) override
    {
        TUID id;
        (index == 0 ? controllerId : processorId).toTUID(id);
        *info = PClassInfo(id, PClassInfo::kManyInstances, index == 0 ? kVstComponentControllerClass : kVstAudioEffectClass,
                           "Fixture Gain");
        return kResultOk;
    }
    tresult PLUGIN_API createInstance(FIDString wanted, FIDString asked, void** object) override
    {
        FUnknown* made = nullptr;
        if (FUnknownPrivate::iidEqual(wanted, processorId))
            made = static_cast<IComponent*>(new GainProcessor);
        else if (FUnknownPrivate::iidEqual(wanted, controllerId))
            made = static_cast<IEditController*>(new GainController);
        if (made == nullptr)
            return kNoInterface;
        const tresult result = made->queryInterface(asked, object);
        made->release();
        return result;
    }
};

}

#define FIXTURE_EXPORT extern "C" __attribute__((visibility("default")))

FIXTURE_EXPORT bool ModuleEntry(void*)
{
    return !isForm("asleep");
}

FIXTURE_EXPORT bool ModuleExit()
{
    return true;
}

FIXTURE_EXPORT IPluginFactory* GetPluginFactory()
{
    static GainFactory factory;
    return &factory;
}
