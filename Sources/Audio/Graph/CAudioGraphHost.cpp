// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioGraphHost.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessBase.h"
#include "Audio/Graph/CModOutput.h"
#include "Audio/Graph/CModOutputDef.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Platform/CDenormalGuard.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

// 200 dB above full scale: what lies beyond, or is no number, is a fault somewhere before the graph. One such sample
// would stay in every recursive filter for seconds, or for ever.
constexpr double loudestSample = 1e10;

void copySane(const double* in, double* out, int count)
{
    for (int i = 0; i < count; ++i)
        out[i] = std::abs(in[i]) <= loudestSample ? in[i] : 0.0;
}

}

struct CAudioGraphHost::CImplementation
{
    CAudioGraphContext context;
    CModOutputDef endDefinition;
    CAudioOutput input; // what feeds the root's port 0
    std::unique_ptr<CAudioProcessBase> root;
    std::unique_ptr<CAudioProcessBase> end;
    std::function<void()> blockStart = [] {};

    CImplementation(CAudioParamCollector& collector, CAudioEnv& environment) : context(collector, environment) {}

    bool isReady() const { return root != nullptr && !input.channels().empty(); }
    void runSlice(const double* const* in, double* const* out, int outputChannels, int count);
};

CAudioGraphHost::CAudioGraphHost(CAudioParamCollector& collector, CAudioEnv& environment)
    : impl(std::make_unique<CImplementation>(collector, environment))
{
}

CAudioGraphHost::~CAudioGraphHost() = default;

CError CAudioGraphHost::create(const CAudioProcessDefBase& definition, const CStringBuf& name)
{
    if (impl->root != nullptr)
        return KOR_FAIL("The graph host has a process already.");
    std::unique_ptr<CAudioProcessBase> root;
    std::unique_ptr<CAudioProcessBase> end;
    KOR_TRY(CAudioProcessBase::createRootProcess(root, definition, impl->context, name));
    KOR_TRY(CAudioProcessBase::createRootProcess(end, impl->endDefinition, impl->context, name + ".end"));
    root->inputs().port(0).connect(impl->input);
    end->inputs().port(0).connect(root->output());
    impl->root = std::move(root);
    impl->end = std::move(end);
    return {};
}

CError CAudioGraphHost::setLayout(std::span<const int> channelGroups, double sampleRate)
{
    KOR_TRY(changeLayout(channelGroups, sampleRate));
    prime();
    impl->root->reset();
    impl->end->reset();
    KOR_TRY(impl->context.takeError());
    return {};
}

CError CAudioGraphHost::changeLayout(std::span<const int> channelGroups, double sampleRate)
{
    if (impl->root == nullptr)
        return KOR_FAIL("The graph host has no process yet.");
    if (channelGroups.empty() || channelGroups.size() > maxPortChannels)
        return KOR_FAIL("Invalid channel count %1: 1 to %2 channels are possible.", channelGroups.size(),
                        maxPortChannels);
    if (!(sampleRate >= lowestRate && sampleRate <= highestRate))
        return KOR_FAIL("Invalid sample rate %1 Hz: %2 to %3 Hz are possible.", sampleRate, lowestRate, highestRate);

    CArray<CAudioChannel> channels;
    for (const int group : channelGroups)
    {
        if (group < 0 || group >= CAudioParamCollector::maxGroupCount)
            return KOR_FAIL("Invalid channel group %1.", group);
        channels.push_back({static_cast<int>(channels.size()), group, 0});
    }
    impl->input.configure(channels, sampleRate, sliceSize);
    impl->context.env.sampleRate = sampleRate;
    return {};
}

void CAudioGraphHost::setBlockStart(std::function<void()> call)
{
    impl->blockStart = std::move(call);
}

void CAudioGraphHost::prime()
{
    if (!impl->isReady())
        return;
    beginBlock();
    beginSlice();
    impl->context.isPriming = true;
    impl->runSlice(nullptr, nullptr, 0, 1);
    impl->context.isPriming = false;
}

