// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CRealtimeGuard.h"

#include "Core/CAllocator.h"
#include "Platform/CLock.h"

#include <cerrno>
#include <cstdlib>

namespace
{
constinit thread_local std::size_t heapCalls = 0;
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
    ++heapCalls;
    return __libc_malloc(size);
}

KOR_VISIBLE void free(void* pointer) noexcept
{
    if (pointer != nullptr)
        ++heapCalls;
    __libc_free(pointer);
}

KOR_VISIBLE void* calloc(std::size_t count, std::size_t size) noexcept
{
    ++heapCalls;
    return __libc_calloc(count, size);
}

KOR_VISIBLE void* realloc(void* pointer, std::size_t size) noexcept
{
    heapCalls += pointer != nullptr ? 2 : 1;
    return __libc_realloc(pointer, size);
}

KOR_VISIBLE void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    ++heapCalls;
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

namespace
{

std::size_t faultsOfThisThread() noexcept
{
    return heapCalls + blockOperationsOfThisThread() + CLock::waitsOfThisThread();
}

}

CRealtimeGuard::CRealtimeGuard() noexcept
    : faultsBefore(faultsOfThisThread()), waitsBefore(CLock::waitsOfThisThread())
{
}

std::size_t CRealtimeGuard::faults() const noexcept
{
    return faultsOfThisThread() - faultsBefore;
}

std::size_t CRealtimeGuard::lockWaits() const noexcept
{
    return CLock::waitsOfThisThread() - waitsBefore;
}

}
