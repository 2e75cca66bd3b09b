// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizPool.h"

#include <algorithm>
#include <bit>

namespace kor
{

CAudioVizPool::~CAudioVizPool()
{
    sortReturned();
    for (CAudioVizData* list : free)
        while (list != nullptr)
            delete std::exchange(list, list->next);
}

int CAudioVizPool::spectrumClass(int valueCount) noexcept
{
    return valueCount <= 2 ? 1 : 1 + std::bit_width(static_cast<unsigned>(valueCount - 2));
}

CAudioVizRef<CAudioVizDataMeter> CAudioVizPool::takeMeter() noexcept
{
    auto* const meter = static_cast<CAudioVizDataMeter*>(take(meterClass));
    if (meter != nullptr)
        *meter = CAudioVizDataMeter();
    return CAudioVizRef<CAudioVizDataMeter>(meter);
}

CAudioVizRef<CAudioVizDataSpectrum> CAudioVizPool::takeSpectrum(int valueCount) noexcept
{
    auto* const spectrum = static_cast<CAudioVizDataSpectrum*>(take(spectrumClass(valueCount)));
    if (spectrum != nullptr)
    {
        static_cast<CAudioVizData&>(*spectrum) = CAudioVizData();
        spectrum->values.resize(static_cast<std::size_t>(valueCount));
        spectrum->sampleRate = 0.0;
        spectrum->blockSize = 0;
        spectrum->type = 0;
        spectrum->averageTime = 0.0;
    }
    return CAudioVizRef<CAudioVizDataSpectrum>(spectrum);
}

CAudioVizData* CAudioVizPool::take(int objectClass) noexcept
{
    CAudioVizData*& list = free[toIndex(objectClass)];
    if (list == nullptr)
        sortReturned();
    if (list == nullptr)
        return nullptr;
    users.fetch_add(1, std::memory_order_relaxed);
    return std::exchange(list, std::exchange(list->next, nullptr));
}

// Acquires what the returning threads did to the objects.
void CAudioVizPool::sortReturned() noexcept
{
    CAudioVizData* data = returned.exchange(nullptr, std::memory_order_acquire);
    while (data != nullptr)
    {
        CAudioVizData*& list = free[toIndex(data->poolClass)];
        CAudioVizData* const following = data->next;
        data->next = list;
        list = data;
        data = following;
    }
}

void CAudioVizPool::addOne(int objectClass)
{
    CAudioVizData* data = nullptr;
    if (objectClass == meterClass)
        data = new CAudioVizDataMeter;
    else
    {
        auto* const spectrum = new CAudioVizDataSpectrum;
        spectrum->values.resize((std::size_t(1) << (objectClass - 1)) + 1);
        data = spectrum;
    }
    data->pool = this;
    data->poolClass = objectClass;
    made[toIndex(objectClass)].fetch_add(1, std::memory_order_relaxed);
    push(*data);
}

void CAudioVizPool::fillUp(int objectClass, int count)
{
    while (made[toIndex(objectClass)].load(std::memory_order_relaxed) < count)
        addOne(objectClass);
}

void CAudioVizPool::takeBack(CAudioVizData& data) noexcept
{
    push(data);
    letGo();
}

// Only whole takes empty the stack, so that it knows no ABA. Releases what this thread did to the object.
void CAudioVizPool::push(CAudioVizData& data) noexcept
{
    data.next = returned.load(std::memory_order_relaxed);
    while (!returned.compare_exchange_weak(data.next, &data, std::memory_order_release, std::memory_order_relaxed))
    {
    }
}

// Whoever goes last sees all that the others did.
void CAudioVizPool::letGo() noexcept
{
    if (users.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

}
