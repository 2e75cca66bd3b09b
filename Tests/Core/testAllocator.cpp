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

// Takes everything that lies free in a class, at most what its slabs hold, without having a new slab made.
std::vector<void*> drain(CBlockArena& arena, int classIndex, std::size_t made)
{
    std::vector<void*> blocks;
    while (blocks.size() < made)
    {
        const CRun run = arena.take(classIndex, 1);
        blocks.push_back(run.first->user());
    }
    return blocks;
}

// Blocks in the first `slabs` slabs of a class: 1, 2, 4 ... up to the cap.
std::size_t blocksIn(std::uint32_t slabs, std::size_t cap)
{
    std::size_t sum = 0;
    for (std::uint32_t s = 0; s < slabs; ++s)
        sum += s < 7 ? std::min(cap, std::size_t{1} << s) : cap;
    return sum;
}

}

struct SizeCase
{
    std::size_t size;
    int mark;
};

TEST(Allocator, EverySizeGetsItsClassAndIsAligned)
{
    const SizeCase cases[] = {{0, 0},      {1, 0},      {16, 0},     {17, 1},     {32, 1},      {33, 2},
                              {512, 31},   {513, 32},   {4064, 253}, {4065, 254}, {4080, 254},  {4081, 255},
                              {4096, 255}, {65536, 255}};
    for (const SizeCase& c : cases)
    {
        void* block = arena::allocBlock(c.size);
        ASSERT_NE(block, nullptr) << c.size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u) << c.size;
        EXPECT_EQ(static_cast<unsigned char*>(block)[-1], c.mark) << c.size;
        fill(block, c.size, 1);
        EXPECT_EQ(static_cast<unsigned char*>(block)[-1], c.mark) << c.size;
        arena::freeBlock(block);
    }
}

TEST(Allocator, BlocksOfAllClassesAreTheirOwners)
{
    struct CHeld
    {
        void* block;
        std::size_t size;
        unsigned seed;
    };
    std::vector<CHeld> held;
    for (int c = 0; c < CBlockArena::classCount; ++c)
        for (unsigned i = 0; i < 9; ++i)
        {
            const std::size_t size = CBlockArena::userBytes(c);
            held.push_back({arena::allocBlock(size), size, static_cast<unsigned>(c) * 31 + i});
            fill(held.back().block, size, held.back().seed);
        }
    std::shuffle(held.begin(), held.end(), std::mt19937(3));
    for (const CHeld& h : held)
    {
        EXPECT_TRUE(isFilled(h.block, h.size, h.seed)) << h.size;
        arena::freeBlock(h.block);
    }
}

struct SlabCase
{
    int classIndex;
    int taken;
    std::uint32_t slabs;
};

TEST(Allocator, SlabsDoubleUpToTheCap)
{
    const SlabCase cases[] = {
        {0, 1, 1},   {0, 2, 2},    {0, 3, 2},     {0, 4, 3},     {0, 127, 7},   {0, 128, 8},    {0, 255, 8},
        {0, 256, 9}, {0, 383, 9},  {0, 384, 10},
        {125, 255, 8}, {125, 256, 9},                       // stride 2,032: still 128 a slab
        {126, 63, 6},  {126, 64, 7}, {126, 127, 7}, {126, 128, 8}, {254, 191, 8}, {254, 192, 9},    // 64 a slab
    };
    for (const SlabCase& c : cases)
    {
        CBlockArena arena;
        std::set<void*> blocks;
        for (int i = 0; i < c.taken; ++i)
        {
            const CRun run = arena.take(c.classIndex, 1);
            ASSERT_EQ(run.count, 1);
            blocks.insert(run.first->user());
        }
        EXPECT_EQ(arena.slabCount(c.classIndex), c.slabs) << c.classIndex << " " << c.taken;
        EXPECT_EQ(blocks.size(), static_cast<std::size_t>(c.taken));
        // All blocks keep clear of each other by at least the stride.
        const std::uintptr_t stride = 16 * (static_cast<std::uintptr_t>(c.classIndex) + 2);
        std::uintptr_t before = 0;
        for (void* block : blocks)
        {
            const auto at = reinterpret_cast<std::uintptr_t>(block);
            EXPECT_GE(at - before, stride);
            before = at;
        }
    }
}

