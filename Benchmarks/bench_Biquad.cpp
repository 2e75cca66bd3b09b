// SPDX-License-Identifier: GPL-3.0-or-later
// A settled biquad band against a plain direct form II loop in double, on 512-sample stereo blocks. items_per_second
// counts samples of one channel; the row Ratio measures both in turns and gives their quotient.
#include "Audio/Filters/CBiquadKernel.h"
#include "Audio/Filters/CBiquadStage.h"
#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "CPlainBiquad.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <span>
#include <vector>

namespace
{

using namespace kor;

constexpr int blockSize = 512;
constexpr int channels = 2;
const CBiquadCoefficients bell{1.0228121181, -1.8271132191, 0.8172136029, -1.8256441797, 0.8385566815};

// A band as the module runs it: through the operations of its stage kind.
class CBand
{
public:
    CBand() : kind(*CDCDAWFilterWorkspace::instance().kind(filterKind::biquad))
    {
        kind.init(memory, std::span<const double>(row), 48000.0);
    }
    void process(const double* in, double* out, int count) { kind.process(memory, in, out, count); }
    void update(double gain)
    {
        const double moved[] = {bell.b0 * gain, bell.b1 * gain, bell.b2 * gain, bell.a1, bell.a2};
        kind.update(memory, std::span<const double>(moved));
    }

private:
    static constexpr double row[] = {1.0228121181, -1.8271132191, 0.8172136029, -1.8256441797, 0.8385566815};
    const CAudioFilterStageKind& kind;
    alignas(64) std::byte memory[sizeof(CBiquadStage)];
};

template <class Band>
void processStereo(benchmark::State& state)
{
    Band bands[channels];
    const std::vector<double> in = noise(blockSize);
    std::vector<double> out[channels] = {in, in};
    for ([[maybe_unused]] auto _ : state)
        for (int c = 0; c < channels; ++c)
        {
            bands[c].process(in.data(), out[c].data(), blockSize);
            benchmark::ClobberMemory();
        }
    state.SetItemsProcessed(state.iterations() * channels * blockSize);
}

void kernelBuild(benchmark::State& state)
{
    const auto kernels = allBiquadKernels();
    const auto index = static_cast<std::size_t>(state.range(0));
    if (index >= kernels.size())
    {
        state.SkipWithError("no such build on this processor");
        return;
    }
    state.SetLabel(kernels[index]->name);
    CBiquadBlock block;
    block.design(bell);
    CBiquadMemory memory;
    const std::vector<double> in = noise(blockSize);
    std::vector<double> out(in);
    for ([[maybe_unused]] auto _ : state)
    {
        kernels[index]->process(block, memory, in.data(), out.data(), blockSize);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * blockSize);
}

// Worst case for a band: a crossfade that never ends.
void fadingBand(benchmark::State& state)
{
    CBand band;
    const std::vector<double> in = noise(blockSize);
    std::vector<double> out(in);
    double gain = 1.0;
    for ([[maybe_unused]] auto _ : state)
    {
        gain = 3.0 - gain;
        band.update(gain);
        band.process(in.data(), out.data(), blockSize);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * blockSize);
}

void designBlock(benchmark::State& state)
{
    CBiquadBlock block;
    CBiquadCoefficients c = bell;
    for ([[maybe_unused]] auto _ : state)
    {
        block.design(c);
        benchmark::DoNotOptimize(block);
    }
}

// Both in turns, the best of many turns each, so that a change of clock hits both.
void ratio(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    CPlainBiquad plain[channels];
    CBand band[channels];
    const std::vector<double> in = noise(blockSize);
    std::vector<double> out[channels] = {in, in};
    const auto time = [&](auto& filters)
    {
        const auto start = Clock::now();
        for (int repeat = 0; repeat < 8; ++repeat)
            for (int c = 0; c < channels; ++c)
            {
                filters[c].process(in.data(), out[c].data(), blockSize);
                benchmark::ClobberMemory();
            }
        const double ns = std::chrono::duration<double, std::nano>(Clock::now() - start).count();
        return ns / (8.0 * channels * blockSize);
    };
    std::vector<double> plainNs, bandNs;
    for ([[maybe_unused]] auto _ : state)
    {
        plainNs.push_back(time(plain));
        bandNs.push_back(time(band));
    }
    std::ranges::sort(plainNs);
    std::ranges::sort(bandNs);
    state.SetLabel(biquadKernel().name);
    state.counters["plain_ns"] = plainNs.front();
    state.counters["band_ns"] = bandNs.front();
    state.counters["ratio_best"] = bandNs.front() / plainNs.front();
    state.counters["ratio_median"] = bandNs[bandNs.size() / 2] / plainNs[plainNs.size() / 2];
}

BENCHMARK(processStereo<CPlainBiquad>)->Name("plain loop, stereo");
BENCHMARK(processStereo<CBand>)->Name("settled band, stereo");
BENCHMARK(ratio)->Name("ratio of band to plain loop");
BENCHMARK(kernelBuild)->Name("kernel build")->DenseRange(0, 4);
BENCHMARK(fadingBand)->Name("band in a fade");
BENCHMARK(designBlock)->Name("design of a block");

}
