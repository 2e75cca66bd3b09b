// SPDX-License-Identifier: GPL-3.0-or-later
// What keeping and restoring a project's state costs: 8 groups of 32 bands, captured to a preset and applied to the
// parameters, and the same as the compressed block that a host stores; the factory bank, from its resource; one change by
// a user, with its step of undo. Goals: capture 1 ms, apply 3 ms, the bank 3 ms, the change 3 us.
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/AudioCreators.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CApplication.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "MorvaResources.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

namespace
{

using namespace kor;

void check(const CError& error)
{
    if (!error)
        return;
    std::fprintf(stderr, "bench_State: %s\n", error.text().c_str());
    std::exit(1);
}

CAudioInstance& fullInstance()
{
    static CAudioInstance& full = *[]
    {
        setenv("XDG_DATA_HOME", "/nonexistent", 1);
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        check(CApplication::initApplication(setup));
        auto* const instance = new CAudioInstance;
        check(instance->create());
        for (const char* key : {"mode", "prevmode", "freq", "bw", "gain", "dyn"})
            for (int g = 0; g < instance->groupCount(); ++g)
                for (int e = 0; e < 32; ++e)
                {
                    CAudioParam& param = *instance->findParam(CStringBuf("modMorvaEQ.eq-params.") + key);
                    const CAudioParamInfo& info = param.info();
                    param.setValue(g, e, info.minValue(0) + (info.maxValue(0) - info.minValue(0)) * (e + 1) / 33.0);
                }
        return instance;
    }();
    return full;
}

CByteArray present(CAudioInstance& instance)
{
    CWriteSeqBuffer out;
    check(instance.registry().acquirePreset(CAudioPresetSource::session, -1, everyIndex, out));
    return out.getContents();
}

void capture(benchmark::State& state)
{
    CAudioInstance& instance = fullInstance();
    for (auto turn : state)
        benchmark::DoNotOptimize(present(instance));
}
BENCHMARK(capture)->Unit(benchmark::kMicrosecond);

void apply(benchmark::State& state)
{
    CAudioInstance& instance = fullInstance();
    const CByteArray bytes = present(instance);
    for (auto turn : state)
    {
        CMemoryReader reader(bytes);
        check(instance.registry().activatePreset(reader, CAudioPresetScope::storable, everyIndex,
                                                 CAudioPresetUndo::none));
    }
}
BENCHMARK(apply)->Unit(benchmark::kMicrosecond);

void applyWithUndo(benchmark::State& state)
{
    CAudioInstance& instance = fullInstance();
    const CByteArray bytes = present(instance);
    for (auto turn : state)
    {
        CMemoryReader reader(bytes);
        check(instance.registry().activatePreset(reader, CAudioPresetScope::storable));
    }
}
BENCHMARK(applyWithUndo)->Unit(benchmark::kMicrosecond);

void saveState(benchmark::State& state)
{
    CAudioInstance& instance = fullInstance();
    for (auto turn : state)
    {
        CWriteSeqBuffer out;
        check(instance.saveState(out));
        benchmark::DoNotOptimize(out.size());
    }
}
BENCHMARK(saveState)->Unit(benchmark::kMicrosecond);

void readFactoryBank(benchmark::State& state)
{
    fullInstance();
    for (auto turn : state)
    {
        CAudioPresetBank bank;
        check(bank.loadFile("FactoryROM.cbf"));
        benchmark::DoNotOptimize(bank.size());
    }
}
BENCHMARK(readFactoryBank)->Unit(benchmark::kMicrosecond);

// One band's frequency in a full group. With merging, as in a drag; without, each a step of its own at full history.
void changeWithUndo(benchmark::State& state)
{
    CAudioInstance& instance = fullInstance();
    CAudioParam& freq = *instance.findParam("modMorvaEQ.eq-params.freq");
    CAudioParamUndo undo;
    undo.setUp(instance.collector(), 32);
    double hz = 20.0;
    for (auto turn : state)
    {
        auto record = undo.createRecord("Filter frequency", state.range(0) != 0, 1);
        freq.setValue(3, 7, hz = hz < 20000.0 ? hz * 1.01 : 20.0, record.get());
        undo.submit(std::move(record));
    }
}
BENCHMARK(changeWithUndo)->ArgName("merges")->Arg(0)->Arg(1)->Unit(benchmark::kNanosecond);

}
