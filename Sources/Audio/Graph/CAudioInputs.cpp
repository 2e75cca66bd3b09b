// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioInputs.h"

#include "Audio/Graph/CDSPModDelay.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

constexpr double delayFadeSeconds = 0.015;

// Sums 1 to 4 buffers into `out`, which may be any of them.
void sum(double* out, const double* const* in, std::size_t sources, int count)
{
    switch (sources)
    {
    case 1:
        if (out != in[0])
            std::copy_n(in[0], count, out);
        break;
    case 2:
        for (int i = 0; i < count; ++i)
            out[i] = in[0][i] + in[1][i];
        break;
    case 3:
        for (int i = 0; i < count; ++i)
            out[i] = in[0][i] + in[1][i] + in[2][i];
        break;
    default:
        for (int i = 0; i < count; ++i)
            out[i] = (in[0][i] + in[1][i]) + (in[2][i] + in[3][i]);
        break;
    }
}

}

CAudioInputs::CAudioInputs(CAudioBufferPool& bufferPool) : pool(bufferPool)
{
    ports.push_back(std::make_unique<CAudioPort>());
}

CAudioPort& CAudioInputs::port(std::size_t index)
{
    while (ports.size() <= index)
        ports.push_back(std::make_unique<CAudioPort>());
    return *ports[index];
}

bool CAudioInputs::dropGoneSources()
{
    bool anyGone = false;
    for (const auto& port : ports)
        anyGone |= std::erase_if(port->feeds, [](const auto& feed) { return feed->source() == nullptr; }) > 0;
    return anyGone;
}

CAudioInputChange CAudioInputs::refresh()
{
    bool isStale = dropGoneSources();
    const CAudioOutput* first = nullptr;
    for (const auto& port : ports)
    {
        isStale |= port->linksChanged;
        for (const auto& feed : port->feeds)
        {
            isStale |= feed->seenGeneration != feed->source()->generation();
            if (first == nullptr)
                first = feed->source();
        }
    }
    length = first != nullptr ? first->blockLength : 0;
    if (!isStale)
        return {};

    CAudioInputChange change;
    const double newRate = first != nullptr ? first->sampleRate() : 1.0;
    change.rate = newRate != rateHz;
    rateHz = newRate;
    capacity = first != nullptr ? first->blockCapacity() : 0;

    const int lastLargest = largest;
    largest = 0;
    smallest = 0;
    bool hasLatency = false;
    for (const auto& port : ports)
    {
        for (const auto& feed : port->feeds)
        {
            for (const CAudioChannel& channel : feed->source()->channels())
            {
                largest = std::max(largest, channel.latency);
                smallest = hasLatency ? std::min(smallest, channel.latency) : channel.latency;
                hasLatency = true;
            }
        }
    }
    change.latency = largest != lastLargest;

    nextView.clear();
    for (const auto& port : ports)
    {
        mergePort(*port);
        nextView.push_back({-1, port->isConnected() ? 1 : 0, 0});
        for (const CAudioPortChannel& channel : port->merged)
            nextView.push_back({channel.channel.number, channel.channel.group, 0});
        for (const auto& feed : port->feeds)
        {
            if (change.rate)
                std::ranges::for_each(feed->delays, [](auto& delay) { delay.reset(); });
            placeDelays(*feed);
            feed->seenGeneration = feed->source()->generation();
        }
        port->linksChanged = false;
    }
    change.channels = nextView != lastView;
    nextView.swap(lastView);
    hasPlainLinks = isPlain();
    return change;
}

bool CAudioInputs::isPlain() const noexcept
{
    for (const auto& port : ports)
    {
        const auto hasOneSource = [](const CAudioPortChannel& channel) { return channel.sources.size() == 1; };
        if (!std::ranges::all_of(port->merged, hasOneSource))
            return false;
        for (const auto& feed : port->feeds)
        {
            if (std::ranges::any_of(feed->delays, [](const auto& delay) { return delay != nullptr; }))
                return false;
        }
    }
    return true;
}

bool CAudioInputs::isSettled() const noexcept
{
    if (!hasPlainLinks)
        return false;
    for (const auto& port : ports)
    {
        if (port->linksChanged)
            return false;
        for (const auto& feed : port->feeds)
        {
            if (feed->source() == nullptr || feed->seenGeneration != feed->source()->generation())
                return false;
        }
    }
    return true;
}