void CAudioGraphHost::reserveBuffers()
{
    constexpr int buffersPerChannel = 8;            // at most seen where settings fade: between 7 and 8
    impl->context.pool.keepSpare(buffersPerChannel * static_cast<int>(impl->input.channels().size()));
}

void CAudioGraphHost::process(const double* const* in, double* const* out, int outputChannels, int frames)
{
    const double* inputs[maxPortChannels];
    double* outputs[maxPortChannels];
    const int inputCount = static_cast<int>(impl->input.channels().size());
    const int outputCount = std::min(outputChannels, maxPortChannels);
    beginBlock();
    for (int offset = 0; offset < frames;)
    {
        const int count = std::min(frames - offset, sliceSize);
        for (int c = 0; c < inputCount; ++c)
            inputs[c] = in != nullptr && in[c] != nullptr ? in[c] + offset : nullptr;
        for (int c = 0; c < outputCount; ++c)
            outputs[c] = out[c] != nullptr ? out[c] + offset : nullptr;
        beginSlice();
        processSlice(inputs, outputs, outputCount, count);
        offset += count;
    }
    for (int c = maxPortChannels; c < outputChannels; ++c)
    {
        if (out[c] != nullptr)
            std::fill_n(out[c], frames, 0.0);
    }
}

void CAudioGraphHost::beginBlock()
{
    if (impl->isReady())
        impl->blockStart();
}

void CAudioGraphHost::beginSlice()
{
    if (!impl->isReady())
        return;
    impl->context.collector.flush();
    impl->context.beginSlice();
}

void CAudioGraphHost::processSlice(const double* const* in, double* const* out, int outputChannels, int frames)
{
    if (impl->isReady())
    {
        impl->runSlice(in, out, outputChannels, frames);
        impl->context.env.time += frames / impl->input.sampleRate();
        return;
    }
    for (int c = 0; c < outputChannels; ++c)
    {
        if (out[c] != nullptr)
            std::fill_n(out[c], frames, 0.0);
    }
}

void CAudioGraphHost::CImplementation::runSlice(const double* const* in, double* const* out, int outputChannels,
                                                int count)
{
    const CDenormalGuard denormalsAreZero;
    context.env.isInSlice = true;
    // Copied before anything is written, so that outputs may be the same memory as inputs.
    for (std::size_t c = 0; c < input.channels().size(); ++c)
    {
        CAudioBufferRef buffer = context.pool.take(sliceSize);
        if (in != nullptr && in[c] != nullptr)
            copySane(in[c], buffer.samples(), count);
        else
            std::fill_n(buffer.samples(), count, 0.0);
        input.buffer(c) = std::move(buffer);
    }
    input.blockLength = count;
    input.deliver();
    root->process();
    end->process();

    CAudioPort& result = end->inputs().port(0);
    const int length = std::min(end->inputs().blockLength(), count);
    for (int c = 0; c < outputChannels; ++c)
    {
        if (out[c] == nullptr)
            continue;
        const CAudioPortChannel* channel = result.find(c);
        const int there = channel != nullptr ? length : 0;
        if (there > 0)
            std::copy_n(channel->buffer.samples(), there, out[c]);
        std::fill_n(out[c] + there, count - there, 0.0);
    }
    end->inputs().releaseBuffers();
    context.env.isInSlice = false;
}

void CAudioGraphHost::stop()
{
    if (impl->root != nullptr)
    {
        impl->root->reset();
        impl->end->reset();
    }
}

int CAudioGraphHost::latency() const
{
    return impl->end != nullptr ? impl->end->inputs().latency() : 0;
}

int CAudioGraphHost::outputCount() const
{
    if (impl->end == nullptr)
        return 0;
    const auto channels = impl->end->inputs().port(0).channels();
    return channels.empty() ? 0 : channels.back().channel.number + 1;
}

int CAudioGraphHost::buffersInUse() const
{
    return impl->context.pool.inUse();
}

CError CAudioGraphHost::takeError()
{
    return impl->context.takeError();
}

CAudioProcessBase* CAudioGraphHost::rootProcess() const noexcept
{
    return impl->root.get();
}

CAudioGraphContext& CAudioGraphHost::context() const noexcept
{
    return impl->context;
}

}
