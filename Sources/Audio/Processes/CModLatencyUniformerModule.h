// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioModule.h"
#include "Audio/Graph/CDSPModDelay.h"

#include <optional>

namespace kor
{

// Pads one channel. The line runs on with a delay of 0 too, so that it knows the past when that changes.
class CModLatencyUniformerModule : public CAudioModule
{
public:
    explicit CModLatencyUniformerModule(CAudioBufferPool& bufferPool) : pool(bufferPool) {}

    void prepare() override;
    void reset() override { line->reset(); }
    void process(const double* in, double* out, int count) override { line->process(in, out, count); }
    int latency() const override { return line->delay(); }

    /// Samples, 0 or more. A change while audio runs is faded in.
    void setPadding(int samples) { line->setDelay(samples); }

private:
    CAudioBufferPool& pool;
    std::optional<CDSPModDelay> line;           // made by prepare
};

}
