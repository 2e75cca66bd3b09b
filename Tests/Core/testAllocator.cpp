// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CAllocator.h"
#include "Core/CBlockArena.h"
#include "Core/CBlockCache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace kor
{

namespace
{

using CHeader = CBlockArena::CHeader;
using CRun = CBlockArena::CRun;

constexpr int stressThreads = 8;

// Fills a block to its last byte with a pattern of its own and checks it, so that overlapping or shared blocks show.
void fill(void* block, std::size_t size, unsigned seed)
{
    std::memset(block, static_cast<int>(seed * 2654435761u >> 24), size);
}

bool isFilled(const void* block, std::size_t size, unsigned seed)
{
    const auto expected = static_cast<unsigned char>(seed * 2654435761u >> 24);
    const auto* bytes = static_cast<const unsigned char*>(block);
    return std::all_of(bytes, bytes + size, [=](unsigned char byte) { return byte == expected; });
}

void runThreads(const std::function<void(unsigned)>& work)
{
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < stressThreads; ++t)
        threads.emplace_back(work, t);
    for (std::thread& thread : threads)
        thread.join();
}

// With everything given back, as many different blocks as the slabs of a class hold (1, 2, 4 ... up to the cap) can be
// taken before another slab has to be made.
void expectNoBlockLost(CBlockArena& arena, int classIndex)
{
    const std::uint32_t slabs = arena.slabCount(classIndex);
    const auto cap = static_cast<std::size_t>(CBlockArena::slabCap(classIndex));
    std::size_t made = 0;
    for (std::uint32_t s = 0; s < slabs; ++s)
        made += s < 7 ? std::min(cap, std::size_t{1} << s) : cap;
    std::set<CHeader*> all;
    for (std::size_t i = 0; i < made; ++i)
        all.insert(arena.take(classIndex, 1).first);
    EXPECT_EQ(all.size(), made) << classIndex;
    EXPECT_EQ(arena.slabCount(classIndex), slabs) << classIndex;
}

}

TEST(Allocator, EverySizeGetsItsClassAndIsAligned)
{
    const std::pair<std::size_t, int> cases[] = {{0, 0},     {16, 0},     {17, 1},     {512, 31},   {513, 32},
                                                 {4080, 254}, {4081, 255}, {65536, 255}};
    for (const auto& [size, mark] : cases)
    {
        void* block = arena::allocBlock(size);
        ASSERT_NE(block, nullptr) << size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u) << size;
        fill(block, size, 1);
        EXPECT_EQ(CBlockArena::markOf(block), mark) << size;
        arena::freeBlock(block);
    }
}

TEST(Allocator, SlabsDoubleUpToTheCapAndKeepBlocksApart)
{
    struct Case
    {
        int classIndex;
        std::size_t taken;
        std::uint32_t slabs;
    };
    const Case cases[] = {
        {0, 1, 1},     {0, 3, 2},     {0, 4, 3},    {0, 255, 8},    {0, 256, 9},    {0, 384, 10},
        {125, 256, 9}, {126, 127, 7}, {126, 128, 8}, {254, 191, 8}, {254, 192, 9},      // 64 a slab from class 126 on
    };
    for (const Case& c : cases)
    {
        CBlockArena arena;
        std::set<std::uintptr_t> blocks;
        while (blocks.size() < c.taken)
            ASSERT_TRUE(blocks.insert(reinterpret_cast<std::uintptr_t>(arena.take(c.classIndex, 1).first)).second);
        EXPECT_EQ(arena.slabCount(c.classIndex), c.slabs) << c.classIndex << " " << c.taken;
        const std::uintptr_t stride = 16 * (static_cast<std::uintptr_t>(c.classIndex) + 2);
        std::uintptr_t before = 0;
        for (const std::uintptr_t at : blocks)
        {
            EXPECT_GE(at - before, stride);
            before = at;
        }
    }
}

TEST(Allocator, SizesBeyondReachAreRefused)
{
    for (const std::size_t size : {std::size_t{0xFFFFFFFFu - 62}, ~std::size_t{0}})
    {
        EXPECT_EQ(arena::allocBlock(size), nullptr);
        EXPECT_EQ(allocBlock(size), nullptr);
    }
}

TEST(Allocator, ReallocKeepsTheSmallerContents)
{
    const std::size_t sizes[] = {0, 1, 16, 17, 500, 4080, 4081, 9000, 100000};
    for (std::size_t from : sizes)
        for (std::size_t to : sizes)
        {
            void* block = arena::allocBlock(from);
            fill(block, from, 77);
            block = arena::reallocBlock(block, to);
            ASSERT_NE(block, nullptr);
            EXPECT_TRUE(isFilled(block, std::min(from, to), 77)) << from << " " << to;
            fill(block, to, 78);
            EXPECT_EQ(arena::reallocBlock(block, ~std::size_t{0}), nullptr);
            EXPECT_TRUE(isFilled(block, to, 78)) << from << " " << to;
            arena::freeBlock(block);
        }
}

