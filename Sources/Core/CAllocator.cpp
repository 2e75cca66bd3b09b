// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CAllocator.h"

#include "Core/CBlockCache.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace kor
{

namespace
{

// The arena of the process. Never destroyed: strings in static objects of the host's process outlive any order.
union CProcessArena
{
    constexpr CProcessArena() noexcept : arena() {}
    ~CProcessArena() {}
    CBlockArena arena;
};
constinit CProcessArena process;

// What a thread needs on the common path, in one small plain record without a constructor. Its 24 bytes come from the
// space that the loader keeps for libraries opened late: asking for a library's own space instead is a call each time,
// which made taking and giving back a block of a plug-in 1.4 times slower.
struct CThreadState
{
    CBlockCache* cache;
    std::size_t operations;
    bool isClosed;                                  // the thread is ending: its cache is gone and stays so
};
[[gnu::tls_model("initial-exec")]] constinit thread_local CThreadState state{nullptr, 0, false};

// Touched once, when a thread gets its cache; gives the cache back when the thread ends.
struct CThreadEnd
{
    ~CThreadEnd()
    {
        state.isClosed = true;
        if (CBlockCache* cache = std::exchange(state.cache, nullptr))
        {
            cache->~CBlockCache();
            std::free(cache);
        }
    }
    bool isArmed = false;
};
thread_local CThreadEnd threadEnd;

CBlockCache* openCache() noexcept
{
    if (state.isClosed)
        return nullptr;
    void* place = std::malloc(sizeof(CBlockCache));
    if (place == nullptr)
        return nullptr;
    threadEnd.isArmed = true;
    return state.cache = new (place) CBlockCache(process.arena);
}

void* takeWithoutCache(int classIndex) noexcept
{
    if (CBlockCache* cache = openCache())
        return cache->take(classIndex);
    const CBlockArena::CRun run = process.arena.take(classIndex, 1);
    return run.count != 0 ? run.first->user() : nullptr;
}

void giveWithoutCache(void* pointer, int classIndex) noexcept
{
    if (CBlockCache* cache = openCache())
    {
        cache->give(pointer, classIndex);
        return;
    }
    CBlockArena::CHeader* block = CBlockArena::CHeader::of(pointer);
    process.arena.give(classIndex, {block, block, 1});
}

}

namespace arena
{

void* allocBlock(std::size_t size) noexcept
{
    CThreadState& thread = state;
    ++thread.operations;
    if (size > CBlockArena::largestClassBytes) [[unlikely]]
        return CBlockArena::takeLarge(size);
    const int classIndex = CBlockArena::classOf(size);
    CBlockCache* cache = thread.cache;
    return cache != nullptr ? cache->take(classIndex) : takeWithoutCache(classIndex);
}

void freeBlock(void* pointer) noexcept
{
    CThreadState& thread = state;
    ++thread.operations;
    const std::uint8_t mark = CBlockArena::markOf(pointer);
    if (mark == CBlockArena::largeBlockMark) [[unlikely]]
        CBlockArena::giveLarge(pointer);
    else if (CBlockCache* cache = thread.cache)
        cache->give(pointer, mark);
    else
        giveWithoutCache(pointer, mark);
}

void* reallocBlock(void* pointer, std::size_t size) noexcept
{
    const std::uint8_t mark = CBlockArena::markOf(pointer);
    const bool isLarge = mark == CBlockArena::largeBlockMark;
    const std::size_t oldSize = isLarge ? CBlockArena::largeBytes(pointer) : CBlockArena::userBytes(mark);
    void* moved = arena::allocBlock(size);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, pointer, std::min(oldSize, size));
    arena::freeBlock(pointer);
    return moved;
}

}

// Under a sanitizer every block is the system heap's own, so that a use after free or an overrun shows at its place.
#if defined(KOR_SANITIZE)

void* allocBlock(std::size_t size) noexcept
{
    ++state.operations;
    return size <= CBlockArena::largestRequest ? std::malloc(std::max<std::size_t>(size, 1)) : nullptr;
}

void freeBlock(void* pointer) noexcept
{
    ++state.operations;
    std::free(pointer);
}

void* reallocBlock(void* pointer, std::size_t size) noexcept
{
    state.operations += 2;
    return size <= CBlockArena::largestRequest ? std::realloc(pointer, std::max<std::size_t>(size, 1)) : nullptr;
}

#else

void* allocBlock(std::size_t size) noexcept
{
    return arena::allocBlock(size);
}

void freeBlock(void* pointer) noexcept
{
    arena::freeBlock(pointer);
}

void* reallocBlock(void* pointer, std::size_t size) noexcept
{
    return arena::reallocBlock(pointer, size);
}

#endif

void* needBlock(std::size_t size) noexcept
{
    void* block = allocBlock(size);
    if (block == nullptr) [[unlikely]]
        std::abort();
    return block;
}

std::size_t blockOperationsOfThisThread() noexcept
{
    return state.operations;
}

}
