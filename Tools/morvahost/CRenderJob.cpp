// SPDX-License-Identifier: GPL-3.0-or-later
#include "CRenderJob.h"

#include "CInterrupt.h"
#include "CProgress.h"

#include "Audio/Graph/CAudioGraphHost.h"

#include <algorithm>
#include <cmath>

namespace kor
{

CRenderJob::CRenderJob(CAudioGraphHost& host, CWaveReader& input, CWaveWriter* output, const CRenderSetup& setup)
    : graph(host), reader(input), writer(output), channels(input.channelCount()), how(setup)
{
    const auto size = static_cast<std::size_t>(how.blockSize);
    interleaved.resize(size * static_cast<std::size_t>(channels));
    planes.assign(static_cast<std::size_t>(channels), std::vector<double>(size));
    inputs.resize(static_cast<std::size_t>(how.graphChannels), nullptr);
    outputs.resize(planes.size());
}

CError CRenderJob::run()
{
    const std::int64_t frames = reader.frameCount();
    const std::int64_t latency = graph.latency();
    CProgress progress(how.what);
    for (std::int64_t position = 0; position < frames + latency;)
    {
        if (CInterrupt::isAsked())
            return KOR_FAIL("stopped; nothing was written");
        const int count = static_cast<int>(std::min<std::int64_t>(how.blockSize, frames + latency - position));
        KOR_TRY(readBlock(position, count));
        processBlock(position, count);
        const int early = static_cast<int>(std::clamp<std::int64_t>(latency - position, 0, count));
        KOR_TRY(writeBlock(early, count));
        position += count;
        if (how.afterBlock)
            KOR_TRY(how.afterBlock(std::max<std::int64_t>(position - latency, 0)));
        progress.show(static_cast<double>(position) / static_cast<double>(frames + latency));
    }
    return {};
}

CError CRenderJob::readBlock(std::int64_t position, int count)
{
    // Behind the end of the recording silence pushes out what the latency still holds.
    const int present = static_cast<int>(std::clamp<std::int64_t>(reader.frameCount() - position, 0, count));
    if (present > 0)
        KOR_TRY(reader.read(interleaved.data(), present));
    for (int c = 0; c < channels; ++c)
    {
        double* const plane = planes[static_cast<std::size_t>(c)].data();
        for (int i = 0; i < present; ++i)
            plane[i] = crossed(interleaved[static_cast<std::size_t>(i * channels + c)]);
        std::fill(plane + present, plane + count, 0.0);
    }
    return {};
}

void CRenderJob::processBlock(std::int64_t position, int count)
{
    for (int offset = 0; offset < count;)
    {
        int piece = count - offset;
        for (; nextEvent < how.events.size(); ++nextEvent)
        {
            const std::int64_t wait = how.events[nextEvent].frame - (position + offset);
            if (wait > 0)
            {
                piece = static_cast<int>(std::min<std::int64_t>(piece, wait));
                break;
            }
            how.events[nextEvent].setting.give();
        }
        for (std::size_t c = 0; c < planes.size(); ++c)
        {
            outputs[c] = planes[c].data() + offset;
            if (c < inputs.size())
                inputs[c] = outputs[c];
        }
        graph.process(inputs.data(), outputs.data(), channels, piece);
        offset += piece;
    }
}

CError CRenderJob::writeBlock(int skipped, int count)
{
    const int kept = count - skipped;
    if (kept == 0)
        return {};
    for (int c = 0; c < channels; ++c)
    {
        const double* const plane = planes[static_cast<std::size_t>(c)].data() + skipped;
        for (int i = 0; i < kept; ++i)
        {
            const double sample = crossed(plane[i]);
            isBadOutput |= !std::isfinite(sample);
            largest = std::max(largest, std::abs(sample));
            interleaved[static_cast<std::size_t>(i * channels + c)] = sample;
        }
    }
    return writer != nullptr ? writer->write(interleaved.data(), kept) : CError();
}

}
