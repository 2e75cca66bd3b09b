// SPDX-License-Identifier: GPL-3.0-or-later
// What a window's message costs: a change of one number to the audio side and back into the window's copy, the same
// with a second window listening, and the whole state of a parameter of 8 groups for a new listener. Goal for the
// first: 20 microseconds.
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/AudioCreators.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CApplication.h"
#include "MorvaResources.h"
#include "Other/Interface/CAudioInterfaceClient.h"
#include "Other/Interface/CInterfaceClientTree.h"
#include "Platform/CEventLoop.h"

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
    std::fprintf(stderr, "bench_Interface: %s\n", error.text().c_str());
    std::exit(1);
}

struct CWindow
{
    explicit CWindow(const CAudioInstance& instance)
    {
        check(tree.create(instance.tree()));
        check(tree.client().listenParam(listener, "plugin.modMain.modMorvaEQ.eq-params.freq", copy));
        CEventLoop::ofThisThread()->dispatch();
    }
    ~CWindow() { check(tree.client().unlistenParam(listener)); }

    CInterfaceClientTree tree;
    CParamCopy copy;
    std::uint32_t listener = 0;
};

const CAudioInstance& instance()
{
    static const CAudioInstance& made = *[]
    {
        setenv("XDG_DATA_HOME", "/nonexistent", 1);
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        check(CApplication::initApplication(setup));
        auto* const created = new CAudioInstance;
        check(created->create());
        return created;
    }();
    return made;
}

void changeAndBack(benchmark::State& state)
{
    CWindow window(instance());
    std::vector<std::unique_ptr<CWindow>> others;
    for (int i = 1; i < state.range(0); ++i)
        others.push_back(std::make_unique<CWindow>(instance()));
    double value = 100.0;
    for (auto turn : state)
    {
        value = value < 1000.0 ? value + 1.0 : 100.0;
        CAudioParamRequest request;
        request.group = 1;
        request.firstElement = 2;
        request.values = &value;
        check(window.tree.client().changeParam(window.listener, 0, request));
        CEventLoop::ofThisThread()->dispatch();
        if (window.copy.values().getValue(1, 2) != value)
            state.SkipWithError("the change did not come back");
    }
}
BENCHMARK(changeAndBack)->ArgName("windows")->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

void listen(benchmark::State& state)
{
    const CWindow window(instance());
    CParamCopy copy;
    for (auto turn : state)
    {
        std::uint32_t id = 0;
        check(window.tree.client().listenParam(id, "plugin.modMain.modMorvaEQ.eq-params.freq", copy));
        CEventLoop::ofThisThread()->dispatch();
        check(window.tree.client().unlistenParam(id));
    }
    if (copy.values().groupCount() != 8)
        state.SkipWithError("the state did not come");
}
BENCHMARK(listen)->Unit(benchmark::kMicrosecond);

}
