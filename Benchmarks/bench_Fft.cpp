// SPDX-License-Identifier: GPL-3.0-or-later
// The real FFT, in every build that this processor can run, beside FFTW 3 (FFTW_ESTIMATE, r2c and c2r, double) in one
// run; the packed products; the making of tables; the partitioned convolver. Before the rows of Google Benchmark a
// table gives, per order, the best and the median of many short alternating runs of both, and the ratio, which is what
// to quote: alternating cancels what the machine does meanwhile.

#include "Audio/Filters/CFftPool.h"
#include "Audio/Filters/CFirDesign.h"
#include "Audio/Filters/CPartitionedConvolver.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace
{

using namespace kor;

std::vector<double> noise(std::size_t count)
{
    std::vector<double> samples(count);
    unsigned state = 1;
    for (double& x : samples)
        x = (state = state * 1664525u + 1013904223u) / 2147483648.0 - 1.0;
    return samples;
}

// One size, ready to run in one build of ours and in FFTW, each with buffers of its own.
class CSubject
{
public:
    CSubject(const CRealFft& build, int order) : fft(build), size(1 << order), half(std::size_t(size) / 2 + 1)
    {
        CRealFft::CSizes sizes;
        CAlignedBuffer init;
        const bool ready = fft.getSizes(order, CRealFft::noScaling, 0, sizes) && init.allocate(sizes.init / 8) &&
                           specification.allocate(sizes.specification / 8) && work.allocate(sizes.work / 8) &&
                           samples.allocate(std::size_t(size)) && spectrum.allocate(std::size_t(size)) &&
                           back.allocate(std::size_t(size)) &&
                           fft.init(order, CRealFft::noScaling, 0, specification.data(), init.data());
        if (!ready)
            std::abort();
        theirSamples = fftw_alloc_real(std::size_t(size));
        theirSpectrum = fftw_alloc_complex(half);
        // The inverse of FFTW may spoil its input, which would end in infinities: it is given zeros that stay zeros.
        theirZeros = fftw_alloc_complex(half);
        theirBack = fftw_alloc_real(std::size_t(size));
        forwardPlan = fftw_plan_dft_r2c_1d(size, theirSamples, theirSpectrum, FFTW_ESTIMATE);
        inversePlan = fftw_plan_dft_c2r_1d(size, theirZeros, theirBack, FFTW_ESTIMATE);
        const std::vector<double> x = noise(std::size_t(size));
        std::copy(x.begin(), x.end(), samples.data());
        std::copy(x.begin(), x.end(), theirSamples);
        std::fill_n(&theirZeros[0][0], 2 * half, 0.0);
    }

    ~CSubject()
    {
        fftw_destroy_plan(forwardPlan);
        fftw_destroy_plan(inversePlan);
        fftw_free(theirSamples);
        fftw_free(theirSpectrum);
        fftw_free(theirZeros);
        fftw_free(theirBack);
    }

    CSubject(const CSubject&) = delete;
    CSubject& operator=(const CSubject&) = delete;

    void forward() { fft.forward(samples.data(), spectrum.data(), specification.data(), work.data()); }
    void inverse() { fft.inverse(spectrum.data(), back.data(), specification.data(), work.data()); }
    void theirForward() { fftw_execute(forwardPlan); }
    void theirInverse() { fftw_execute(inversePlan); }

private:
    const CRealFft& fft;
    const int size;
    const std::size_t half;
    CAlignedBuffer specification, work, samples, spectrum, back;
    double *theirSamples, *theirBack;
    fftw_complex *theirSpectrum, *theirZeros;
    fftw_plan forwardPlan, inversePlan;
};

struct CTimes
{
    std::vector<double> runs;              // ns per call, one entry per run

    void measure(const std::function<void()>& call, int repeats)
    {
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < repeats; ++i)
            call();
        const std::chrono::duration<double, std::nano> span = std::chrono::steady_clock::now() - begin;
        runs.push_back(span.count() / repeats);
    }

    double best() const { return *std::min_element(runs.begin(), runs.end()); }

    double median()
    {
        std::nth_element(runs.begin(), runs.begin() + std::ptrdiff_t(runs.size() / 2), runs.end());
        return runs[runs.size() / 2];
    }
};

