// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <cstdint>
#include <span>

namespace kor
{

// What a recording runs through, block by block: the equalizer's graph itself, or a plug-in.
class CRenderEngine
{
public:
    virtual ~CRenderEngine() = default;

    /// Samples that the result lies behind the input, as it is just now.
    virtual int latency() const = 0;

    /// Processes `count` samples of each of the recording's channels in place; what nobody produces is silent.
    /// position: of the first of them in the recording. Blocks come in order and without gaps.
    virtual CError process(std::span<double* const> channels, std::int64_t position, int count) = 0;
};

}