void CAudioInputs::mergePort(CAudioPort& port)
{
    std::fill_n(port.indexOf, maxPortChannels, static_cast<signed char>(-1));
    for (CAudioPortChannel& channel : port.merged)
        channel.sources.clear();

    // Counted first, so that the list comes out in rising channel number whatever the order of the sources.
    bool isPresent[maxPortChannels] = {};
    for (const auto& feed : port.feeds)
    {
        for (const CAudioChannel& channel : feed->source()->channels())
            isPresent[channel.number] = true;
    }
    std::size_t count = 0;
    for (int number = 0; number < maxPortChannels; ++number)
    {
        if (isPresent[number])
            port.indexOf[number] = static_cast<signed char>(count++);
    }
    port.merged.resize(count);

    for (const auto& feed : port.feeds)
    {
        const auto channels = feed->source()->channels();
        for (std::size_t i = 0; i < channels.size(); ++i)
        {
            CAudioPortChannel& entry = *port.find(channels[i].number);
            if (entry.sources.empty())
                entry.channel = channels[i];
            entry.channel.latency = largest;
            entry.sources.push_back({feed.get(), i});
        }
    }
}

void CAudioInputs::placeDelays(CAudioFeed& feed)
{
    bool isPresent[maxPortChannels] = {};
    for (const CAudioChannel& channel : feed.source()->channels())
    {
        isPresent[channel.number] = true;
        std::unique_ptr<CDSPModDelay>& delay = feed.delays[channel.number];
        const int difference = largest - channel.latency;
        if (delay == nullptr && difference > 0)
        {
            const int fade = static_cast<int>(std::nearbyint(delayFadeSeconds * rateHz));
            delay = std::make_unique<CDSPModDelay>(
                pool, fade, isComp ? CDSPModDelay::CFill::firstSample : CDSPModDelay::CFill::silence);
        }
        if (delay != nullptr)
            delay->setDelay(difference); // one that has become 0 fades there and goes in takeDelayed
    }
    for (int number = 0; number < maxPortChannels; ++number)
    {
        if (!isPresent[number])
            feed.delays[number].reset();
    }
}

CAudioBufferRef CAudioInputs::takeSilence()
{
    CAudioBufferRef silence = pool.take(std::max(capacity, length));
    std::fill_n(silence.samples(), length, 0.0);
    return silence;
}

CAudioBufferRef CAudioInputs::takeDelayed(const CAudioPortChannel::CSource& source, int number)
{
    CAudioFeed& feed = *source.feed;
    CAudioBufferRef buffer;
    // A source of another block length cannot be mixed; its samples count as silence.
    if (source.index < feed.buffers.size() && feed.source()->blockLength == length)
        buffer = std::move(feed.buffers[source.index]);

    std::unique_ptr<CDSPModDelay>& delay = feed.delays[number];
    if (delay == nullptr)
        return buffer;
    if (delay->isIdle())
    {
        delay.reset();
        hasPlainLinks = isPlain();
        return buffer;
    }
    if (!buffer)
        buffer = takeSilence();
    CAudioBufferRef result = buffer.useCount() == 1 ? buffer : pool.take(std::max(capacity, length));
    delay->process(buffer.samples(), result.samples(), length);
    return result;
}

void CAudioInputs::mix()
{
    for (const auto& port : ports)
    {
        for (CAudioPortChannel& channel : port->merged)
            mixChannel(channel);
    }
}

void CAudioInputs::mixChannel(CAudioPortChannel& channel)
{
    CAudioBufferRef parts[4];
    const double* inputs[4] = {};
    std::size_t count = 0;
    CAudioBufferRef total;

    const auto addUp = [&]
    {
        if (count == 0)
            return;
        CAudioBufferRef* place = std::find_if(parts, parts + count, [](auto& part) { return part.useCount() == 1; });
        CAudioBufferRef result = place != parts + count ? *place : pool.take(std::max(capacity, length));
        for (std::size_t i = 0; i < count; ++i)
            inputs[i] = parts[i].samples();
        sum(result.samples(), inputs, count, length);
        for (std::size_t i = 0; i < count; ++i)
            parts[i].release();
        total = std::move(result);
    };

    if (channel.sources.size() == 1)
    {
        total = takeDelayed(channel.sources.front(), channel.channel.number);
    }
    else
    {
        for (const CAudioPortChannel::CSource& source : channel.sources)
        {
            CAudioBufferRef part = takeDelayed(source, channel.channel.number);
            if (!part)
                continue;
            if (count == 4)
            {
                addUp();
                parts[0] = std::move(total);
                count = 1;
            }
            parts[count++] = std::move(part);
        }
        addUp();
        if (isWeighted && total)
        {
            const double weight = 1.0 / static_cast<double>(channel.sources.size());
            double* samples = total.samples();
            for (int i = 0; i < length; ++i)
                samples[i] *= weight;
        }
    }
    channel.buffer = total ? std::move(total) : takeSilence();
}

void CAudioInputs::releaseBuffers() noexcept
{
    for (const auto& port : ports)
        port->releaseBuffers();
}

void CAudioInputs::reset()
{
    releaseBuffers();
    for (const auto& port : ports)
    {
        for (const auto& feed : port->feeds)
        {
            for (const auto& delay : feed->delays)
            {
                if (delay != nullptr)
                    delay->reset();
            }
        }
    }
}

}
