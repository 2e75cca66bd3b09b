// SPDX-License-Identifier: GPL-3.0-or-later
// What the whole running equalizer costs: 48 kHz, stereo, one thread. The yardstick u is one sample through a plain
// direct form II loop in double; both are timed in turns, and every row tells its figure in u. "per band" rows are
// (cost with 32 bands - cost with 8) / 24, per channel and sample; the others are per stereo frame.
#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/AudioCreators.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "CPlainBiquad.h"
#include "Core/CApplication.h"
#include "MorvaResources.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{

using namespace kor;
using Clock = std::chrono::steady_clock;

constexpr int channels = 2;
constexpr double rate = 48000.0;
constexpr int framesPerTurn = 4096;

[[noreturn]] void stop(const CError& error)
{
    std::fprintf(stderr, "bench_Equalizer: %s\n", error.text().c_str());
    std::exit(1);
}

void startApplication()
{
    static const bool isStarted = []
    {
        setenv("XDG_DATA_HOME", "/nonexistent", 1);
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        if (CError error = CApplication::initApplication(setup))
            stop(error);
        return true;
    }();
    (void)isStarted;
}

const std::vector<double>& music()
{
    static const std::vector<double> samples = noise(framesPerTurn, 1, 0.25);
    return samples;
}

class CEqualizer
{
public:
    CEqualizer()
    {
        startApplication();
        if (CError error = instance.create())
            stop(error);
    }

    void set(const char* key, double value, int element = 0)
    {
        CAudioParam* param = instance.findParam(key);
        if (param == nullptr)
        {
            std::fprintf(stderr, "bench_Equalizer: no parameter %s\n", key);
            std::exit(1);
        }
        param->setValue(0, element, value);
    }

    void setBands(int mode, int count)
    {
        set("modMorvaEQ.eq-params.band-count", count);
        for (int band = 0; band < count; ++band)
        {
            set("modMorvaEQ.eq-params.mode", mode, band);
            set("modMorvaEQ.eq-params.freq", 60.0 + 300.0 * band, band);
            set("modMorvaEQ.eq-params.bw", 1.0, band);
            set("modMorvaEQ.eq-params.gain", band % 2 == 0 ? 1.5 : 0.7, band);
        }
    }

    void start()
    {
        const int groups[channels] = {0, 0};
        instance.environment().isProcessing = true;
        if (CError error = instance.graph().setLayout(groups, rate))
            stop(error);
        for (int turn = 0; turn < 20; ++turn)
            run(512);
    }

    void run(int block, const std::vector<double>& in = music())
    {
        for (int at = 0; at < framesPerTurn; at += block)
        {
            const double* from[channels] = {in.data() + at, in.data() + at};
            double* to[channels] = {out[0].data() + at, out[1].data() + at};
            instance.graph().process(from, to, channels, block);
        }
    }

private:
    CAudioInstance instance;
    std::vector<double> out[channels] = {std::vector<double>(framesPerTurn), std::vector<double>(framesPerTurn)};
};

/// Nanoseconds per sample of the plain loop over 512-sample blocks.
double timeYardstick()
{
    static CPlainBiquad filter;
    static std::vector<double> out(512);
    const auto begin = Clock::now();
    for (int at = 0; at < framesPerTurn; at += 512)
    {
        filter.process(music().data() + at, out.data(), 512);
        benchmark::ClobberMemory();
    }
    return std::chrono::duration<double, std::nano>(Clock::now() - begin).count() / framesPerTurn;
}

/// Nanoseconds per stereo frame.
double time(CEqualizer& equalizer, int block, const std::vector<double>& in = music())
{
    const auto begin = Clock::now();
    equalizer.run(block, in);
    return std::chrono::duration<double, std::nano>(Clock::now() - begin).count() / framesPerTurn;
}

