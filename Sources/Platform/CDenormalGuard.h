// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace kor
{

// While it lives, the processor takes numbers too small for a normal exponent as zero, on this thread. Below 1e-308 it
// calculates many times slower otherwise, and every filter decays to there in silence. Restores what was before.
class CDenormalGuard
{
public:
    CDenormalGuard() noexcept : saved(read()) { write(saved | flushBits); }
    ~CDenormalGuard() { write(saved); }
    CDenormalGuard(const CDenormalGuard&) = delete;
    CDenormalGuard& operator=(const CDenormalGuard&) = delete;

private:
#if defined(__SSE2__)
    static constexpr std::uint64_t flushBits = 0x8040; // results and operands
    static std::uint64_t read() noexcept { return _mm_getcsr(); }
    static void write(std::uint64_t value) noexcept { _mm_setcsr(static_cast<unsigned>(value)); }
#elif defined(__aarch64__)
    static constexpr std::uint64_t flushBits = std::uint64_t(1) << 24;
    static std::uint64_t read() noexcept
    {
        std::uint64_t value;
        asm volatile("mrs %0, fpcr" : "=r"(value));
        return value;
    }
    static void write(std::uint64_t value) noexcept { asm volatile("msr fpcr, %0" : : "r"(value)); }
#else
    static constexpr std::uint64_t flushBits = 0;
    static std::uint64_t read() noexcept { return 0; }
    static void write(std::uint64_t) noexcept {}
#endif

    std::uint64_t saved;
};

}
