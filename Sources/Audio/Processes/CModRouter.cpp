// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModRouter.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Processes/CModRouterDef.h"
#include "Audio/Processes/ProcessSlots.h"

namespace kor
{

namespace
{

constexpr int lastGroup = 7;

}

CError CModRouter::init()
{
    KOR_TRY(CAudioProcessBase::init());
    routing = findSlotNamed(paramSlots, "routing");
    grouping = findSlotNamed(paramSlots, "grouping");
    routes.reserve(maxChannels);
    plainRoutes.reserve(maxChannels);
    mixedRoutes.reserve(maxChannels);
    return {};
}

// The channel that an element names, -1 for none. A host may bring more channels than the list has defaults for; an
// element that nobody has written would read the list's first default and join the first channel.
int CModRouter::targetOf(int element) const noexcept
{
    if (routing == nullptr || (element >= maxChannels && element >= routing->values.elementCount(0)))
        return -1;
    const int number = readChoice(routing, 0, element);
    return number >= 1 && number <= maxChannels ? number - 1 : -1;
}

int CModRouter::groupOf(int channel) const noexcept
{
    return std::clamp(readChoice(grouping, 0, channel), 0, lastGroup);
}

void CModRouter::update()
{
    std::array<CRoute, maxChannels> table{};
    const auto addSource = [&table](int channel, std::size_t source)
    {
        CRoute& route = table[static_cast<std::size_t>(channel)];
        route.sources[route.sourceCount++] = source;
    };

    const auto channels = inputs().port(0).channels();
    if (static_cast<const CModRouterDef&>(definition()).isOutput())
    {
        for (int outgoing = 0; outgoing < maxChannels; ++outgoing)
        {
            if (const CAudioPortChannel* source = inputs().port(0).find(targetOf(outgoing)))
                addSource(outgoing, static_cast<std::size_t>(source - channels.data()));
        }
    }
    else
    {
        for (std::size_t incoming = 0; incoming < channels.size(); ++incoming)
        {
            const int target = targetOf(channels[incoming].channel.number);
            if (target >= 0)
                addSource(target, incoming);
        }
    }

    routes.clear();
    plainRoutes.clear();
    mixedRoutes.clear();
    for (int channel = 0; channel < maxChannels; ++channel)
    {
        CRoute& route = table[static_cast<std::size_t>(channel)];
        if (route.sourceCount == 0)
            continue;
        route.channel = channel;
        route.group = groupOf(channel);
        (route.sourceCount == 1 ? plainRoutes : mixedRoutes).push_back(routes.size());
        routes.push_back(route);
    }
    // What follows always has a channel to work on, so that latency and metering go on.
    if (routes.empty())
    {
        table[0].group = groupOf(0);
        routes.push_back(table[0]);
    }
}

void CModRouter::describeOutputs()
{
    CAudioChannel list[maxChannels];
    std::size_t count = 0;
    for (const CRoute& route : routes)
        list[count++] = {route.channel, route.group, inputs().latency()};
    output().configure({list, count}, inputs().sampleRate(), inputs().blockCapacity());
}

// Plain routes have taken their references by now. No source is in two means, since averages come up at the input only,
// where an incoming channel goes to one place; so the leading one takes the sum unless somebody else holds it.
CAudioBufferRef CModRouter::meanOf(const CRoute& route)
{
    const auto channels = inputs().port(0).channels();
    const int count = inputs().blockLength();
    const CAudioBufferRef& leading = channels[route.sources[0]].buffer;
    const double* a = leading.samples();
    const double* b = channels[route.sources[1]].buffer.samples();
    CAudioBufferRef result =
        leading.useCount() == 1 ? leading : context().pool.take(std::max(inputs().blockCapacity(), count));
    double* sum = result.samples();
    for (int i = 0; i < count; ++i)
        sum[i] = a[i] + b[i];
    for (std::size_t s = 2; s < route.sourceCount; ++s)
    {
        const double* next = channels[route.sources[s]].buffer.samples();
        for (int i = 0; i < count; ++i)
            sum[i] += next[i];
    }
    const double weight = 1.0 / static_cast<double>(route.sourceCount);
    for (int i = 0; i < count; ++i)
        sum[i] *= weight;
    return result;
}

void CModRouter::process()
{
    prepareInputs();
    const auto channels = inputs().port(0).channels();
    for (const std::size_t index : plainRoutes)
        output().buffer(index) = channels[routes[index].sources[0]].buffer;
    if (inputs().blockLength() > 0)
    {
        for (const std::size_t index : mixedRoutes)
            output().buffer(index) = meanOf(routes[index]);
    }
    deliverOutputs();
}

}
