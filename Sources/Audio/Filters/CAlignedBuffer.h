// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CRealFft.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace kor
{

// A zeroed array of doubles, aligned as the FFT likes its blocks. Having no memory is a result, not an exception.
class CAlignedBuffer
{
public:
    /// Takes `count` doubles; on failure the buffer is empty and the result false. Not for the audio thread.
    bool allocate(std::size_t count) noexcept
    {
        constexpr std::align_val_t alignment{CRealFft::bufferAlignment};
        memory.reset(static_cast<double*>(::operator new(count * sizeof(double), alignment, std::nothrow)));
        if (memory)
            std::fill_n(memory.get(), count, 0.0);
        return memory != nullptr;
    }

    double* data() noexcept { return memory.get(); }
    const double* data() const noexcept { return memory.get(); }

private:
    struct CRelease
    {
        void operator()(double* p) const noexcept
        {
            ::operator delete(p, std::align_val_t{CRealFft::bufferAlignment});
        }
    };
    std::unique_ptr<double, CRelease> memory;
};

}
