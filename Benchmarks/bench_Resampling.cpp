// SPDX-License-Identifier: GPL-3.0-or-later
// The half-band filters against the yardstick u, one sample through a plain direct form II biquad loop in double over
// 512 samples, timed in turns in the same run. A stereo frame at twice the rate passes the 8 sections 8 times (up and
// down, two samples, two channels). What the oversampled graph costs as a whole is in bench_Equalizer.
#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Audio/Filters/CHalfBandKernel.h"
#include "Audio/Filters/CHalfBandStage.h"
#include "CPlainBiquad.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <span>
#include <vector>

namespace
{

using namespace kor;
using Clock = std::chrono::steady_clock;

constexpr int blockSize = 512;

const std::vector<double> rows[] = {
    {0.042454709865267684, 0.393319893190328010, 0.170739850497499070, 0.745713588720222980},
    {0.035832788431062100, 0.272040143396457710, 0.572057197235700250, 0.827124761997323770, 0.134090141943066930,
     0.424324871271868350, 0.706292142138639220, 0.941503094173755220},
    {0.009671236272564429, 0.082947356972484801, 0.210366155920985650, 0.364041004654972740, 0.519643573857522910,
     0.663202022419399520, 0.791622976783688200, 0.910330668655478850, 0.037984028660154184, 0.141586217109648530,
     0.285641118181376830, 0.442747446534294100, 0.593353291960788230, 0.729134762155008610, 0.851584164747336450,
     0.969559720402660590},
};

// As the module runs it: through the operations of its stage kind.
class CHalfBand
{
public:
    explicit CHalfBand(const std::vector<double>& row)
        : kind(*CDCDAWFilterWorkspace::instance().kind(filterKind::halfBand1 + static_cast<int>(row.size()) / 2 - 1))
    {
        kind.init(memory, row, 96000.0);
    }
    void process(const double* in, double* out, int count) { kind.process(memory, in, out, count); }

private:
    const CAudioFilterStageKind& kind;
    alignas(64) std::byte memory[sizeof(CHalfBandStage<8>)];
};

template <class Work>
double nanoseconds(int repeats, const Work& work)
{
    const auto start = Clock::now();
    for (int i = 0; i < repeats; ++i)
    {
        work();
        benchmark::ClobberMemory();
    }
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / repeats;
}

double median(std::vector<double>& values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

// Yardstick and filter in turns, so that a change of clock hits both.
void halfBand(benchmark::State& state)
{
    CPlainBiquad plain;
    CHalfBand filter(rows[state.range(0)]);
    const std::vector<double> in = noise(blockSize);
    std::vector<double> out(in);
    std::vector<double> yardstick;
    std::vector<double> own;
    for ([[maybe_unused]] auto _ : state)
    {
        yardstick.push_back(nanoseconds(8, [&] { plain.process(in.data(), out.data(), blockSize); }) / blockSize);
        own.push_back(nanoseconds(8, [&] { filter.process(in.data(), out.data(), blockSize); }) / blockSize);
    }
    state.SetLabel(halfBandKernel().name);
    const double u = median(yardstick);
    state.counters["u_ns"] = u;
    state.counters["ns_per_sample"] = median(own);
    state.counters["in_u"] = median(own) / u;
}

void kernelBuild(benchmark::State& state)
{
    const auto kernels = allHalfBandKernels();
    const auto index = static_cast<std::size_t>(state.range(0));
    if (index >= kernels.size())
    {
        state.SkipWithError("no such build on this processor");
        return;
    }
    state.SetLabel(kernels[index]->name);
    double memory[5 * CHalfBandRun::streams] = {};
    double late = 0.0;
    const std::vector<double> in = noise(blockSize);
    std::vector<double> out(in);
    for ([[maybe_unused]] auto _ : state)
    {
        kernels[index]->process[3]({rows[1].data(), memory, &late}, in.data(), out.data(), blockSize);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * blockSize);
}

BENCHMARK(halfBand)->Name("half-band, of 4, 8, 16 sections")->DenseRange(0, 2);
BENCHMARK(kernelBuild)->Name("kernel build, 8 sections")->DenseRange(0, 4);

}
