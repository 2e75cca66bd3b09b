// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModMSCoder.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Processes/ProcessSlots.h"

namespace kor
{

namespace
{

// The outputs may be the inputs. The sum is built up from the difference, so that equal channels give themselves as
// mid and nothing as side, to the last bit.
void encode(const double* a, const double* b, double* mid, double* side, int count)
{
    for (int i = 0; i < count; ++i)
    {
        const double half = (a[i] - b[i]) * 0.5;
        mid[i] = b[i] + half;
        side[i] = half;
    }
}

void decode(const double* mid, const double* side, double* a, double* b, int count)
{
    for (int i = 0; i < count; ++i)
    {
        const double m = mid[i];
        const double s = side[i];
        a[i] = m + s;
        b[i] = m - s;
    }
}

}

CError CModMSCoder::init()
{
    KOR_TRY(CAudioProcessBase::init());
    pairNumbers = findSlotNamed(paramSlots, "pairs");
    mode = findSlotNamed(paramSlots, "mode");
    bypass = findSlotNamed(paramSlots, "bypass");
    return {};
}

void CModMSCoder::update()
{
    isDecoder = readChoice(mode, 0, 0) >= 1;
    pairCount = 0;
    const bool isBypassed = bypass != nullptr && bypass->values.getValue(0, 0) >= 0.5;
    if (!isBypassed)
        findPairs();
}

// A third channel of a number is left alone.
void CModMSCoder::findPairs()
{
    constexpr std::size_t nobody = maxPortChannels;
    std::array<std::size_t, maxPairs> firstMembers;
    firstMembers.fill(nobody);
    std::array<bool, maxPairs> isComplete{};

    const auto channels = inputs().port(0).channels();
    for (std::size_t c = 0; c < channels.size(); ++c)
    {
        const int number = readChoice(pairNumbers, 0, channels[c].channel.number);
        if (number < 1 || number > maxPairs)
            continue;
        const std::size_t p = static_cast<std::size_t>(number) - 1;
        if (firstMembers[p] == nobody)
        {
            firstMembers[p] = c;
        }
        else if (!isComplete[p])
        {
            isComplete[p] = true;
            pairs[pairCount++] = {number, firstMembers[p], c};
        }
    }
}

void CModMSCoder::code(const CPair& pair)
{
    const auto channels = inputs().port(0).channels();
    const int count = inputs().blockLength();
    const auto placeFor = [this, count](const CAudioBufferRef& buffer)
    { return buffer.useCount() == 1 ? buffer : context().pool.take(std::max(inputs().blockCapacity(), count)); };

    CAudioBufferRef& a = channels[pair.first].buffer;
    CAudioBufferRef& b = channels[pair.second].buffer;
    CAudioBufferRef aResult = placeFor(a);
    CAudioBufferRef bResult = placeFor(b);
    const auto routine = isDecoder ? decode : encode;
    routine(a.samples(), b.samples(), aResult.samples(), bResult.samples(), count);
    a = std::move(aResult);
    b = std::move(bResult);
}

void CModMSCoder::process()
{
    prepareInputs();
    if (inputs().blockLength() > 0)
    {
        for (std::size_t p = 0; p < pairCount; ++p)
            code(pairs[p]);
    }
    const auto channels = inputs().port(0).channels();
    for (std::size_t c = 0; c < channels.size(); ++c)
        output().buffer(c) = std::move(channels[c].buffer);
    deliverOutputs();
}

}
