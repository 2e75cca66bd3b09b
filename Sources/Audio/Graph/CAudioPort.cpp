// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioPort.h"

#include "Audio/Graph/CDSPModDelay.h"

#include <algorithm>
#include <cassert>

namespace kor
{

CAudioOutput::~CAudioOutput()
{
    disconnectAll();
}

void CAudioOutput::disconnectAll()
{
    for (CAudioFeed* feed : feeds)
        feed->output = nullptr;
    feeds.clear();
}

void CAudioOutput::configure(std::span<const CAudioChannel> newChannels, double rate, int newBlockCapacity)
{
    assert(newChannels.size() <= maxPortChannels);
    if (rate == rateHz && newBlockCapacity == capacity && std::ranges::equal(newChannels, list))
        return;
    list.assign(newChannels.begin(), newChannels.end());
    buffers.resize(list.size());
    rateHz = rate;
    capacity = newBlockCapacity;
    ++generationCount;
}

void CAudioOutput::deliver()
{
    for (std::size_t i = 0; i < feeds.size(); ++i)
    {
        CAudioFeed& feed = *feeds[i];
        feed.buffers.resize(buffers.size());
        const bool isLast = i + 1 == feeds.size();
        for (std::size_t c = 0; c < buffers.size(); ++c)
        {
            if (isLast)
                feed.buffers[c] = std::move(buffers[c]);
            else
                feed.buffers[c] = buffers[c];
        }
    }
    for (CAudioBufferRef& buffer : buffers)
        buffer.release();
}

CAudioFeed::CAudioFeed(CAudioOutput& source) : output(&source)
{
    output->feeds.push_back(this);
}

CAudioFeed::~CAudioFeed()
{
    if (output != nullptr)
        std::erase(output->feeds, this);
}

void CAudioPort::setSources(std::span<CAudioOutput* const> sources)
{
    const auto isUnchanged = [&]
    { return std::ranges::equal(feeds, sources, {}, [](const auto& feed) { return feed->source(); }); };
    if (isUnchanged())
        return;

    CArray<std::unique_ptr<CAudioFeed>> wanted;
    for (CAudioOutput* source : sources)
    {
        const auto hasSource = [source](const auto& feed) { return feed != nullptr && feed->source() == source; };
        const auto known = std::ranges::find_if(feeds, hasSource);
        if (known != feeds.end())
            wanted.push_back(std::move(*known));
        else
            wanted.push_back(std::make_unique<CAudioFeed>(*source));
    }
    feeds = std::move(wanted);
    linksChanged = true;
}

void CAudioPort::connect(CAudioOutput& source)
{
    CArray<CAudioOutput*> sources;
    for (const auto& feed : feeds)
        sources.push_back(feed->source());
    sources.push_back(&source);
    setSources(sources);
}

CAudioPortChannel* CAudioPort::find(int number) noexcept
{
    if (number < 0 || number >= maxPortChannels || indexOf[number] < 0)
        return nullptr;
    return &merged[static_cast<std::size_t>(indexOf[number])];
}

void CAudioPort::releaseBuffers() noexcept
{
    for (CAudioPortChannel& channel : merged)
        channel.buffer.release();
    for (const auto& feed : feeds)
    {
        for (CAudioBufferRef& buffer : feed->buffers)
            buffer.release();
    }
}

}