TEST(Allocator, LargeBlockLeadsBackToItsStart)
{
    for (std::size_t size : {std::size_t{4081}, std::size_t{5003}, std::size_t{1} << 20})
    {
        auto* block = static_cast<unsigned char*>(arena::allocBlock(size));
        ASSERT_NE(block, nullptr);
        std::uint32_t stored;
        std::memcpy(&stored, block - 5, 4);
        EXPECT_EQ(stored, size);
        const int moved = block[-6];
        EXPECT_LE(moved, 15);
        for (int i = 0; i <= moved; ++i)
            EXPECT_EQ(block[-6 - moved + i], i);            // the pattern from the raw start on
        fill(block, size, 9);
        arena::freeBlock(block);
    }
    EXPECT_EQ(arena::allocBlock(0xFFFFFFFFu - 62), nullptr);
    EXPECT_EQ(arena::allocBlock(~std::size_t{0}), nullptr);
    EXPECT_EQ(allocBlock(0xFFFFFFFFu - 62), nullptr);
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

TEST(Allocator, CountsOperationsOfTheCallingThreadOnly)
{
    const std::size_t before = blockOperationsOfThisThread();
    std::thread([] { freeBlock(allocBlock(8)); }).join();
    EXPECT_EQ(blockOperationsOfThisThread(), before);
    void* block = allocBlock(100);
    block = reallocBlock(block, 9000);
    freeBlock(block);
    EXPECT_EQ(blockOperationsOfThisThread(), before + 4);
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
    const std::uint32_t slabs = arena->slabCount(classIndex);
    const std::size_t made = blocksIn(slabs, 128);
    std::vector<void*> all = drain(*arena, classIndex, made);
    EXPECT_EQ(std::set<void*>(all.begin(), all.end()).size(), made);
    EXPECT_EQ(arena->slabCount(classIndex), slabs) << "blocks were lost";
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
    for (int c : classes)       // every cache has given back what it held
    {
        const std::uint32_t slabs = arena->slabCount(c);
        const std::size_t made = blocksIn(slabs, static_cast<std::size_t>(CBlockArena::slabCap(c)));
        std::vector<void*> all = drain(*arena, c, made);
        EXPECT_EQ(std::set<void*>(all.begin(), all.end()).size(), made) << c;
        EXPECT_EQ(arena->slabCount(c), slabs) << c;
    }
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

TEST(Allocator, WholeAllocatorUnderManyThreads)
{
    std::array<std::atomic<void*>, 32> board{};
    std::atomic<int> spoiled{0};
    const auto finish = [&](void* block) {
        unsigned char size[2];
        std::memcpy(size, block, 2);
        if (!isFilled(static_cast<char*>(block) + 2, size[0] + 256u * size[1], size[0]))
            ++spoiled;
        arena::freeBlock(block);
    };
    for (int generation = 0; generation < 5; ++generation)
        runThreads([&](unsigned thread) {
            std::minstd_rand random(thread + 7);
            for (int i = 0; i < 3000; ++i)
            {
                const auto size = static_cast<unsigned>(random() % (i % 16 == 0 ? 6000 : 300));
                const unsigned char stored[2] = {static_cast<unsigned char>(size),
                                                 static_cast<unsigned char>(size >> 8)};
                void* block = arena::allocBlock(size + 2);
                std::memcpy(block, stored, 2);
                fill(static_cast<char*>(block) + 2, size, stored[0]);
                if (void* other = board[random() % board.size()].exchange(block, std::memory_order_acq_rel))
                    finish(other);
            }
        });
    for (std::atomic<void*>& slot : board)
        if (void* block = slot.load())
            finish(block);
    EXPECT_EQ(spoiled.load(), 0);
}

}
