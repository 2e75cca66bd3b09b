// SPDX-License-Identifier: GPL-3.0-or-later
#include "CAnalysisRun.h"

#include "CBandChain.h"
#include "CGraphEngine.h"
#include "CInterrupt.h"
#include "CRenderJob.h"
#include "DefaultRouting.h"

#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Parameters/CAudioParam.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr int mostChannels = 16;
constexpr int responsePoints = 400;

}

COutcome CAnalysisRun::open(const COptions& options)
{
    if (options.words().size() != 1)
        return COutcome::wrongUsage(KOR_FAIL("give one recording"));
    CHostSettings settings;
    MORVA_USAGE(settings.read(options));
    KOR_TRY(session.start());
    CAudioInstance& instance = session.instance();
    int group = 0;
    MORVA_USAGE(options.readInt(groupOption.name, 0, instance.groupCount() - 1, group));
    MORVA_USAGE(settings.resolve(instance));
    KOR_TRY(reader.open(options.words().front(), mostChannels));

    const int channels = reader.channelCount();
    const double rate = reader.sampleRate();
    routeByDefault(instance, channels, channels);
    KOR_TRY(settings.give(options, instance));
    const auto param = [&](const char* name)
    { return instance.findParam(CStringBuf("modMorvaEQ.spectrum-params.") + name); };
    CAudioParam* const second = param("secenable");
    const bool wantsSecond = options.has(secondOption.name);
    if (wantsSecond && second != nullptr)
        second->setValue(group, 0, 1.0);

    seen.sampleRate = rate;
    seen.seconds = static_cast<double>(reader.frameCount()) / rate;
    if (const CAudioParam* const slope = param("slope"))
        seen.slope = slope->getValue(group, 0);
    CBandChain chain;
    KOR_TRY(chain.open(instance, group, rate));
    seen.response = chain.response(chain.drawnFrequencies(20.0, std::min(20000.0, 0.5 * rate), responsePoints));

    KOR_TRY(instance.start(channels, channels, rate));
    KOR_TRY(client.open(instance));
    return seen.listen(client, group, wantsSecond);
}

CError CAnalysisRun::run(const char* what, const std::function<CError(double seconds)>& afterBlock)
{
    CInterrupt::install();
    CRenderSetup setup;
    setup.what = what;
    setup.afterBlock = [&](std::int64_t done)
    {
        KOR_TRY(client.poll());
        return afterBlock(static_cast<double>(done) / reader.sampleRate());
    };
    CGraphEngine engine(session.instance().graph(), reader.channelCount());
    CRenderJob job(engine, reader, nullptr, setup);
    KOR_TRY(job.run());
    session.instance().stop();
    if (job.hasBadOutput())
        return KOR_FAIL("these settings drive the sound beyond all bounds");
    if (seen.outputs().empty())
        CHostSettings::note("no channel of this recording is in group " + std::to_string(seen.group));
    return {};
}

}
