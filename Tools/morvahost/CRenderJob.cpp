// SPDX-License-Identifier: GPL-3.0-or-later
#include "CRenderJob.h"

#include "CInterrupt.h"
#include "CProgress.h"

#include <algorithm>
#include <cmath>

namespace kor
{

CRenderJob::CRenderJob(CRenderEngine& renderer, CWaveReader& input, CWaveWriter* output, const CRenderSetup& setup)
    : engine(renderer), reader(input), writer(output), channels(input.channelCount()), how(setup)
{
    const auto size = static_cast<std::size_t>(how.blocks.largest());
    interleaved.resize(size * static_cast<std::size_t>(channels));
    planes.assign(static_cast<std::size_t>(channels), std::vector<double>(size));
    for (std::vector<double>& plane : planes)
        pointers.push_back(plane.data());
}

CError CRenderJob::run()
{
    const std::int64_t latency = engine.latency();
    const std::int64_t end = reader.frameCount() + how.tailFrames + latency;
    CProgress progress(how.what);
    for (std::int64_t position = 0; position < end;)
    {
        if (CInterrupt::isAsked())
            return KOR_FAIL("stopped; nothing was written");
        const int count = static_cast<int>(std::min<std::int64_t>(how.blocks.next(), end - position));
        KOR_TRY(readBlock(position, count));
        KOR_TRY(engine.process(pointers, position, count));
        const int early = static_cast<int>(std::clamp<std::int64_t>(latency - position, 0, count));
        KOR_TRY(writeBlock(early, count));
        position += count;
        if (how.afterBlock)
            KOR_TRY(how.afterBlock(std::max<std::int64_t>(position - latency, 0)));
        progress.show(static_cast<double>(position) / static_cast<double>(end));
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
