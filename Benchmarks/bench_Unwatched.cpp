// SPDX-License-Identifier: GPL-3.0-or-later
// What meters and spectrum cost that nobody watches: the product's tree against the same tree without these nodes. A
// process has one shared tree, so that each of the two runs in a child of its own; they take turns of 100 blocks, and
// "ratio" is that of the medians of their turns, 1 for no cost at all. 48 kHz, stereo, blocks of 512 samples.
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
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using namespace kor;

void check(const CError& error)
{
    if (!error)
        return;
    std::fprintf(stderr, "bench_Unwatched: %s\n", error.text().c_str());
    std::_Exit(1);
}

double now()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// In the child: a byte asks for a turn, and its nanoseconds are the answer.
[[noreturn]] void serve(int from, int to, bool isBare, int mode, int bands)
{
    setenv("XDG_DATA_HOME", "/nonexistent", 1);
    static std::vector<unsigned char> tree;
    static CResourceEntry bareTree[] = {{nullptr, "SharedData.xml"}, {nullptr, nullptr}};
    CApplicationSetup setup;
    setup.creators = allCreators();
    setup.resources = morvaResources;
    if (isBare)
    {
        std::ifstream file(MORVA_BARE_TREE, std::ios::binary);
        tree.assign(std::istreambuf_iterator<char>(file), {});
        const std::size_t size = tree.size();
        for (int i = 0; i < 4; ++i)
            tree.insert(tree.begin() + i, static_cast<unsigned char>(size >> 8 * i));
        bareTree[0].block = tree.data();
        CResourceTable::add(morvaResources);
        setup.resources = bareTree;                 // takes the place of the product's
    }
    check(CApplication::initApplication(setup));
    CAudioInstance instance;
    check(instance.create());
    const auto set = [&](const char* key, int element, double value)
    { instance.findParam(key)->setValue(0, element, value); };
    set("modMorvaEQ.eq-params.band-count", 0, bands);
    for (int band = 0; band < bands; ++band)
    {
        set("modMorvaEQ.eq-params.mode", band, mode);
        set("modMorvaEQ.eq-params.freq", band, 60.0 + 300.0 * band);
        set("modMorvaEQ.eq-params.gain", band, band % 2 == 0 ? 1.5 : 0.7);
    }
    instance.environment().isProcessing = true;
    const int groups[] = {0, 0};
    check(instance.graph().setLayout(groups, 48000.0));
    const std::vector<double> music = noise(512, 1, 0.25);
    std::vector<double> left(512), right(512);
    const double* in[] = {music.data(), music.data()};
    double* out[] = {left.data(), right.data()};
    char asked = 0;
    while (read(from, &asked, 1) == 1)
    {
        const double begin = now();
        for (int i = 0; i < 100; ++i)
            instance.graph().process(in, out, 2, 512);
        const double taken = now() - begin;
        if (write(to, &taken, sizeof taken) != sizeof taken)
            break;
    }
    std::_Exit(0);
}

class CChild
{
public:
    CChild(bool isBare, int mode, int bands)
    {
        int asking[2], answering[2];
        if (pipe(asking) != 0 || pipe(answering) != 0)
            std::exit(1);
        process = fork();
        if (process == 0)
        {
            close(asking[1]);
            serve(asking[0], answering[1], isBare, mode, bands);
        }
        close(asking[0]);
        close(answering[1]);
        ask = asking[1];
        answer = answering[0];
    }
    ~CChild()
    {
        close(ask);
        close(answer);
        waitpid(process, nullptr, 0);
    }
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    /// Nanoseconds per stereo frame.
    double turn() const
    {
        double taken = 0.0;
        if (write(ask, "t", 1) != 1 || read(answer, &taken, sizeof taken) != sizeof taken)
        {
            std::fprintf(stderr, "bench_Unwatched: a child is gone\n");
            std::exit(1);
        }
        return taken / 51200.0;
    }

private:
    int ask = -1;
    int answer = -1;
    pid_t process = 0;
};

double median(std::vector<double>& values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void unwatched(benchmark::State& state, int mode, int bands)
{
    const CChild product(false, mode, bands);
    const CChild bare(true, mode, bands);
    for (int i = 0; i < 10; ++i)
    {
        product.turn();
        bare.turn();
    }
    std::vector<double> with, without;
    for ([[maybe_unused]] auto _ : state)
    {
        with.push_back(product.turn());
        without.push_back(bare.turn());
    }
    state.counters["product_ns"] = median(with);
    state.counters["bare_ns"] = median(without);
    state.counters["ratio"] = median(with) / median(without);
}
BENCHMARK_CAPTURE(unwatched, no band, 0, 0)->Iterations(300);
BENCHMARK_CAPTURE(unwatched, 8 plain bands, 4, 8)->Iterations(300);
BENCHMARK_CAPTURE(unwatched, 8 dynamic bands, 1, 8)->Iterations(200);
BENCHMARK_CAPTURE(unwatched, 32 dynamic bands, 1, 32)->Iterations(100);

}
