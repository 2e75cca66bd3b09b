// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CPartitionSchedule.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr int lastLevel = CPartitionSchedule::maxLevels - 1;

// Measured costs, by block size 16 << index: of having a level at all, and of each of its blocks.
constexpr double levelCost[] = {0.000249, 0.00022,  0.000215, 0.00027,  0.000292, 0.000307,
                                0.000388, 0.000484, 0.00051,  0.000618, 0.000699};
constexpr double blockCost[] = {7.9e-05, 6.8e-05, 6.5e-05, 6.7e-05, 6.5e-05, 6.3e-05,
                                4.7e-05, 5e-05,   5.3e-05, 5.6e-05, 7.1e-05};

constexpr int sizeOf(int level)
{
    return 16 << level;
}

// Depth first over all rising sequences of levels.
class CScheduleSearch
{
public:
    CScheduleSearch() noexcept { best.cost = 1e10; }

    void search(int level, int remaining, double cost) noexcept
    {
        cost += levelCost[level];
        if (level == lastLevel)
        {
            finish(level, remaining, cost);
            return;
        }
        for (int next = level + 1; next <= lastLevel; ++next)
        {
            // So many blocks pass before the first block of the next level can deliver.
            const int blocks = (1 << (next - level)) - 1;
            if (blocks * sizeOf(level) >= remaining)
            {
                finish(level, remaining, cost);
                continue;
            }
            push(level, blocks);
            search(next, remaining - blocks * sizeOf(level), cost + blocks * blockCost[level]);
            --current.levelCount;
        }
    }

    CPartitionSchedule best;

private:
    void finish(int level, int remaining, double cost) noexcept
    {
        const int blocks = (remaining + sizeOf(level) - 1) / sizeOf(level);
        const double total = cost + blocks * blockCost[level];
        if (!(total < best.cost))
            return;
        push(level, blocks);
        best = current;
        best.cost = total;
        --current.levelCount;
    }

    void push(int level, int blocks) noexcept
    {
        current.levels[static_cast<std::size_t>(current.levelCount++)] = {sizeOf(level), blocks};
    }

    CPartitionSchedule current;
};

}

int firstPartitionSize(int latency) noexcept
{
    return 1 << std::clamp(latency, CPartitionSchedule::minLatency, CPartitionSchedule::maxLatency);
}

CPartitionSchedule findPartitionSchedule(int length, int latency) noexcept
{
    const int order = std::clamp(latency, CPartitionSchedule::minLatency, CPartitionSchedule::maxLatency);
    CScheduleSearch search;
    search.search(order - CPartitionSchedule::minLatency, length, 0.0);
    return search.best;
}

}
