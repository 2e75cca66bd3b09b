// SPDX-License-Identifier: GPL-3.0-or-later
#include "CPluginEngine.h"

#include "Vst3Host/CHostRunLoop.h"
#include "Vst3Host/CVst3Plugin.h"

#include <algorithm>

namespace kor
{

CPluginEngine::CPluginEngine(CVst3Plugin& target, CHostRunLoop& runLoop, const CLayout& layout,
                             std::span<const CHostEvent> events)
    : plugin(target), loop(runLoop), how(layout), coming(events)
{
    beyond.resize(static_cast<std::size_t>(how.maxBlock));
    sources.resize(static_cast<std::size_t>(how.inputs));
    results.resize(static_cast<std::size_t>(how.outputs));
}

int CPluginEngine::latency() const
{
    return plugin.latency();
}

// Puts the changes of the samples from `position` on into the plug-in's queues. A call ends before one of them would get
// more points than a plug-in has to honour.
int CPluginEngine::queueChanges(std::int64_t position, int count)
{
    for (; !coming.empty() && coming.front().frame < position + count; coming = coming.subspan(1))
    {
        const CHostEvent& event = coming.front();
        const int offset = static_cast<int>(std::max<std::int64_t>(event.frame - position, 0));
        const bool isFull = plugin.changes().pointCount(event.id) == CParameterChanges::pointsPerQueue;
        if (isFull && offset > 0)
            return offset;
        plugin.changes().add(event.id, offset, event.value);
    }
    return count;
}

void CPluginEngine::preparePointers(std::span<double* const> channels, int offset)
{
    const auto place = [&](std::size_t c) -> void*
    {
        if (c >= channels.size())
            return nullptr;
        return how.isDouble ? static_cast<void*>(channels[c] + offset) : singles[c].data() + offset;
    };
    for (std::size_t c = 0; c < sources.size(); ++c)
        sources[c] = place(c);
    for (std::size_t c = 0; c < results.size(); ++c)
        results[c] = c < channels.size() ? place(c) : beyond.data();
}

CError CPluginEngine::process(std::span<double* const> channels, std::int64_t position, int count)
{
    loop.run(0);
    singles.resize(how.isDouble ? 0 : channels.size());
    for (std::size_t c = 0; c < singles.size(); ++c)
    {
        singles[c].resize(static_cast<std::size_t>(how.maxBlock));
        std::transform(channels[c], channels[c] + count, singles[c].begin(),
                       [](double sample) { return static_cast<float>(sample); });
    }
    for (int offset = 0; offset < count;)
    {
        const int piece = queueChanges(position + offset, count - offset);
        preparePointers(channels, offset);
        if (!plugin.process(sources, results, piece))
            return KOR_FAIL("'%1' fails to process at sample %2", plugin.name(), position + offset);
        offset += piece;
    }
    for (std::size_t c = 0; c < channels.size(); ++c)
    {
        if (c >= results.size())
            std::fill_n(channels[c], count, 0.0);
        else if (!how.isDouble)
            std::copy_n(singles[c].begin(), count, channels[c]);
    }
    return {};
}

}
