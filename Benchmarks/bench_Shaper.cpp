// SPDX-License-Identifier: GPL-3.0-or-later
// The waveshaper and the noise against denormals, on 512-sample blocks of one channel, beside a plain direct form II
// loop in double. items_per_second counts samples; the row `in turns` measures all in turns and gives what each costs
// in units of the plain filter loop.
#include "Audio/Filters/COnePole.h"
#include "Audio/Processes/CDenormNoise.h"
#include "Audio/Processes/CMetaTubeKernel.h"
#include "CPlainBiquad.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace
{

using namespace kor;

constexpr int blockSize = 512;

// The yardstick, with the second input that the others have.
struct CPlainFilter
{
    CPlainBiquad filter;

    void process(const double* in, const double*, double* out, int count) { filter.process(in, out, count); }
};

CMetaTubeSettings tubeSettings()
{
    CMetaTubeSettings s;
    s.curveA.design(1.0 / 1.3, 3.5);
    s.curveB.design(1.0 / 1.75, 4.8);
    s.biasI = -1.8;
    s.biasV = 0.5;
    s.gainV = 0.15;
    s.dcOffset = s.slide(s.biasI, s.biasV);
    s.outputGain = 1.07089;
    s.feedCoefficient = onePoleOfFrequency(50.0, 48000.0);
    return s;
}

// One sample after the other, as the waveshaper is defined.
class CPlainTube
{
public:
    [[gnu::noinline]] void process(const double* in, const double* dry, double* out, int count)
    {
        double s = state;
        for (int i = 0; i < count; ++i)
        {
            const double m = (s + (dry[i] - s) * settings.feedCoefficient) * settings.gainV + settings.biasV;
            s = settings.slide(in[i] * settings.gainI + settings.biasI, m) - settings.dcOffset;
            out[i] = s * settings.outputGain;
        }
        state = s;
    }

private:
    const CMetaTubeSettings settings = tubeSettings();
    double state = 0.0;
};

template <CMetaTubeRoutine CMetaTubeKernel::*routine>
class CTube
{
public:
    explicit CTube(const CMetaTubeKernel& build = metaTubeKernel()) : run(build.*routine) {}
    void process(const double* in, const double* dry, double* out, int count)
    {
        run(settings, state, in, dry, out, count);
    }

private:
    const CMetaTubeRoutine run;
    const CMetaTubeSettings settings = tubeSettings();
    double state = 0.0;
};
using CFeedbackTube = CTube<&CMetaTubeKernel::processFeedback>;
using CDryTube = CTube<&CMetaTubeKernel::processDry>;

class CNoiseAdder
{
public:
    void process(const double* in, const double*, double* out, int count) { noise.add(in, out, count); }

private:
    CDenormNoise noise;
};

class CPlainNoise
{
public:
    [[gnu::noinline]] void process(const double* in, const double*, double* out, int count)
    {
        std::uint32_t s = seed;
        for (int i = 0; i < count; ++i)
        {
            s = s * 30013u + 30011u;
            out[i] = in[i] + (s & 0x800000u) * 2.384185791015625e-18 - 1e-11;
        }
        seed = s;
    }

private:
    std::uint32_t seed = 0;
};

struct CSignals
{
    std::vector<double> in = noise(blockSize, 1), dry = noise(blockSize, 2), out = noise(blockSize, 3);
};

template <class Processor>
void run(benchmark::State& state, Processor& processor)
{
    CSignals s;
    for ([[maybe_unused]] auto _ : state)
    {
        processor.process(s.in.data(), s.dry.data(), s.out.data(), blockSize);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * blockSize);
}

template <class Processor>
void block(benchmark::State& state)
{
    Processor processor;
    run(state, processor);
}

template <class Tube>
void kernelBuild(benchmark::State& state)
{
    const auto kernels = allMetaTubeKernels();
    const auto index = static_cast<std::size_t>(state.range(0));
    if (index >= kernels.size())
    {
        state.SkipWithError("no such build on this processor");
        return;
    }
    state.SetLabel(kernels[index]->name);
    Tube tube(*kernels[index]);
    run(state, tube);
}

// All in turns, the best of many turns each, so that a change of clock hits all.
void inTurns(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    CSignals s;
    const auto time = [&s](auto& processor, double& best)
    {
        constexpr int repeats = 8;
        const auto start = Clock::now();
        for (int i = 0; i < repeats; ++i)
        {
            processor.process(s.in.data(), s.dry.data(), s.out.data(), blockSize);
            benchmark::ClobberMemory();
        }
        best = std::min(best, std::chrono::duration<double, std::nano>(Clock::now() - start).count() /
                                  (repeats * blockSize));
    };
    CPlainFilter plain;
    CFeedbackTube feedback;
    CDryTube dry;
    CNoiseAdder adder;
    double plainNs = 1e9, feedbackNs = 1e9, dryNs = 1e9, adderNs = 1e9;
    for ([[maybe_unused]] auto _ : state)
    {
        time(plain, plainNs);
        time(feedback, feedbackNs);
        time(dry, dryNs);
        time(adder, adderNs);
    }
    state.SetLabel(metaTubeKernel().name);
    state.counters["u_ns"] = plainNs;
    state.counters["feedback_u"] = feedbackNs / plainNs;
    state.counters["dry_u"] = dryNs / plainNs;
    state.counters["noise_u"] = adderNs / plainNs;
}

BENCHMARK(block<CPlainFilter>)->Name("plain filter loop");
BENCHMARK(block<CPlainTube>)->Name("waveshaper, plain loop");
BENCHMARK(block<CFeedbackTube>)->Name("waveshaper, feedback");
BENCHMARK(block<CDryTube>)->Name("waveshaper, dry");
BENCHMARK(block<CPlainNoise>)->Name("noise, plain loop");
BENCHMARK(block<CNoiseAdder>)->Name("noise");
BENCHMARK(inTurns)->Name("in turns");
BENCHMARK(kernelBuild<CFeedbackTube>)->Name("feedback build")->DenseRange(0, 4);
BENCHMARK(kernelBuild<CDryTube>)->Name("dry build")->DenseRange(0, 4);

}
