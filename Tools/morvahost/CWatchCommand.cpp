// SPDX-License-Identifier: GPL-3.0-or-later
#include "CWatchCommand.h"

#include "CAnalysisRun.h"
#include "CWatchScreen.h"

#include <chrono>
#include <cstdio>
#include <thread>
#include <unistd.h>

namespace kor
{

namespace
{

using CClock = std::chrono::steady_clock;

constexpr COptionSpec watchOptions[] = {
    CHostSettings::setOption,
    CStateFile::stateOption,
    CStateFile::programOption,
    CAnalysisRun::groupOption,
    {"--fast", nullptr, "as fast as it goes, not as fast as it would sound"},
};

// What has been drawn so far is drawn over.
class CScreen
{
public:
    void draw(const std::vector<std::string>& lines)
    {
        std::string text;
        if (drawn > 0)
            text = "\033[" + std::to_string(drawn) + "A";
        for (const std::string& line : lines)
            text += line + "\033[K\n";
        drawn = lines.size();
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
    }

private:
    std::size_t drawn = 0;
};

}

const char* CWatchCommand::usage() const
{
    return "morvahost watch RECORDING [--set KEY[g,e]=TEXT]... [--fast]\n"
           "\n"
           "Runs the recording through the equalizer, at the speed at which it would sound, and shows level and peak of each\n"
           "channel of a group and its spectrum. Where the output is no terminal, a line of meters for each second is written\n"
           "instead, as fast as it goes.\n"
           "Example: morvahost watch a.wav --set 'modMorvaEQ.eq-params.mode=Lo-shelf' \\\n"
           "                               --set 'modMorvaEQ.eq-params.gain=6'\n";
}

std::span<const COptionSpec> CWatchCommand::options() const
{
    return watchOptions;
}

COutcome CWatchCommand::run(const COptions& options)
{
    CAnalysisRun analysisRun;
    if (COutcome outcome = analysisRun.open(options); outcome.error)
        return outcome;
    const bool isTerminal = ::isatty(STDOUT_FILENO) != 0;
    const bool isPaced = isTerminal && !options.has("--fast");
    const CScreenKind kind = CScreenKind::ofTerminal();
    const CClock::time_point start = CClock::now();
    CClock::time_point drawn;
    CScreen screen;
    double told = 0.0;
    bool isWritten = true;
    KOR_TRY(analysisRun.run(nullptr, [&](double seconds) -> CError
    {
        if (isPaced)
            std::this_thread::sleep_until(start + std::chrono::duration<double>(seconds));
        if (!isTerminal && seconds >= told + 1.0)
        {
            told += 1.0;
            isWritten = std::puts(watchLine(analysisRun.analysis(), told).c_str()) >= 0 && isWritten;
        }
        if (isTerminal && CClock::now() - drawn >= std::chrono::milliseconds(33))
        {
            drawn = CClock::now();
            screen.draw(watchScreen(analysisRun.analysis(), seconds, kind));
        }
        return {};
    }));
    const CAnalysis& analysis = analysisRun.analysis();
    if (isTerminal)
        screen.draw(watchScreen(analysis, analysis.seconds, kind));
    else if (analysis.seconds > told)
        isWritten = std::puts(watchLine(analysis, analysis.seconds).c_str()) >= 0 && isWritten;
    if (!isWritten || std::fflush(stdout) != 0)
        return KOR_FAIL("unable to write to standard output");
    return {};
}

}
