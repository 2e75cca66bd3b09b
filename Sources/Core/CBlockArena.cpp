// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CBlockArena.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>

namespace kor
{

// Eight bytes of chain, then the blocks from the next multiple of 16 on: within the 20 bytes that a slab has over its
// blocks.
struct CBlockArena::CSlab
{
    CSlab* older;
    std::uint64_t unused;

    std::byte* blocks() noexcept { return reinterpret_cast<std::byte*>(this + 1); }
};

namespace
{

constexpr std::size_t slabExtra = 20;
constexpr std::uint32_t blocksPerSlabNumber = 128;  // numbers are dealt as if every slab were full-sized
constexpr int refillSpins = 4000;
constexpr std::size_t largeExtra = 21;
constexpr std::size_t largeLead = 6;                // mark, size and offset in front of the user's bytes

constexpr std::uint32_t numberIn(std::uint64_t head) noexcept
{
    return static_cast<std::uint32_t>(head);
}

constexpr std::uint64_t headWith(std::uint32_t number, std::uint64_t before) noexcept
{
    return ((before >> 32) + 1) << 32 | number;
}

void pauseBriefly() noexcept
{
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

}

CBlockArena::~CBlockArena()
{
    for (CClass& c : classes)
    {
        for (CSlab* slab = c.lastSlab; slab != nullptr;)
        {
            CSlab* older = slab->older;
            std::free(slab);
            slab = older;
        }
        for (auto& row : c.table)
            std::free(row.load(std::memory_order_relaxed));
    }
}

CBlockArena::CHeader* CBlockArena::blockOf(int classIndex, std::uint32_t number) noexcept
{
    CClass& c = classes[static_cast<std::size_t>(classIndex)];
    const std::uint32_t slab = (number - 1) / blocksPerSlabNumber;
    const std::uint32_t position = (number - 1) % blocksPerSlabNumber;
    const int row = std::bit_width(slab + 1) - 1;
    const std::uint32_t column = slab + 1 - (1u << row);
    // Whoever has a number got it from a head that was released after these two were stored.
    std::atomic<CSlab*>* slots = c.table[static_cast<std::size_t>(row)].load(std::memory_order_relaxed);
    std::byte* blocks = slots[column].load(std::memory_order_relaxed)->blocks();
    return reinterpret_cast<CHeader*>(blocks + position * stride(classIndex));
}

CBlockArena::CRun CBlockArena::tryTake(int classIndex, int wanted) noexcept
{
    CClass& c = classes[static_cast<std::size_t>(classIndex)];
    // Acquire: makes visible the links and numbers of everything on the stack, which `give` released.
    std::uint64_t head = c.head.load(std::memory_order_acquire);
    for (;;)
    {
        if (numberIn(head) == 0)
            return {};
        CRun run;
        run.first = run.last = blockOf(classIndex, numberIn(head));
        run.count = 1;
        // Another thread may own these blocks by now, and then the walk leads through lists of its own. It still
        // only meets headers, and the tag undoes the outcome. Acquire pairs with the release in every store of a
        // link, so that even on such a detour the next header is seen initialised.
        CHeader* next = run.last->next.load(std::memory_order_acquire);
        while (next != nullptr && run.count < wanted)
        {
            run.last = next;
            ++run.count;
            next = next->next.load(std::memory_order_acquire);
        }
        const std::uint32_t rest = next != nullptr ? next->number.load(std::memory_order_relaxed) : 0;
        // Acquire is enough: nothing of ours has to be seen by others, and a read-modify-write keeps alive the release
        // of the pushes below, whatever its own order.
        if (c.head.compare_exchange_weak(head, headWith(rest, head), std::memory_order_acquire,
                                         std::memory_order_acquire))
        {
            run.last->next.store(nullptr, std::memory_order_release);
            return run;
        }
        wanted = (wanted + 1) / 2;                  // a shorter walk is likelier to win the next round
    }
}

void CBlockArena::give(int classIndex, const CRun& run) noexcept
{
    CClass& c = classes[static_cast<std::size_t>(classIndex)];
    const std::uint32_t number = run.first->number.load(std::memory_order_relaxed);
    std::uint64_t head = c.head.load(std::memory_order_acquire);
    do
    {
        CHeader* below = numberIn(head) != 0 ? blockOf(classIndex, numberIn(head)) : nullptr;
        run.last->next.store(below, std::memory_order_release);
        // Release: the run's links, and what its user last did to the blocks, come before it is on the stack.
    } while (!c.head.compare_exchange_weak(head, headWith(number, head), std::memory_order_acq_rel,
                                           std::memory_order_acquire));
}

CBlockArena::CRun CBlockArena::take(int classIndex, int wanted) noexcept
{
    CClass& c = classes[static_cast<std::size_t>(classIndex)];
    for (int spins = 0;; ++spins)
    {
        if (CRun run = tryTake(classIndex, wanted); run.count != 0)
            return run;
        if (!c.isRefilling.exchange(true, std::memory_order_acquire))
            break;
        if (spins < refillSpins)
            pauseBriefly();
        else
            std::this_thread::yield();
    }
    // Another thread may have made a slab between the look at the stack and the lock.
    CRun run = tryTake(classIndex, wanted);
    if (run.count == 0)
        run = refill(classIndex);
    c.isRefilling.store(false, std::memory_order_release);
    return run;
}

CBlockArena::CRun CBlockArena::refill(int classIndex) noexcept
{
    CClass& c = classes[static_cast<std::size_t>(classIndex)];
    const std::uint32_t number = c.slabs.load(std::memory_order_relaxed);
    const int row = std::bit_width(number + 1) - 1;
    const std::uint32_t column = number + 1 - (1u << row);
    if (row >= tableRows)
        return {};
    auto& slots = c.table[static_cast<std::size_t>(row)];
    if (slots.load(std::memory_order_relaxed) == nullptr)
    {
        const std::size_t size = std::size_t{1} << row;
        auto* fresh = static_cast<std::atomic<CSlab*>*>(std::malloc(size * sizeof(std::atomic<CSlab*>)));
        if (fresh == nullptr)
            return {};
        for (std::size_t i = 0; i < size; ++i)
            new (fresh + i) std::atomic<CSlab*>(nullptr);
        slots.store(fresh, std::memory_order_relaxed);
    }

    // 1, 2, 4 ... blocks, then always the cap: a class that is used once costs one block.
    const int cap = slabCap(classIndex);
    const int blockCount = number < 7 && (1 << number) < cap ? 1 << number : cap;
    auto* raw = static_cast<CSlab*>(std::malloc(static_cast<std::size_t>(blockCount) * stride(classIndex) + slabExtra));
    if (raw == nullptr)
        return {};
    CSlab* slab = new (raw) CSlab{c.lastSlab, 0};
    c.lastSlab = slab;

    CHeader* first = nullptr;
    CRun rest;
    for (int i = blockCount - 1; i >= 0; --i)
    {
        auto* block = new (slab->blocks() + static_cast<std::size_t>(i) * stride(classIndex)) CHeader;
        block->next.store(i > 0 ? rest.first : nullptr, std::memory_order_relaxed);
        const std::uint32_t position = static_cast<std::uint32_t>(i);
        block->number.store(number * blocksPerSlabNumber + position + 1, std::memory_order_relaxed);
        block->classIndex = static_cast<std::uint8_t>(classIndex);
        if (i == 0)
        {
            first = block;
            break;
        }
        rest.first = block;
        if (rest.last == nullptr)
            rest.last = block;
        ++rest.count;
    }
    slots.load(std::memory_order_relaxed)[column].store(slab, std::memory_order_relaxed);
    c.slabs.store(number + 1, std::memory_order_relaxed);
    if (rest.count != 0)
        give(classIndex, rest);
    return {first, first, 1};
}

std::uint32_t CBlockArena::slabCount(int classIndex) const noexcept
{
    return classes[static_cast<std::size_t>(classIndex)].slabs.load(std::memory_order_relaxed);
}

void* CBlockArena::takeLarge(std::size_t size) noexcept
{
    if (size > largestRequest)
        return nullptr;
    auto* raw = static_cast<std::uint8_t*>(std::malloc(size + largeExtra));
    if (raw == nullptr)
        return nullptr;
    for (std::uint8_t i = 0; i < 16; ++i)
        raw[i] = i;
    const auto address = reinterpret_cast<std::uintptr_t>(raw);
    std::uint8_t* user = raw + (((address + largeLead + 15) & ~std::uintptr_t{15}) - address);
    const auto size32 = static_cast<std::uint32_t>(size);
    std::memcpy(user - 5, &size32, sizeof size32);
    user[-1] = largeBlockMark;
    return user;
}

void CBlockArena::giveLarge(void* user) noexcept
{
    auto* bytes = static_cast<std::uint8_t*>(user);
    std::free(bytes - largeLead - bytes[-6]);       // the pattern byte there tells its own distance from the start
}

std::size_t CBlockArena::largeBytes(const void* user) noexcept
{
    std::uint32_t size;
    std::memcpy(&size, static_cast<const std::uint8_t*>(user) - 5, sizeof size);
    return size;
}

}
