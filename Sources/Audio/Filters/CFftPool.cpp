// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CFftPool.h"

#include <new>

namespace kor
{

namespace
{
// The pool is made with the module, not by the first audio thread that wants an object.
[[maybe_unused]] CFftPool& madeAtLoad = CFftPool::instance();
}

CFftPool& CFftPool::instance() noexcept
{
    static CFftPool* const pool = new CFftPool;            // never destroyed: objects may outlast static destruction
    return *pool;
}

CFftPool::CFftPool() noexcept
{
    for (int order = 0; order <= preparedOrder; ++order)
        tablesOf(order);
}

CFftObject* CFftPool::take(int order) noexcept
{
    if (order < 0 || order > CRealFft::maxOrder)
        return nullptr;
    const std::size_t list = static_cast<std::size_t>(order);
    {
        const CLockHolder holder(lock);
        if (CFftObject* const object = freeObjects[list])
        {
            freeObjects[list] = object->next;
            object->next = nullptr;
            return object;
        }
    }
    // Built outside of the lock: nobody else waits for the system's memory.
    CRealFft::CSizes sizes;
    const void* const specification = tablesOf(order);
    if (!specification || !realFft().getSizes(order, CRealFft::noScaling, 0, sizes))
        return nullptr;
    CFftObject* const object = new (std::nothrow) CFftObject(order, specification);
    if (object && !object->work.allocate(sizes.work / sizeof(double)))
    {
        delete object;
        return nullptr;
    }
    return object;
}

void CFftPool::give(CFftObject* object) noexcept
{
    if (!object)
        return;
    const CLockHolder holder(lock);
    CFftObject*& head = freeObjects[static_cast<std::size_t>(object->order)];
    object->next = head;
    head = object;
}

const void* CFftPool::tablesOf(int order) noexcept
{
    // The release pairs with this acquire: whoever sees the pointer sees the tables behind it.
    std::atomic<const void*>& entry = tables[static_cast<std::size_t>(order)];
    if (const void* const ready = entry.load(std::memory_order_acquire))
        return ready;
    const CLockHolder holder(tableLock);
    if (const void* const ready = entry.load(std::memory_order_acquire))
        return ready;
    CRealFft::CSizes sizes;
    if (!realFft().getSizes(order, CRealFft::noScaling, 0, sizes))
        return nullptr;
    constexpr std::align_val_t alignment{CRealFft::bufferAlignment};
    void* const specification = ::operator new(sizes.specification, alignment, std::nothrow);
    void* const initBuffer = ::operator new(sizes.init, alignment, std::nothrow);
    const bool made =
        specification && initBuffer && realFft().init(order, CRealFft::noScaling, 0, specification, initBuffer);
    ::operator delete(initBuffer, alignment);
    if (!made)
    {
        ::operator delete(specification, alignment);
        return nullptr;
    }
    entry.store(specification, std::memory_order_release);
    return specification;
}

}
