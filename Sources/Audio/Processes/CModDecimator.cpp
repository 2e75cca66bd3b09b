// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModDecimator.h"

#include "Audio/Graph/CAudioGraphContext.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

constexpr double delayFadeSeconds = 0.015;

}

void CModDecimator::reset()
{
    CAudioProcessBase::reset();
    for (CLine& line : lines)
    {
        if (line.delay)
            line.delay->reset();
        line.hasRun = false;
    }
}

void CModDecimator::update()
{
    if (!change.any())
        return;
    bool isPresent[maxPortChannels] = {};
    for (const CAudioPortChannel& entry : inputs().port(0).channels())
        isPresent[entry.channel.number] = true;
    for (int number = 0; number < maxPortChannels; ++number)
    {
        CLine& line = lines[number];
        if (change.rate || !isPresent[number])
        {
            line.delay.reset();
            line.hasRun = false;
        }
        if (isPresent[number])
            alignChannel(line);
    }
}

// A line that joins a signal which has been heard begins with the one sample that it needs to know of it, and so fades
// from the signal as it was.
void CModDecimator::alignChannel(CLine& line)
{
    const int samples = inputs().latency() & 1;
    if (!line.delay && samples > 0)
    {
        const int fade = static_cast<int>(std::nearbyint(delayFadeSeconds * inputs().sampleRate()));
        line.delay.emplace(context().pool, fade);
        if (line.hasRun)
            line.delay->process(&line.last, &line.last, 1);
    }
    if (line.delay)
        line.delay->setDelay(samples);
}

void CModDecimator::describeOutputs()
{
    const int latency = inputs().latency();
    CAudioChannel list[maxPortChannels];
    std::size_t count = 0;
    for (const CAudioPortChannel& entry : inputs().port(0).channels())
    {
        list[count] = entry.channel;
        list[count++].latency = (latency + (latency & 1)) / 2;
    }
    output().configure({list, count}, 0.5 * inputs().sampleRate(), std::max(1, inputs().blockCapacity() / 2));
}

void CModDecimator::delayChannel(CLine& line, CAudioBufferRef& buffer)
{
    const int length = inputs().blockLength();
    const double newest = buffer.samples()[length - 1];
    if (line.delay && line.delay->isIdle())
        line.delay.reset();
    if (line.delay)
    {
        CAudioBufferRef delayed =
            buffer.useCount() == 1 ? buffer : context().pool.take(std::max(inputs().blockCapacity(), length));
        line.delay->process(buffer.samples(), delayed.samples(), length);
        buffer = std::move(delayed);
    }
    line.last = newest;
    line.hasRun = true;
}

void CModDecimator::process()
{
    prepareInputs();
    const int length = inputs().blockLength();
    const int kept = length / 2;
    const auto channels = inputs().port(0).channels();
    for (std::size_t c = 0; kept > 0 && c < channels.size(); ++c)
    {
        CAudioBufferRef& buffer = channels[c].buffer;
        delayChannel(lines[channels[c].channel.number], buffer);
        CAudioBufferRef halved = buffer.useCount() == 1 ? buffer : context().pool.take(kept);
        const double* in = buffer.samples();
        double* out = halved.samples();
        for (int i = 0; i < kept; ++i)
            out[i] = in[2 * i];
        output().buffer(c) = std::move(halved);
    }
    output().blockLength = kept;
    deliverOutputs();
}

}
