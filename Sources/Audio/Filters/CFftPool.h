// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAlignedBuffer.h"
#include "Audio/Filters/CRealFft.h"
#include "Platform/CLock.h"

#include <array>
#include <atomic>
#include <memory>

namespace kor
{

// The real FFT of one size, ready to run: tables that all objects of the size share, and a work buffer of its own. An
// object belongs to one user from take to give, on any one thread at a time.
class CFftObject
{
public:
    const int order;
    const int size;                        // 2^order samples
    const double scale;                    // 1 / size, which undoes a forward and an inverse transform

    /// As in CRealFft. Audio thread.
    void forward(const double* source, double* result) noexcept
    {
        realFft().forward(source, result, specification, work.data());
    }

    void inverse(const double* source, double* result) noexcept
    {
        realFft().inverse(source, result, specification, work.data());
    }

private:
    friend class CFftPool;
    CFftObject(int objectOrder, const void* tables) noexcept
        : order(objectOrder), size(1 << objectOrder), scale(1.0 / size), specification(tables)
    {
    }

    const void* specification;
    CAlignedBuffer work;
    CFftObject* next = nullptr;            // in the free list
};

// The prepared FFT objects of the process, in one free list per order. Objects live to the end of the process; one
// given back is the next one taken. The tables of the orders up to preparedOrder are made when the module is loaded, so
// that taking an object there costs no more than its work buffer; those of larger orders, which only very long filters
// need, are made when first asked for.
class CFftPool
{
public:
    static constexpr int preparedOrder = 16;

    static CFftPool& instance() noexcept;

    /// An object of this order, 0 to CRealFft::maxOrder; null outside of that or without memory. Any thread; takes the
    /// pool's lock.
    CFftObject* take(int order) noexcept;

    /// Gives an object of take back; null is let pass. Any thread; takes the pool's lock.
    void give(CFftObject* object) noexcept;

private:
    CFftPool() noexcept;
    const void* tablesOf(int order) noexcept;

    CLock lock;                            // the free lists; innermost, held for moments
    CLock tableLock;                       // the making of large tables; never taken under the other one
    std::array<CFftObject*, CRealFft::maxOrder + 1> freeObjects{};
    std::array<std::atomic<const void*>, CRealFft::maxOrder + 1> tables{};
};

// Gives the object back to the pool by itself.
struct CFftGiveBack
{
    void operator()(CFftObject* object) const noexcept { CFftPool::instance().give(object); }
};
using CFftHandle = std::unique_ptr<CFftObject, CFftGiveBack>;

}
