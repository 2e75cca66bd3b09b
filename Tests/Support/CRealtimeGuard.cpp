// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CRealtimeGuard.h"

#include "Core/CAllocator.h"
#include "Platform/CLock.h"

#include <cerrno>
#include <cstdlib>

namespace
{
constinit thread_local std::size_t heapAllocations = 0;
constinit thread_local std::size_t heapFrees = 0;
}

#if !defined(KOR_SANITIZE)

// The program's own definitions of the heap's functions come before the C library's, for shared libraries as well;
// they count and pass on. operator new and delete end here too.
extern "C"
{
void* __libc_malloc(std::size_t size);
void __libc_free(void* pointer);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* pointer, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

#define KOR_VISIBLE __attribute__((visibility("default")))

KOR_VISIBLE void* malloc(std::size_t size) noexcept
{
    ++heapAllocations;
    return __libc_malloc(size);
}

KOR_VISIBLE void free(void* pointer) noexcept
{
    if (pointer != nullptr)
        ++heapFrees;
    __libc_free(pointer);
}

KOR_VISIBLE void* calloc(std::size_t count, std::size_t size) noexcept
{
    ++heapAllocations;
    return __libc_calloc(count, size);
}

KOR_VISIBLE void* realloc(void* pointer, std::size_t size) noexcept
{
    ++heapAllocations;
    if (pointer != nullptr)
        ++heapFrees;
    return __libc_realloc(pointer, size);
}

KOR_VISIBLE void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    ++heapAllocations;
    return __libc_memalign(alignment, size);
}

KOR_VISIBLE void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return memalign(alignment, size);
}

KOR_VISIBLE int posix_memalign(void** result, std::size_t alignment, std::size_t size) noexcept
{
    void* block = memalign(alignment, size);
    if (block == nullptr)
        return ENOMEM;
    *result = block;
    return 0;
}
}

#endif

namespace kor::test
{

CRealtimeGuard::CRealtimeGuard() noexcept
    : allocationsBefore(heapAllocations), freesBefore(heapFrees), blocksBefore(blockOperationsOfThisThread()),
      waitsBefore(CLock::waitsOfThisThread())
{
}

std::size_t CRealtimeGuard::allocations() const noexcept
{
    return heapAllocations - allocationsBefore;
}

std::size_t CRealtimeGuard::frees() const noexcept
{
    return heapFrees - freesBefore;
}

std::size_t CRealtimeGuard::blockOperations() const noexcept
{
    return blockOperationsOfThisThread() - blocksBefore;
}

std::size_t CRealtimeGuard::lockWaits() const noexcept
{
    return CLock::waitsOfThisThread() - waitsBefore;
}

std::size_t CRealtimeGuard::faults() const noexcept
{
    return allocations() + frees() + blockOperations() + lockWaits();
}

}
