// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CWaveReader.h"
#include "CWaveWriter.h"

#include "Core/CError.h"

#include <cstdint>
#include <vector>

namespace kor
{

class CAudioGraphHost;

// Streams a recording through a graph, block by block as a host would, and takes the graph's latency out again, so that
// the result lies sample by sample under the original.
class CRenderJob
{
public:
    /// blockSize: samples a call, 1 or more. isDouble: the samples cross the host's border as doubles, else as single
    /// precision numbers, as in most workstations.
    CRenderJob(CAudioGraphHost& host, CWaveReader& input, CWaveWriter& output, int blockSize, bool isDouble);

    /// Fails with a broken input or output, or when the user asks to stop; then nothing has been written for good.
    CError run();

    /// Largest absolute sample of the result.
    double peak() const noexcept { return largest; }

    /// True when a sample of the result was not finite.
    bool hasBadOutput() const noexcept { return isBadOutput; }

private:
    CError readBlock(std::int64_t position, int count);
    CError writeBlock(int skipped, int count);
    double crossed(double sample) const noexcept
    {
        return isDoublePrecision ? sample : static_cast<double>(static_cast<float>(sample));
    }

    CAudioGraphHost& graph;
    CWaveReader& reader;
    CWaveWriter& writer;
    int channels;
    int block;
    bool isDoublePrecision;
    double largest = 0.0;
    bool isBadOutput = false;
    std::vector<double> interleaved;
    std::vector<std::vector<double>> planes;
    std::vector<double*> pointers;
};

}