void printRatios()
{
    std::printf("compiler %s, FFTW %s\n", __VERSION__, fftw_version);
    std::printf("chosen build: %s\n", realFft().name);
    std::printf("build  order  forward best/median ns    FFTW best/median ns   ratio      inverse best ns   "
                "FFTW best ns   ratio\n");
    for (const CRealFft* build : allRealFftBuilds())
        for (int order = 5; order <= 18; ++order)
        {
            CSubject subject(*build, order);
            CTimes forward, theirForward, inverse, theirInverse;
            const int repeats = std::max(1, (1 << 18) >> order);
            for (int run = 0; run < 61; ++run)
            {
                forward.measure([&] { subject.forward(); }, repeats);
                theirForward.measure([&] { subject.theirForward(); }, repeats);
                inverse.measure([&] { subject.inverse(); }, repeats);
                theirInverse.measure([&] { subject.theirInverse(); }, repeats);
            }
            std::printf("%-6s %5d  %10.0f %10.0f    %10.0f %10.0f  %.2f/%.2f  %13.0f  %13.0f    %.2f\n", build->name,
                        order, forward.best(), forward.median(), theirForward.best(), theirForward.median(),
                        forward.best() / theirForward.best(), forward.median() / theirForward.median(), inverse.best(),
                        theirInverse.best(), inverse.best() / theirInverse.best());
        }
}

void registerBuild(const CRealFft& build)
{
    const auto add = [&](const char* what, void (CSubject::*call)(), bool ours, int order) {
        const std::string name = std::string(what) + (ours ? std::string("/") + build.name : "/FFTW");
        benchmark::RegisterBenchmark((name + "/order:" + std::to_string(order)).c_str(),
                                     [&build, call, order](benchmark::State& state) {
                                         CSubject subject(build, order);
                                         for (auto _ : state)
                                             (subject.*call)();
                                         state.SetItemsProcessed(state.iterations() << order);
                                     });
    };
    for (int order = 8; order <= 16; ++order)
    {
        add("forward", &CSubject::forward, true, order);
        add("inverse", &CSubject::inverse, true, order);
        if (&build == &realFft())
        {
            add("forward", &CSubject::theirForward, false, order);
            add("inverse", &CSubject::theirInverse, false, order);
        }
    }
    for (const int order : {8, 12, 15})
        for (const bool isAdding : {false, true})
            benchmark::RegisterBenchmark(
                ((isAdding ? "multiplyAddPacked/" : "multiplyPacked/") + std::string(build.name) +
                 "/order:" + std::to_string(order))
                    .c_str(),
                [&build, isAdding, order](benchmark::State& state) {
                    const int size = 1 << order;
                    CAlignedBuffer a, b, result;
                    if (!a.allocate(std::size_t(size)) || !b.allocate(std::size_t(size)) ||
                        !result.allocate(std::size_t(size)))
                        return state.SkipWithError("no memory");
                    const auto operation = isAdding ? build.multiplyAddPacked : build.multiplyPacked;
                    for (auto _ : state)
                        operation(a.data(), b.data(), result.data(), size);
                    state.SetItemsProcessed(state.iterations() << order);
                });
}

void tables(benchmark::State& state)
{
    CRealFft::CSizes sizes;
    const int order = static_cast<int>(state.range(0));
    CAlignedBuffer specification, init;
    if (!realFft().getSizes(order, CRealFft::noScaling, 0, sizes) || !init.allocate(sizes.init / 8) ||
        !specification.allocate(sizes.specification / 8))
        return state.SkipWithError("no tables");
    for (auto _ : state)
        benchmark::DoNotOptimize(realFft().init(order, CRealFft::noScaling, 0, specification.data(), init.data()));
}
BENCHMARK(tables)->DenseRange(8, 16, 4)->Arg(22)->Unit(benchmark::kMicrosecond);

// ns per sample of one channel in blocks of 512, by length of the response and log2 of the first block.
void convolver(benchmark::State& state)
{
    const std::vector<double> taps = noise(static_cast<std::size_t>(state.range(0)));
    const auto filter =
        CPartitionedConvolver::create(taps.data(), static_cast<int>(taps.size()), static_cast<int>(state.range(1)));
    const std::vector<double> x = noise(512);
    std::vector<double> y(512);
    for (auto _ : state)
        filter->process(x.data(), y.data(), 512);
    state.SetItemsProcessed(state.iterations() * 512);
}
BENCHMARK(convolver)->ArgsProduct({{54, 518, 4096, 65536}, {4, 7, 10}});

void design(benchmark::State& state)
{
    CFirDesign result;
    for (auto _ : state)
        benchmark::DoNotOptimize(designFirLowPass({44100.0, 0.005736961451247165, 10788.0, 1.0}, result));
}
BENCHMARK(design)->Unit(benchmark::kMicrosecond);

}

int main(int argc, char** argv)
{
    for (const CRealFft* build : allRealFftBuilds())
        registerBuild(*build);
    benchmark::Initialize(&argc, argv);
    printRatios();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
