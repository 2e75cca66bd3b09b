// SPDX-License-Identifier: GPL-3.0-or-later
// Small blocks against the C heap, side by side in one run: each pattern once for each allocator, sizes 16 to 512.
// "ns_pair" is the time in ns for taking and giving back one block; with two threads, the wall time divided by the
// pairs of both. On a machine that does other work compare the best of some repetitions:
//     bench_Allocator --benchmark_repetitions=10 --benchmark_enable_random_interleaving=true
#include "Core/CAllocator.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

namespace
{

struct CSmallBlocks
{
    static void* take(std::size_t size) { return kor::allocBlock(size); }
    static void give(void* block) { kor::freeBlock(block); }
};

struct CHeap
{
    static void* take(std::size_t size) { return std::malloc(size); }
    static void give(void* block) { std::free(block); }
};

void countPairs(benchmark::State& state, std::size_t pairsPerIteration)
{
    state.counters["ns_pair"] = benchmark::Counter(static_cast<double>(pairsPerIteration) * 1e-9,
                                                   benchmark::Counter::kIsIterationInvariantRate |
                                                       benchmark::Counter::kInvert | benchmark::Counter::kAvgThreads);
}

template <class Blocks>
void pairs(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state)
    {
        void* block = Blocks::take(size);
        benchmark::DoNotOptimize(block);
        *static_cast<volatile char*>(block) = 1;
        Blocks::give(block);
    }
    countPairs(state, 1);
}

// Taken in order, given back in the order taken, or in a random one.
template <class Blocks, int Count, bool IsRandom>
void batch(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    std::array<int, Count> order;
    for (int i = 0; i < Count; ++i)
        order[static_cast<std::size_t>(i)] = i;
    if (IsRandom)
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
    std::array<void*, Count> blocks;
    for (auto _ : state)
    {
        for (void*& block : blocks)
        {
            block = Blocks::take(size);
            *static_cast<volatile char*>(block) = 1;
        }
        benchmark::ClobberMemory();
        for (int i : order)
            Blocks::give(blocks[static_cast<std::size_t>(i)]);
    }
    countPairs(state, Count);
}

// As a window's tree does it: sizes mixed over 16 to 512, a thousand blocks alive, one in and one out at random.
template <class Blocks>
void mixed(benchmark::State& state)
{
    constexpr std::size_t alive = 1024;
    std::minstd_rand random(7);
    std::vector<std::uint16_t> sizes(8192);
    std::vector<std::uint16_t> places(sizes.size());
    for (std::size_t i = 0; i < sizes.size(); ++i)
    {
        sizes[i] = static_cast<std::uint16_t>(16 + random() % 497);
        places[i] = static_cast<std::uint16_t>(random() % alive);
    }
    std::vector<void*> blocks(alive);
    for (void*& block : blocks)
        block = Blocks::take(16 + random() % 497);
    std::size_t i = 0;
    for (auto _ : state)
    {
        void*& block = blocks[places[i]];
        Blocks::give(block);
        block = Blocks::take(sizes[i]);
        *static_cast<volatile char*>(block) = 1;
        i = (i + 1) % sizes.size();
    }
    for (void* block : blocks)
        Blocks::give(block);
    countPairs(state, 1);
}

// One thread takes batches of 64, another gives them back; eight batches may be under way.
template <class Blocks>
void handedOver(benchmark::State& state)
{
    using CBatch = std::array<void*, 64>;
    const auto size = static_cast<std::size_t>(state.range(0));
    std::array<CBatch, 8> ring;
    std::atomic<std::size_t> taken{0};
    std::atomic<std::size_t> given{0};
    std::atomic<bool> isOver{false};
    std::thread giver([&] {
        for (std::size_t next = 0;;)
        {
            if (taken.load(std::memory_order_acquire) == next)
            {
                if (isOver.load(std::memory_order_acquire) && taken.load(std::memory_order_acquire) == next)
                    return;
                std::this_thread::yield();
                continue;
            }
            for (void* block : ring[next % ring.size()])
                Blocks::give(block);
            given.store(++next, std::memory_order_release);
        }
    });
    std::size_t next = 0;
    for (auto _ : state)
    {
        while (next - given.load(std::memory_order_acquire) == ring.size())
            std::this_thread::yield();
        for (void*& block : ring[next % ring.size()])
        {
            block = Blocks::take(size);
            *static_cast<volatile char*>(block) = 1;
        }
        taken.store(++next, std::memory_order_release);
    }
    isOver.store(true, std::memory_order_release);
    giver.join();
    countPairs(state, 64);
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    for (int size : {16, 64, 200, 512})
        benchmark->Arg(size);
    benchmark->UseRealTime();
}

void oneAndTwoThreads(benchmark::internal::Benchmark* benchmark)
{
    sizes(benchmark);
    benchmark->Threads(1)->Threads(2);
}

}

BENCHMARK(pairs<CHeap>)->Apply(oneAndTwoThreads);
BENCHMARK(pairs<CSmallBlocks>)->Apply(oneAndTwoThreads);
BENCHMARK(batch<CHeap, 64, false>)->Apply(oneAndTwoThreads);
BENCHMARK(batch<CSmallBlocks, 64, false>)->Apply(oneAndTwoThreads);
BENCHMARK(batch<CHeap, 64, true>)->Apply(oneAndTwoThreads);
BENCHMARK(batch<CSmallBlocks, 64, true>)->Apply(oneAndTwoThreads);
BENCHMARK(batch<CHeap, 1000, true>)->Apply(oneAndTwoThreads);
BENCHMARK(batch<CSmallBlocks, 1000, true>)->Apply(oneAndTwoThreads);
BENCHMARK(mixed<CHeap>)->UseRealTime()->Threads(1)->Threads(2);
BENCHMARK(mixed<CSmallBlocks>)->UseRealTime()->Threads(1)->Threads(2);
BENCHMARK(handedOver<CHeap>)->Apply(sizes);
BENCHMARK(handedOver<CSmallBlocks>)->Apply(sizes);
