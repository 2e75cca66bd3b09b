// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Audio/Filters/CHalfBandKernel.h"
#include "Audio/Filters/CHalfBandStage.h"
#include "Support/Signals.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace kor::test
{

namespace
{

using CSamples = CSignal;

// The filter as it is defined: a ring of four per point between sections, one sample at a time.
class CPlainHalfBand
{
public:
    explicit CPlainHalfBand(const CSamples& row) : coefficients(row), count(row.size() / 2) {}

    double process(double x)
    {
        position = (position + 3) & 3;
        const std::size_t before = (position + 2) & 3;
        double end[2];
        for (std::size_t chain = 0; chain < 2; ++chain)
        {
            double u = x;
            rings[chain][0][position] = u;
            for (std::size_t k = 0; k < count; ++k)
            {
                u = coefficients[chain * count + k] * (u - rings[chain][k + 1][before]) + rings[chain][k][before];
                rings[chain][k + 1][position] = u;
            }
            end[chain] = u;
        }
        const double y = 0.5 * (end[0] + late);
        late = end[1];
        return y;
    }

private:
    CSamples coefficients;
    std::size_t count;
    double rings[2][CHalfBandKernel::maxCount + 1][4] = {};
    double late = 0.0;
    std::size_t position = 0;
};

// Room for a filter of any size.
struct CMemory
{
    alignas(CAudioFilterStageKind::stateAlignment) std::byte bytes[sizeof(CHalfBandStage<CHalfBandKernel::maxCount>)];

    const CAudioFilterStageKind& start(const CSamples& row)
    {
        const int id = filterKind::halfBand1 + static_cast<int>(row.size()) / 2 - 1;
        const CAudioFilterStageKind& kind = *CDCDAWFilterWorkspace::instance().kind(id);
        EXPECT_LE(kind.stateSize, sizeof bytes);
        kind.init(bytes, row, 48000.0);
        return kind;
    }
};

CSamples randomRow(int count, std::mt19937& random)
{
    std::uniform_real_distribution<double> value(0.005, 0.97);
    CSamples row(static_cast<std::size_t>(2 * count));
    for (double& c : row)
        c = value(random);
    return row;
}

}

// Any row of block lengths: odd ones change which stream the next sample belongs to.
TEST(HalfBand, MatchesThePlainFormForAnyCut)
{
    std::mt19937 random(20261123);
    for (int count = 1; count <= CHalfBandKernel::maxCount; ++count)
        for (const int longest : {1, 2, 3, 9, 512})
        {
            const CSamples row = randomRow(count, random);
            const CSamples in = noise(3000, random());
            CMemory memory;
            const CAudioFilterStageKind& kind = memory.start(row);
            CPlainHalfBand plain(row);

            CSamples out(in);       // in place
            for (std::size_t at = 0; at < in.size();)
            {
                const int length = static_cast<int>(random() % static_cast<unsigned>(longest + 1));
                const int rest = static_cast<int>(in.size() - at);
                kind.process(memory.bytes, out.data() + at, out.data() + at, std::min(length, rest));
                at += static_cast<std::size_t>(std::min(length, rest));
            }
            for (std::size_t i = 0; i < in.size(); ++i)
                ASSERT_NEAR(out[i], plain.process(in[i]), 1e-12) << count << " longest " << longest << " at " << i;
        }
}

TEST(HalfBand, EveryBuildMatchesThePlainFormAndStaysInside)
{
    std::mt19937 random(7);
    for (const CHalfBandKernel* kernel : allHalfBandKernels())
        for (int count = 1; count <= CHalfBandKernel::maxCount; ++count)
        {
            const CSamples row = randomRow(count, random);
            CPlainHalfBand plain(row);
            CSamples memory(static_cast<std::size_t>((count + 1) * CHalfBandRun::streams) + 2, 0.0);
            memory.front() = memory.back() = 77.0;
            double late = 0.0;
            for (const std::size_t length : {0u, 2u, 4u, 6u, 64u, 510u})
            {
                const CSamples in = noise(length + 1, random());
                CSamples out(length + 4, 77.0);
                kernel->process[count - 1]({row.data(), memory.data() + 1, &late}, in.data() + 1, out.data() + 1,
                                           static_cast<int>(length));
                for (std::size_t i = 0; i < length; ++i)
                    ASSERT_NEAR(out[i + 1], plain.process(in[i + 1]), 1e-12) << kernel->name << " " << count;
                EXPECT_EQ(std::count(out.begin(), out.end(), 77.0), 4) << kernel->name;
            }
            EXPECT_EQ(memory.front() + memory.back(), 154.0) << kernel->name;
        }
}

// A sample that is not finite spoils its block at most, wherever in the block it stands and however that ends.
TEST(HalfBand, RecoversAtTheEndOfTheBlock)
{
    std::mt19937 random(3);
    const CSamples row = randomRow(4, random);
    for (const double bad : {static_cast<double>(NAN), static_cast<double>(INFINITY)})
        for (const int length : {1, 2, 7, 64})
            for (int place = 0; place < length; ++place)
            {
                CMemory memory;
                const CAudioFilterStageKind& kind = memory.start(row);
                CSamples in = noise(64, random());
                CSamples out(64);
                kind.process(memory.bytes, in.data(), out.data(), 33);
                CSamples spoilt = in;
                spoilt[static_cast<std::size_t>(place)] = bad;
                kind.process(memory.bytes, spoilt.data(), out.data(), length);
                kind.process(memory.bytes, in.data(), out.data(), 64);
                CPlainHalfBand fresh(row);
                for (std::size_t i = 0; i < in.size(); ++i)
                    ASSERT_NEAR(out[i], fresh.process(in[i]), 1e-12) << length << " " << place << " at " << i;
            }
}

}
