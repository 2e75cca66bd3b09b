// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CAutomation.h"
#include "CWaveReader.h"
#include "CWaveWriter.h"

#include "Core/CError.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace kor
{

class CAudioGraphHost;

/// How a recording meets the graph.
struct CRenderSetup
{
    const char* what = "equalizing";    // for the line that shows progress; null for none
    int blockSize = 512;            // samples a call, 1 or more
    bool isDouble = false;          // samples cross the host's border as doubles, else as single precision numbers, as in
                                    // most workstations
    int graphChannels = 0;          // of the graph's layout; those beyond the recording's are silent
    std::span<const CAutomationEvent> events;   // by time; must outlive the job

    /// Called behind each block with the frames of the result so far, if there is anything to call. A failure ends the job.
    std::function<CError(std::int64_t done)> afterBlock;
};

// Streams a recording through a graph, block by block as a host would, with blocks cut where a parameter changes. Takes
// out the latency that the graph has at the start, so that the result lies sample by sample under the original.
class CRenderJob
{
public:
    /// output: null when the result is only listened to.
    CRenderJob(CAudioGraphHost& host, CWaveReader& input, CWaveWriter* output, const CRenderSetup& setup);

    /// Fails with a broken input or output, or when the user asks to stop; then nothing has been written for good.
    CError run();

    /// Largest absolute sample of the result.
    double peak() const noexcept { return largest; }

    /// True when a sample of the result was not finite.
    bool hasBadOutput() const noexcept { return isBadOutput; }

private:
    CError readBlock(std::int64_t position, int count);
    void processBlock(std::int64_t position, int count);
    CError writeBlock(int skipped, int count);
    double crossed(double sample) const noexcept
    {
        return how.isDouble ? sample : static_cast<double>(static_cast<float>(sample));
    }

    CAudioGraphHost& graph;
    CWaveReader& reader;
    CWaveWriter* writer;
    int channels;
    CRenderSetup how;
    std::size_t nextEvent = 0;
    double largest = 0.0;
    bool isBadOutput = false;
    std::vector<double> interleaved;
    std::vector<std::vector<double>> planes;
    std::vector<const double*> inputs;          // where a call begins, null for a silent channel
    std::vector<double*> outputs;
};

}
