// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAllocator.h"

#include <cassert>

namespace kor
{

// Working memory of one instance, taken and given back in the manner of a stack, so that all nodes of a depth work on
// the same few cache lines. Room is made while the graph is rebuilt; taking allocates nothing. Audio thread.
class CAudioScratch
{
public:
    /// Makes room for `samples` doubles in all that are held at one time. While nothing is held.
    void reserve(std::size_t samples)
    {
        assert(used == 0);
        if (memory.size() < samples + alignment)
            memory.resize(samples + alignment);
    }

    // Holds a piece until its end; pieces end in the reverse order of their beginning.
    class CHold
    {
    public:
        CHold(CAudioScratch& scratchMemory, std::size_t samples) noexcept
            : scratch(scratchMemory), count(samples), start(scratch.first() + scratch.used)
        {
            scratch.used += count;
            assert(scratch.used + alignment <= scratch.memory.size());
        }
        ~CHold() { scratch.used -= count; }
        CHold(const CHold&) = delete;
        CHold& operator=(const CHold&) = delete;

        double* memory() const noexcept { return start; }

    private:
        CAudioScratch& scratch;
        std::size_t count;
        double* start;
    };

private:
    static constexpr std::size_t alignment = 8; // doubles, of a cache line

    double* first() noexcept
    {
        const std::size_t offset = reinterpret_cast<std::uintptr_t>(memory.data()) / sizeof(double) % alignment;
        return memory.data() + (alignment - offset) % alignment;
    }

    CArray<double> memory;
    std::size_t used = 0;
};

}
