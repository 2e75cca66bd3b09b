// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <vector>

namespace kor
{

// Small-block allocator for very many short-lived blocks from several threads: 255 size classes in steps of 16 bytes,
// each with a lock-free stack of free blocks, so that neither side of a common allocation waits. Blocks are aligned to
// 16 bytes and carry their class index in the byte before them. Builds with a sanitizer route to the system heap, so
// that faults show.

/// A block of at least `size` bytes, 16-aligned; 0 is a valid size. Null only when the system has no memory left or
/// for sizes above 2^32 - 64. Any thread.
void* allocBlock(std::size_t size) noexcept;

/// Gives back a block of allocBlock; not null. Any thread.
void freeBlock(void* pointer) noexcept;

/// Moves a block to a new size, keeping the smaller of both contents; null (and the old block kept) on failure.
void* reallocBlock(void* pointer, std::size_t size) noexcept;

/// As allocBlock, for callers that cannot go on without the block: ends the process when memory has run out.
void* needBlock(std::size_t size) noexcept;

/// How many blocks the calling thread has taken and given back so far; for the guard that proves an audio thread
/// allocates nothing.
std::size_t blockOperationsOfThisThread() noexcept;

// The allocator itself, which the functions above are in every build without a sanitizer; tests reach it in all builds.
namespace arena
{
void* allocBlock(std::size_t size) noexcept;
void freeBlock(void* pointer) noexcept;
void* reallocBlock(void* pointer, std::size_t size) noexcept;
}

/// Lets standard containers of the framework live in small blocks.
template <class T>
struct CBlockAllocator
{
    using value_type = T;
    CBlockAllocator() noexcept = default;
    template <class U>
    CBlockAllocator(const CBlockAllocator<U>&) noexcept
    {
    }
    T* allocate(std::size_t count) { return static_cast<T*>(needBlock(count * sizeof(T))); }
    void deallocate(T* pointer, std::size_t) noexcept { freeBlock(pointer); }
    friend bool operator==(const CBlockAllocator&, const CBlockAllocator&) noexcept { return true; }
};

template <class K, class V, class Less = std::less<>>
using CMap = std::map<K, V, Less, CBlockAllocator<std::pair<const K, V>>>;
template <class K, class Less = std::less<>>
using CSet = std::set<K, Less, CBlockAllocator<K>>;
template <class T>
using CArray = std::vector<T, CBlockAllocator<T>>;

}
