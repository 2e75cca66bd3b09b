// SPDX-License-Identifier: GPL-3.0-or-later
// What entering and leaving a lock costs that nobody else wants, against the standard library's recursive mutex.
#include "Platform/CLock.h"

#include <benchmark/benchmark.h>

namespace
{

template<typename CAny>
void enterAndLeave(benchmark::State& state)
{
    CAny lock;
    for (auto turn : state)
    {
        lock.lock();
        benchmark::ClobberMemory();
        lock.unlock();
    }
}

BENCHMARK(enterAndLeave<kor::CLock>);
BENCHMARK(enterAndLeave<std::recursive_mutex>);

}
