// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of a dynamic band that follow its filter, and the yardstick u, a plain direct form II loop in double, all on
// 512-sample blocks. items_per_second counts samples of one channel; of linked channels, samples of the one result. The
// row at the end measures a whole linked stereo band and the yardstick in turns.
#include "Audio/Processes/CBandKernel.h"
#include "Audio/Processes/CMorvaEnvKernel.h"
#include "CPlainBiquad.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

namespace
{

using namespace kor;

constexpr int blockSize = 512;
constexpr double rate = 48000.0;

std::vector<double> levels(unsigned seed)
{
    std::vector<double> samples = noise(blockSize, seed);
    for (double& x : samples)
        x = std::abs(x);
    return samples;
}

// Two channels' detectors with their buffers.
struct CDetectors
{
    CMorvaEnvSettings settings{morvaEnvCoefficient(0.005, rate), morvaEnvCoefficient(0.1, rate),
                               morvaEnvCoefficient(0.001, rate), morvaEnvCoefficient(0.1, rate), 1.0};
    CMorvaEnvState states[2];
    std::vector<double> filtered[2] = {levels(1), levels(2)};
    std::vector<double> dry[2] = {levels(3), levels(4)};
    std::vector<double> out[2] = {levels(5), levels(6)};
    CMorvaEnvRun runs[2] = {{&settings, &states[0], filtered[0].data(), dry[0].data(), out[0].data()},
                            {&settings, &states[1], filtered[1].data(), dry[1].data(), out[1].data()}};
};

// Blocks cut into stretches of 512 samples, or of 128 as a graph that saves cache runs them.
void detector(benchmark::State& state)
{
    auto kernels = allMorvaEnvKernels();
    if (kernels.back() != &plainMorvaEnvKernel())
        kernels.push_back(&plainMorvaEnvKernel());
    const auto index = static_cast<std::size_t>(state.range(0));
    if (index >= kernels.size())
    {
        state.SkipWithError("no such build on this processor");
        return;
    }
    const int channels = static_cast<int>(state.range(1));
    const int stretch = static_cast<int>(state.range(2));
    const auto routine = channels == 2 ? kernels[index]->plain.two : kernels[index]->plain.one;
    state.SetLabel(kernels[index]->name);
    CDetectors d;
    for ([[maybe_unused]] auto _ : state)
    {
        for (int done = 0; done < blockSize; done += stretch)
            routine(d.runs, stretch);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * channels * blockSize);
}

void rectify(benchmark::State& state)
{
    CDetectors d;
    for ([[maybe_unused]] auto _ : state)
    {
        bandKernel().rectify(d.dry[0].data(), d.out[0].data(), blockSize);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * blockSize);
}

void mix(benchmark::State& state)
{
    CDetectors d;
    for ([[maybe_unused]] auto _ : state)
    {
        bandKernel().mix(d.filtered[0].data(), d.dry[0].data(), d.dry[1].data(), d.out[0].data(), blockSize);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * blockSize);
}

// All that a linked stereo band does beside its filter: four rectifiers, two levelers, one detector whose result is
// copied once, two mixes.
void linkedStereo(CDetectors& d, std::vector<double> (&scratch)[4])
{
    const CBandKernel& k = bandKernel();
    for (std::size_t c = 0; c < 2; ++c)
    {
        k.rectify(d.filtered[c].data(), scratch[2 * c].data(), blockSize);
        k.rectify(d.dry[c].data(), scratch[2 * c + 1].data(), blockSize);
    }
    k.larger(scratch[0].data(), scratch[2].data(), scratch[0].data(), blockSize);
    k.larger(scratch[1].data(), scratch[3].data(), scratch[1].data(), blockSize);
    const CMorvaEnvRun run = {&d.settings, &d.states[0], scratch[0].data(), scratch[1].data(), scratch[2].data()};
    morvaEnvKernel().plain.one(&run, blockSize);
    std::copy_n(scratch[2].data(), blockSize, scratch[3].data());
    for (std::size_t c = 0; c < 2; ++c)
        k.mix(d.filtered[c].data(), d.dry[c].data(), scratch[2 + c].data(), d.out[c].data(), blockSize);
}

// In turns, the best of many, so that a change of clock hits both.
void bandAgainstYardstick(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    CPlainBiquad plain;
    CDetectors d;
    std::vector<double> scratch[4] = {levels(1), levels(1), levels(1), levels(1)};
    const auto time = [](int channels, auto&& work)
    {
        const auto start = Clock::now();
        for (int repeat = 0; repeat < 8; ++repeat)
        {
            work();
            benchmark::ClobberMemory();
        }
        return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / (8.0 * channels * blockSize);
    };
    std::vector<double> bandNs, plainNs;
    for ([[maybe_unused]] auto _ : state)
    {
        bandNs.push_back(time(2, [&] { linkedStereo(d, scratch); }));
        plainNs.push_back(time(1, [&] { plain.process(d.dry[0].data(), d.out[0].data(), blockSize); }));
    }
    std::ranges::sort(bandNs);
    std::ranges::sort(plainNs);
    state.SetLabel(morvaEnvKernel().name);
    state.counters["u_ns"] = plainNs.front();
    state.counters["band_ns"] = bandNs.front();
    state.counters["band_in_u_best"] = bandNs.front() / plainNs.front();
    state.counters["band_in_u_median"] = bandNs[bandNs.size() / 2] / plainNs[plainNs.size() / 2];
}

BENCHMARK(detector)
    ->Name("detector")
    ->ArgNames({"build", "channels", "stretch"})
    ->ArgsProduct({{0, 1, 2, 3, 4}, {1, 2}, {512, 128}});
BENCHMARK(rectify)->Name("rectifier");
BENCHMARK(mix)->Name("mix");
BENCHMARK(bandAgainstYardstick)->Name("linked stereo band without filter");

}
