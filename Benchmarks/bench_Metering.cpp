// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs to show what is heard. Bare meters: nanoseconds per channel and sample; bare spectra: the share of one
// core that they take at 48 kHz in stereo, in per cent. "watched" rows run two equalizers in turns, of which somebody
// looks at one: nanoseconds per stereo frame of that one and of the other, and how many more per thing shown.
#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/AudioCreators.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Audio/Processes/CMeterBallistics.h"
#include "Audio/Processes/CSpectrumAnalyser.h"
#include "CPlainBiquad.h"
#include "Core/CApplication.h"
#include "Core/CWriteSeqBuffer.h"
#include "MorvaResources.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Other/Interface/CAudioVizDataMeter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace
{

using namespace kor;

constexpr double rate = 48000.0;
constexpr double framesPerSecond = 30.0;
constexpr int blockSamples = 512;

const std::vector<double>& music()
{
    static const std::vector<double> samples = noise(48000, 1, 0.25);
    return samples;
}

void meter(benchmark::State& state, const CMeterKind& kind, bool useBias)
{
    CMeterBallistics ballistics;
    ballistics.prepare(kind, rate, framesPerSecond);
    CMeterSettings settings;
    settings.rmsTime = 0.002;
    settings.release = 0.75;
    settings.useBias = useBias;
    ballistics.update(settings);
    ballistics.reset();
    const double* samples = music().data();
    for ([[maybe_unused]] auto _ : state)
    {
        for (int at = 0; at < blockSamples;)
        {
            const int count = std::min(ballistics.remaining(), blockSamples - at);
            if (ballistics.process(samples + at, samples + at, count))
                benchmark::DoNotOptimize(ballistics.endFrame());
            at += count;
        }
    }
    state.counters["ns_per_sample"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * blockSamples * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK_CAPTURE(meter, level, CMeterKind{}, false);
BENCHMARK_CAPTURE(meter, minimum, CMeterKind{.isCompression = true}, false);
BENCHMARK_CAPTURE(meter, ratio, CMeterKind{.isDiff = true}, false);
BENCHMARK_CAPTURE(meter, ratio with bias, CMeterKind{.isDiff = true}, true);

/// A second of sound through one channel.
void spectrum(benchmark::State& state, int blockSize, double overlap)
{
    CSpectrumAnalyser analyser;
    analyser.prepare(rate, framesPerSecond);
    CSpectrumSettings settings;
    settings.blockSize = blockSize;
    settings.overlap = overlap;
    analyser.update(settings, true, 0.0);
    std::vector<double> shown(static_cast<std::size_t>(analyser.binCount()));
    const int seconds = static_cast<int>(music().size());
    for ([[maybe_unused]] auto _ : state)
    {
        for (int begin = 0; begin < seconds; begin += blockSamples)
        {
            const int end = std::min(begin + blockSamples, seconds);
            for (int at = begin; at < end;)
            {
                const int count = std::min(analyser.remaining(), end - at);
                if (analyser.process(music().data() + at, count))
                    analyser.copyValues(false, shown.data());
                at += count;
            }
        }
        benchmark::DoNotOptimize(shown.data());
    }
    // Two channels, each a second of sound an iteration.
    state.counters["stereo_core_percent"] =
        benchmark::Counter(static_cast<double>(state.iterations()) / 200.0,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK_CAPTURE(spectrum, 2048 at 50 %, 5, 0.5)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(spectrum, 4096 at 75 %, 6, 0.75)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(spectrum, 65536 at 93.75 %, 10, 0.9375)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(spectrum, 64 at 93.75 %, 0, 0.9375)->Unit(benchmark::kMicrosecond);

/// Nanoseconds that this thread has computed, whatever else the machine does.
double now()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

[[noreturn]] void stop(const std::string& why)
{
    std::fprintf(stderr, "bench_Metering: %s\n", why.c_str());
    std::exit(1);
}

void check(const CError& error)
{
    if (error)
        stop(error.text());
}

void startApplication()
{
    static const bool isStarted = []
    {
        setenv("XDG_DATA_HOME", "/nonexistent", 1);
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        check(CApplication::initApplication(setup));
        return true;
    }();
    (void)isStarted;
}

class CEqualizer
{
public:
    CEqualizer()
    {
        startApplication();
        check(instance.create());
    }

    void set(const std::string& key, double value, int element = 0, int group = 0)
    {
        CAudioParam* param = instance.findParam(CStringBuf(key));
        if (param == nullptr)
            stop("no parameter " + key);
        param->setValue(group, element, value);
    }

    void setBands(int mode, int count, int groups = 1)
    {
        for (int group = 0; group < groups; ++group)
        {
            set("modMorvaEQ.eq-params.band-count", count, 0, group);
            for (int band = 0; band < count; ++band)
            {
                set("modMorvaEQ.eq-params.mode", mode, band, group);
                set("modMorvaEQ.eq-params.freq", 60.0 + 300.0 * band, band, group);
                set("modMorvaEQ.eq-params.gain", band % 2 == 0 ? 1.5 : 0.7, band, group);
            }
        }
    }

    void start()
    {
        const std::vector<int> groups(static_cast<std::size_t>(channels), 0);
        instance.environment().isProcessing = true;
        check(instance.graph().setLayout(groups, rate));
        for (int turn = 0; turn < 200; ++turn)
            run();
    }

    void listen(const std::string& slot)
    {
        instance.viz().addLocalListener(instance.viz().getSlot(CStringBuf("plugin.modMain." + slot)));
    }

    /// Nanoseconds of a block of 512 samples.
    double run()
    {
        position = (position + blockSamples) % (static_cast<int>(music().size()) - blockSamples);
        std::vector<const double*> from(static_cast<std::size_t>(channels), music().data() + position);
        std::vector<double*> to(static_cast<std::size_t>(channels), out.data());
        const double begin = now();
        instance.graph().process(from.data(), to.data(), channels, blockSamples);
        return now() - begin;
    }

    void fetch()
    {
        CWriteSeqBuffer stream;
        check(instance.viz().writeVizData(stream));
    }

    CAudioInstance instance;
    int channels = 2;

private:
    std::vector<double> out = std::vector<double>(blockSamples);
    int position = 0;
};

double median(std::vector<double>& values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

double mean(const std::vector<double>& values)
{
    double sum = 0.0;
    for (const double value : values)
        sum += value;
    return sum / static_cast<double>(values.size());
}

/// things: how many channels of something are shown. Means count the blocks that compute a spectrum; medians are
/// free of what the machine does beside.
void watched(benchmark::State& state, int mode, int bands, const std::vector<std::string>& slots, int things)
{
    CEqualizer plain;
    CEqualizer shown;
    for (CEqualizer* equalizer : {&plain, &shown})
        equalizer->setBands(mode, bands);
    shown.set("modMorvaEQ.spectrum-params.block-size", 6);
    shown.set("modMorvaEQ.spectrum-params.overlap", 0.75);
    for (const std::string& slot : slots)
        shown.listen(slot);
    plain.start();
    shown.start();
    std::vector<double> without;
    std::vector<double> with;
    int turn = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        without.push_back(plain.run() / blockSamples);
        with.push_back(shown.run() / blockSamples);
        if (++turn % 3 == 0)
            shown.fetch();
    }
    state.counters["plain_mean"] = mean(without);
    state.counters["shown_mean"] = mean(with);
    state.counters["plain"] = median(without);
    state.counters["shown"] = median(with);
    state.counters["each"] = (median(with) - median(without)) / things;
    state.counters["each_mean"] = (mean(with) - mean(without)) / things;
}

const char* const band = "modMorvaEQ.modFilter.modMeterEnv";
constexpr int turns = 6000;
BENCHMARK_CAPTURE(watched, nothing, 1, 8, {}, 1)->Iterations(turns);
BENCHMARK_CAPTURE(watched, output meter, 1, 8, {"modMeterOut"}, 2)->Iterations(turns);
BENCHMARK_CAPTURE(watched, difference, 1, 8, {"modMeterIODiff"}, 2)->Iterations(turns);
BENCHMARK_CAPTURE(watched, spectrum of 4096 at 75 %, 1, 8, {"modSpectrum"}, 2)->Iterations(turns);
BENCHMARK_CAPTURE(watched, 8 bands, 1, 8, {band}, 16)->Iterations(turns);
BENCHMARK_CAPTURE(watched, 32 bands, 1, 32, {band}, 64)->Iterations(turns);
BENCHMARK_CAPTURE(watched, all with 8 bands, 1, 8, {"modMeterOut", "modMeterIODiff", "modSpectrum", band}, 1)
    ->Iterations(turns);

/// A meter's frame from the pool to the display's queue.
void post(benchmark::State& state)
{
    CEqualizer equalizer;
    equalizer.listen("modMeterOut");
    equalizer.start();
    CAudioVizCollector& viz = equalizer.instance.viz();
    CAudioVizSlot& slot = viz.getSlot("plugin.modMain.modMeterOut");
    constexpr int batch = 200;
    std::vector<double> cost;
    for ([[maybe_unused]] auto _ : state)
    {
        const double begin = now();
        for (int i = 0; i < batch; ++i)
        {
            CAudioVizRef<CAudioVizDataMeter> data = viz.makeMeter(slot);
            data->channel = 1;
            data->value = data->peak = i;
            viz.post(slot, std::move(data));
        }
        cost.push_back((now() - begin) / batch);
        equalizer.fetch();
    }
    state.counters["ns"] = median(cost);
}
BENCHMARK(post)->Iterations(500);

/// A window opens on 8 groups of 32 dynamic bands, and closes. Blocks of 512 samples, in microseconds: the first one,
/// which tells all bands, and the slowest of those behind it.
void opened(benchmark::State& state)
{
    std::vector<double> steady;
    std::vector<double> firstIn;
    std::vector<double> worstIn;
    std::vector<double> firstOut;
    std::vector<double> worstOut;
    for ([[maybe_unused]] auto _ : state)
    {
        CEqualizer equalizer;
        equalizer.channels = 8;
        for (int c = 0; c < 8; ++c)
        {
            for (const char* list : {"io-params.in-routing", "io-params.out-routing"})
                equalizer.set(list, c + 1.0, c);
            equalizer.set("io-params.grouping", c, c);
        }
        equalizer.setBands(1, 32, 8);
        equalizer.start();
        const auto worstOf = [&](int blocks)
        {
            double worst = 0.0;
            for (int i = 0; i < blocks; ++i)
                worst = std::max(worst, equalizer.run() / 1000.0);
            return worst;
        };
        for (int i = 0; i < 50; ++i)
            steady.push_back(equalizer.run() / 1000.0);
        CAudioVizSlot& slot = equalizer.instance.viz().getSlot(CStringBuf("plugin.modMain.") + band);
        equalizer.instance.viz().addLocalListener(slot);
        firstIn.push_back(worstOf(1));
        worstIn.push_back(worstOf(40));
        equalizer.instance.viz().removeLocalListener(slot);
        firstOut.push_back(worstOf(1));
        worstOut.push_back(worstOf(40));
    }
    state.counters["steady_us"] = median(steady);
    state.counters["first_in_us"] = median(firstIn);
    state.counters["first_out_us"] = median(firstOut);
    state.counters["worst_in_us"] = median(worstIn);
    state.counters["worst_out_us"] = median(worstOut);
}
BENCHMARK(opened)->Iterations(5);

}
