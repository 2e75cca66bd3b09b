// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs the audio thread that its sound is shown: nanoseconds of one post, of the start of a block, and, for the
// window's thread, of fetching a frame of 256 meters. Goal: a meter's post 1 us. The yardstick is what a post would cost
// that made its object anew and freed the one before.
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Plugin/AudioCreators.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CApplication.h"
#include "Core/CWriteSeqBuffer.h"
#include "MorvaResources.h"
#include "Other/Interface/CAudioVizCollector.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

namespace
{

using namespace kor;

const CStringBuf meterName = "plugin.modMain.modMeterOut";
const CStringBuf spectrumName = "plugin.modMain.modSpectrum";

void check(const CError& error)
{
    if (!error)
        return;
    std::fprintf(stderr, "bench_Viz: %s\n", error.text().c_str());
    std::exit(1);
}

CAudioInstance& instance(int which)
{
    static CAudioInstance* const both = []
    {
        setenv("XDG_DATA_HOME", "/nonexistent", 1);
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        check(CApplication::initApplication(setup));
        auto* const made = new CAudioInstance[2];
        for (int i = 0; i < 2; ++i)
            check(made[i].create());
        return made;
    }();
    return both[which];
}

/// listener: 0 nobody, 1 the instance's own display, 2 another instance's, 3 both. Takes them away at its end.
class CListening
{
public:
    CListening(const CStringBuf& slotName, int listener)
        : name(slotName), viz(instance(0).viz()), slot(viz.getSlot(name)), isLocal(listener % 2 == 1), isImported(listener >= 2)
    {
        CAudioParam& exported = *instance(0).findParam("modMorvaEQ.spec-export-slot");
        exported.setValue(0, 0, 1.0);
        change(1);
    }
    ~CListening() { change(-1); }

    void change(int delta)
    {
        if (isLocal)
            delta > 0 ? viz.addLocalListener(slot) : viz.removeLocalListener(slot);
        if (isImported)
            delta > 0 ? instance(1).viz().addImport(0, name) : instance(1).viz().removeImport(0, name);
        viz.frameUpdate();
    }

    const CStringBuf name;
    CAudioVizCollector& viz;
    CAudioVizSlot& slot;

private:
    const bool isLocal;
    const bool isImported;
};

constexpr int postsPerFetch = 256;

/// Everything but the posts runs untimed: time goes on, and the windows fetch.
template <class Post>
void postAndFetch(benchmark::State& state, CListening& listening, int posts, Post&& post)
{
    for (auto turn : state)
    {
        for (int i = 0; i < posts; ++i)
            post();
        state.PauseTiming();
        instance(0).environment().time += 1.0 / 30.0;
        listening.viz.frameUpdate();
        for (int i = 0; i < 2; ++i)
        {
            CWriteSeqBuffer out;
            check(instance(i).viz().writeVizData(out));
        }
        state.ResumeTiming();
    }
    state.counters["ns_per_post"] = benchmark::Counter(static_cast<double>(state.iterations()) * posts * 1e-9,
                                                       benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void postMeter(benchmark::State& state)
{
    CListening listening(meterName, static_cast<int>(state.range(0)));
    postAndFetch(state, listening, postsPerFetch,
                 [&]
                 {
                     auto meter = listening.viz.makeMeter(listening.slot);
                     meter->value = 0.5;
                     listening.viz.post(listening.slot, std::move(meter));
                 });
}
BENCHMARK(postMeter)->ArgName("listener")->DenseRange(0, 3);

void postSpectrum(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    CListening listening(spectrumName, static_cast<int>(state.range(1)));
    postAndFetch(state, listening, 8,
                 [&]
                 {
                     auto spectrum = listening.viz.makeSpectrum(listening.slot, count);
                     spectrum->values.front() = 1.0;
                     listening.viz.post(listening.slot, std::move(spectrum));
                 });
}
BENCHMARK(postSpectrum)->ArgNames({"values", "listener"})->Args({1025, 1})->Args({32769, 1})->Args({32769, 3})->Iterations(300);

// The yardstick.
void makeAnew(benchmark::State& state)
{
    CAudioVizRef<CAudioVizDataMeter> last;
    for (auto turn : state)
    {
        CAudioVizRef<CAudioVizDataMeter> meter(new CAudioVizDataMeter);
        meter->value = 0.5;
        last = std::move(meter);
        benchmark::DoNotOptimize(last.get());
    }
}
BENCHMARK(makeAnew);

void startOfBlock(benchmark::State& state)
{
    CListening listening(spectrumName, static_cast<int>(state.range(0)));
    for (auto turn : state)
        listening.viz.frameUpdate();
}
BENCHMARK(startOfBlock)->ArgName("listener")->DenseRange(0, 3);

void fetch(benchmark::State& state)
{
    CListening listening(meterName, 1);
    for (auto turn : state)
    {
        state.PauseTiming();
        for (int i = 0; i < postsPerFetch; ++i)
            listening.viz.post(listening.slot, listening.viz.makeMeter(listening.slot));
        state.ResumeTiming();
        CWriteSeqBuffer out;
        check(listening.viz.writeVizData(out));
        benchmark::DoNotOptimize(out.size());
    }
}
BENCHMARK(fetch)->Unit(benchmark::kMicrosecond);

}
