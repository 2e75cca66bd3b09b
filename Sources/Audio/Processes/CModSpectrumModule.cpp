// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModSpectrumModule.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Other/Interface/CAudioVizDataSpectrum.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

constexpr int resetIndex = 4;

int choice(double value, int most) noexcept
{
    return static_cast<int>(std::nearbyint(std::clamp(value, 0.0, static_cast<double>(most))));
}

CSpectrumType typeOf(double value) noexcept
{
    return static_cast<CSpectrumType>(choice(value, static_cast<int>(CSpectrumType::runningMax)));
}

}

void CModSpectrumModule::registerParams()
{
    for (int i = 0; i < slotCount; ++i)
        slots[i] = registerParam(i);
}

void CModSpectrumModule::prepare()
{
    analyser.prepare(sampleRate, context().env.vizFps);
    if (context().viz == nullptr)
        return;
    slot = &context().viz->getSlot(nodeName());
    secSlot = &context().viz->getSlot(nodeName() + "-sec");
}

void CModSpectrumModule::reset()
{
    analyser.reset(context().env.time);
}

bool CModSpectrumModule::update()
{
    const CSpectrumSettings fallback;
    CSpectrumSettings next;
    next.blockSize = choice(paramValue(slots[0], fallback.blockSize),
                            CSpectrumAnalyser::largestOrder - CSpectrumAnalyser::smallestOrder);
    next.overlap = std::clamp(paramValue(slots[1], fallback.overlap), 0.0, 0.9375);
    next.averageTime = std::max(paramValue(slots[2], fallback.averageTime), 0.001);
    next.type = typeOf(paramValue(slots[3]));
    next.secondType = typeOf(paramValue(slots[5]));
    next.hasSecond = paramValue(slots[6]) >= 0.5;
    analyser.update(next, hasArrived(resetIndex), context().env.time);
    return true;
}

void CModSpectrumModule::listen(const double* samples, int count)
{
    for (int at = 0; at < count;)
    {
        const int piece = std::min(analyser.remaining(), count - at);
        const bool isDue = analyser.process(samples + at, piece);
        at += piece;
        if (!isDue || slot == nullptr)
            continue;
        post(*slot, false);
        if (analyser.hasSecond())
            post(*secSlot, true);
    }
}

void CModSpectrumModule::post(CAudioVizSlot& to, bool second)
{
    CAudioVizRef<CAudioVizDataSpectrum> data = context().viz->makeSpectrum(to, analyser.binCount());
    if (!data)
        return;
    data->group = group;
    data->element = 0;
    data->channel = channel;
    data->time = analyser.timeStamp();
    data->sampleRate = sampleRate;
    data->blockSize = analyser.blockLength();
    data->type = static_cast<std::int32_t>(analyser.type(second));
    data->averageTime = analyser.averageTime(second);
    analyser.copyValues(second, data->values.data());
    context().viz->post(to, std::move(data));
}

}
