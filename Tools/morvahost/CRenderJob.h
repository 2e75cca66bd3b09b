// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CBlockSizes.h"
#include "CRenderEngine.h"
#include "CWaveReader.h"
#include "CWaveWriter.h"

#include "Core/CError.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace kor
{

/// How a recording meets an engine.
struct CRenderSetup
{
    const char* what = "equalizing";    // for the line that shows progress; null for none
    CBlockSizes blocks;
    bool isDouble = false;          // samples cross the host's border as doubles, else as single precision numbers, as in
                                    // most workstations
    std::int64_t tailFrames = 0;    // of the result behind the end of the recording

    /// Called behind each block with the frames of the result so far, if there is anything to call. A failure ends the job.
    std::function<CError(std::int64_t done)> afterBlock;
};

// Streams a recording through an engine, block by block as a host would. Takes out the latency that the engine has at the
// start, so that the result lies sample by sample under the original.
class CRenderJob
{
public:
    /// output: null when the result is only listened to.
    CRenderJob(CRenderEngine& renderer, CWaveReader& input, CWaveWriter* output, const CRenderSetup& setup);

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
        return how.isDouble ? sample : static_cast<double>(static_cast<float>(sample));
    }

    CRenderEngine& engine;
    CWaveReader& reader;
    CWaveWriter* writer;
    int channels;
    CRenderSetup how;
    double largest = 0.0;
    bool isBadOutput = false;
    std::vector<double> interleaved;
    std::vector<std::vector<double>> planes;
    std::vector<double*> pointers;              // to the planes
};

}
