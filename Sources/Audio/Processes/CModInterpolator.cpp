// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModInterpolator.h"

#include "Audio/Graph/CAudioGraphContext.h"

#include <algorithm>

namespace kor
{

void CModInterpolator::describeOutputs()
{
    CAudioChannel list[maxPortChannels];
    std::size_t count = 0;
    for (const CAudioPortChannel& entry : inputs().port(0).channels())
    {
        list[count] = entry.channel;
        list[count++].latency = 2 * inputs().latency();
    }
    output().configure({list, count}, 2.0 * inputs().sampleRate(), 2 * inputs().blockCapacity());
}

void CModInterpolator::process()
{
    prepareInputs();
    const int length = inputs().blockLength();
    const int capacity = 2 * std::max(inputs().blockCapacity(), length);
    const auto channels = inputs().port(0).channels();
    for (std::size_t c = 0; length > 0 && c < channels.size(); ++c)
    {
        CAudioBufferRef doubled = context().pool.take(capacity);
        const double* in = channels[c].buffer.samples();
        double* out = doubled.samples();
        for (int i = 0; i < length; ++i)
        {
            out[2 * i] = 2.0 * in[i];
            out[2 * i + 1] = 0.0;
        }
        output().buffer(c) = std::move(doubled);
    }
    output().blockLength = 2 * length;
    deliverOutputs();
}

}