// Few blocks and many threads that take two or three and give them back in another order: where a stale head would
// slip through if the tag did not catch it. A block in two hands shows by its owner mark, a lost one by the count.
TEST(Allocator, StackSurvivesReorderingByManyThreads)
{
    const int classIndex = 2;
    auto arena = std::make_unique<CBlockArena>();
    std::atomic<int> doubled{0};
    std::atomic<bool> isOver{false};
    const auto work = [&](unsigned seed) {
        std::minstd_rand random(seed + 1);
        while (!isOver.load(std::memory_order_relaxed))
        {
            CHeader* held[3];
            int count = 0;
            for (const int wanted = 1 + static_cast<int>(random() % 3); count < wanted;)
            {
                CRun run = arena->take(classIndex, wanted - count);
                for (CHeader* block = run.first; run.count > 0; --run.count)
                {
                    CHeader* next = block->next.load(std::memory_order_acquire);
                    auto* mark = static_cast<unsigned*>(block->user());
                    std::atomic_ref<unsigned> owner(*mark);
                    if (owner.exchange(seed + 1) > stressThreads)
                        owner.store(seed + 1);              // fresh memory, never owned
                    held[count++] = block;
                    block = next;
                }
            }
            for (int i = 0; i < count; ++i)
            {
                std::atomic_ref<unsigned> owner(*static_cast<unsigned*>(held[i]->user()));
                if (owner.exchange(0) != seed + 1)
                    ++doubled;
            }
            std::shuffle(held, held + count, random);
            for (int i = 0; i < count; ++i)
                arena->give(classIndex, {held[i], held[i], 1});
        }
    };
    std::thread clock([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        isOver = true;
    });
    runThreads(work);
    clock.join();
    EXPECT_EQ(doubled.load(), 0);
    expectNoBlockLost(*arena, classIndex);
}

// Caches in front, blocks of many classes that change threads through a shared board, full contents checked.
TEST(Allocator, BlocksWanderBetweenThreads)
{
    struct CHeld
    {
        void* block;
        unsigned seed;
    };
    const int classes[] = {0, 1, 2, 3, 7, 31, 126, 254};
    auto arena = std::make_unique<CBlockArena>();
    {
        std::array<std::atomic<CHeld*>, 64> board{};
        std::atomic<int> spoiled{0};
        runThreads([&](unsigned thread) {
            CBlockCache cache(*arena);
            std::minstd_rand random(thread + 100);
            const auto finish = [&](CHeld* held) {
                const int mark = CBlockArena::markOf(held->block);
                if (!isFilled(held->block, CBlockArena::userBytes(mark), held->seed))
                    ++spoiled;
                cache.give(held->block, mark);
                delete held;
            };
            for (unsigned i = 0; i < 20000; ++i)
            {
                const int c = classes[random() % std::size(classes)];
                auto* held = new CHeld{cache.take(c), static_cast<unsigned>(random())};
                fill(held->block, CBlockArena::userBytes(c), held->seed);
                if (CHeld* other = board[random() % board.size()].exchange(held, std::memory_order_acq_rel))
                    finish(other);
            }
        });
        for (std::atomic<CHeld*>& slot : board)
            if (CHeld* held = slot.load())
            {
                const int mark = CBlockArena::markOf(held->block);
                CHeader* block = CHeader::of(held->block);
                arena->give(mark, {block, block, 1});
                delete held;
            }
        EXPECT_EQ(spoiled.load(), 0);
    }
    for (int c : classes)
        expectNoBlockLost(*arena, c);
}

TEST(Allocator, CacheStaysBounded)
{
    for (int c : {0, 31, 100, 254})
    {
        CBlockArena arena;
        CBlockCache cache(arena);
        std::vector<void*> blocks;
        for (int i = 0; i < 3000; ++i)
            blocks.push_back(cache.take(c));
        for (void* block : blocks)
        {
            cache.give(block, c);
            EXPECT_LE(cache.count(c), (CBlockCache::depotLength + 1) * CBlockCache::listLength(c));
        }
        EXPECT_LE(static_cast<std::size_t>(cache.count(c)) * CBlockArena::stride(c),
                  (CBlockCache::depotLength + 1) * 32768u);
    }
}

// Threads come and go; what one's cache held must serve the next ones, also when a thread frees in its very last step.
TEST(Allocator, EndingThreadsLeaveNothingBehind)
{
    struct CLate
    {
        ~CLate()
        {
            for (void* block : blocks)
                arena::freeBlock(block);
            arena::freeBlock(arena::allocBlock(208));
        }
        std::array<void*, 40> blocks;
    };
    std::set<void*> seen;
    for (int generation = 0; generation < 100; ++generation)
        std::thread([&] {
            thread_local CLate late;
            late.blocks.fill(nullptr);                      // made before the cache, so it goes after it
            std::vector<void*> blocks;
            for (int i = 0; i < 500; ++i)
                seen.insert(blocks.emplace_back(arena::allocBlock(200)));
            std::copy(blocks.end() - 40, blocks.end(), late.blocks.begin());
            blocks.resize(460);
            for (void* block : blocks)
                arena::freeBlock(block);
        }).join();
    EXPECT_LE(seen.size(), 1000u);
}

}
