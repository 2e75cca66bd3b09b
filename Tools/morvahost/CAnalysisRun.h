// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CAnalysis.h"
#include "CHostSession.h"
#include "CHostSettings.h"
#include "CLiveClient.h"
#include "CStateFile.h"
#include "CWaveReader.h"

#include <functional>

namespace kor
{

// A recording that runs through the equalizer while a client watches one channel group: what `analyse` and `watch` have
// in common. The result is not kept.
class CAnalysisRun
{
public:
    static constexpr COptionSpec groupOption = {"--group", "G", "the channel group that is watched (default 0)"};
    static constexpr COptionSpec secondOption = {"--second", nullptr, "the secondary spectrum too"};

    /// Reads --set, --state, --bank-program, --group and --second, and the one word of the command line, a recording.
    COutcome open(const COptions& options);

    /// Runs the recording through. afterBlock: told the seconds done, behind each block, with the analysis up to date.
    CError run(const char* what, const std::function<CError(double seconds)>& afterBlock);

    CAnalysis& analysis() noexcept { return seen; }
    const CWaveReader& recording() const noexcept { return reader; }

private:
    CHostSession session;
    CWaveReader reader;
    CAnalysis seen;
    CLiveClient client;
};

}