double median(std::vector<double>& values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void report(benchmark::State& state, std::vector<double>& yardstick, double ns, double limit)
{
    const double u = median(yardstick);
    state.counters["u_ns"] = u;
    state.counters["ns"] = ns;
    state.counters["in_u"] = ns / u;
    state.counters["limit_u"] = limit;
}

void perBand(benchmark::State& state, int mode, int block, double limit)
{
    CEqualizer few;
    few.setBands(mode, 8);
    few.start();
    CEqualizer many;
    many.setBands(mode, 32);
    many.start();
    std::vector<double> yardstick;
    std::vector<double> marginal;
    for ([[maybe_unused]] auto _ : state)
    {
        yardstick.push_back(timeYardstick());
        marginal.push_back((time(many, block) - time(few, block)) / 24.0 / channels);
    }
    report(state, yardstick, median(marginal), limit);
}

void perFrame(benchmark::State& state, int bands, double oversampling, int block, double limit)
{
    CEqualizer equalizer;
    equalizer.set("modMorvaEQ.eq-params.band-count", bands);
    equalizer.set("oversampling", oversampling);
    equalizer.start();
    std::vector<double> yardstick;
    std::vector<double> cost;
    for ([[maybe_unused]] auto _ : state)
    {
        yardstick.push_back(timeYardstick());
        cost.push_back(time(equalizer, block));
    }
    report(state, yardstick, median(cost), limit);
}

// A minute of silence behind noise, against noise: what decays must not become slow. `ratio` compares the last turns.
void inSilence(benchmark::State& state, double noiseEnable)
{
    CEqualizer sounding;
    CEqualizer silent;
    for (CEqualizer* equalizer : {&sounding, &silent})
    {
        equalizer->set("denorm-enable", noiseEnable);
        equalizer->setBands(1, 8);
        equalizer->set("oversampling", 2.0);
        equalizer->start();
    }
    const std::vector<double> silence(framesPerTurn, 0.0);
    for (int turn = 0; turn < 60.0 * rate / framesPerTurn; ++turn)
        silent.run(512, silence);
    std::vector<double> yardstick;
    std::vector<double> loud;
    std::vector<double> quiet;
    for ([[maybe_unused]] auto _ : state)
    {
        yardstick.push_back(timeYardstick());
        loud.push_back(time(sounding, 512));
        quiet.push_back(time(silent, 512, silence));
    }
    const double ns = median(quiet);
    report(state, yardstick, ns, 0.0);
    state.counters["ratio"] = ns / median(loud);
}

constexpr int turns = 400;

BENCHMARK_CAPTURE(inSilence, silence with noise, 1.0)->Iterations(turns);
BENCHMARK_CAPTURE(inSilence, silence without noise, 0.0)->Iterations(turns);

BENCHMARK_CAPTURE(perFrame, nothing on / 512, 5, 1.0, 512, 6.0)->Iterations(turns);
BENCHMARK_CAPTURE(perFrame, nothing on / 64, 5, 1.0, 64, 20.0)->Iterations(turns);
BENCHMARK_CAPTURE(perBand, Peaking Plain / 512, 4, 512, 0.3)->Iterations(turns);
BENCHMARK_CAPTURE(perBand, Peaking Plain / 64, 4, 64, 0.4)->Iterations(turns);
BENCHMARK_CAPTURE(perBand, Peaking / 512, 1, 512, 2.5)->Iterations(turns);
BENCHMARK_CAPTURE(perBand, Peaking / 64, 1, 64, 3.0)->Iterations(turns);
BENCHMARK_CAPTURE(perBand, Peaking Hrm / 512, 3, 512, 6.0)->Iterations(turns);
BENCHMARK_CAPTURE(perBand, Peaking Hrm / 64, 3, 64, 7.0)->Iterations(turns);
BENCHMARK_CAPTURE(perFrame, twice oversampled / 512, 0, 2.0, 512, 20.0)->Iterations(turns);
BENCHMARK_CAPTURE(perFrame, twice oversampled / 64, 0, 2.0, 64, 26.0)->Iterations(turns);
BENCHMARK_CAPTURE(perFrame, eight times oversampled / 512, 0, 4.0, 512, 64.0)->Iterations(turns);
BENCHMARK_CAPTURE(perFrame, eight times oversampled / 64, 0, 4.0, 64, 80.0)->Iterations(turns);

}
