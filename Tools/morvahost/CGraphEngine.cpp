// SPDX-License-Identifier: GPL-3.0-or-later
#include "CGraphEngine.h"

#include "Audio/Graph/CAudioGraphHost.h"

#include <algorithm>

namespace kor
{

CGraphEngine::CGraphEngine(CAudioGraphHost& host, int inputs, std::span<const CAutomationEvent> events)
    : graph(host), coming(events), sources(static_cast<std::size_t>(inputs), nullptr)
{
}

int CGraphEngine::latency() const
{
    return graph.latency();
}

CError CGraphEngine::process(std::span<double* const> channels, std::int64_t position, int count)
{
    results.resize(channels.size());
    for (int offset = 0; offset < count;)
    {
        int piece = count - offset;
        for (; !coming.empty(); coming = coming.subspan(1))
        {
            const std::int64_t wait = coming.front().frame - (position + offset);
            if (wait > 0)
            {
                piece = static_cast<int>(std::min<std::int64_t>(piece, wait));
                break;
            }
            coming.front().setting.give();
        }
        for (std::size_t c = 0; c < channels.size(); ++c)
        {
            results[c] = channels[c] + offset;
            if (c < sources.size())
                sources[c] = results[c];
        }
        graph.process(sources.data(), results.data(), static_cast<int>(channels.size()), piece);
        offset += piece;
    }
    return {};
}

}
