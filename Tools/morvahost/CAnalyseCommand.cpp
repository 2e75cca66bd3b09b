// SPDX-License-Identifier: GPL-3.0-or-later
#include "CAnalyseCommand.h"

#include "CAnalysisRun.h"
#include "CPendingFile.h"

#include <cmath>
#include <cstdio>

namespace kor
{

namespace
{

constexpr COptionSpec analyseOptions[] = {
    CHostSettings::setOption,
    CStateFile::stateOption,
    CStateFile::programOption,
    CAnalysisRun::groupOption,
    CAnalysisRun::secondOption,
    {"--every", "SECONDS", "keep the spectra in steps, 0.01 to 3600, and not just those of the end (--json)"},
    {"--json", nullptr, "write JSON to standard output; null stands for silence"},
    {"--out", "FILE", "write FILE, a picture (.svg)"},
    {"--force", nullptr, "replace FILE if it exists"},
};

CError checkForm(const COptions& options)
{
    const std::string& out = options.text("--out");
    if (options.has("--json") == options.has("--out"))
        return KOR_FAIL("give either --json or --out FILE");
    if (options.has("--out") && !out.ends_with(".svg"))
        return KOR_FAIL("option --out: '%1' has to end in .svg", out);
    if (options.has("--every") && !options.has("--json"))
        return KOR_FAIL("a picture shows the end: --every goes with --json");
    return {};
}

}

const char* CAnalyseCommand::usage() const
{
    return "morvahost analyse RECORDING [--set KEY[g,e]=TEXT]... (--json | --out FILE)\n"
           "\n"
           "Runs the recording through the equalizer with a display attached and tells what it shows for a channel group:\n"
           "the spectrum of each channel (at the end, or every so many seconds), level and peak of the output over time,\n"
           "output level over input level, and the control signal of each dynamic band. The spectrum is set as the\n"
           "product's own is: modMorvaEQ.spectrum-params. and block-size, overlap, avgtime, type, slope.\n"
           "JSON has plain magnitudes in dB, a full-scale sine being -3.01; a picture is tilted by the slope.\n"
           "Example: morvahost analyse a.wav --set 'modMorvaEQ.spectrum-params.type=Avg' --out a.svg\n";
}

std::span<const COptionSpec> CAnalyseCommand::options() const
{
    return analyseOptions;
}

COutcome CAnalyseCommand::run(const COptions& options)
{
    MORVA_USAGE(checkForm(options));
    double every = 0.0;
    MORVA_USAGE(options.readNumber("--every", 0.01, 3600.0, every));
    CAnalysisRun analysisRun;
    if (COutcome outcome = analysisRun.open(options); outcome.error)
        return outcome;
    // Before the work, so that a name that cannot be written costs none.
    CPendingFile file;
    if (options.has("--out"))
        KOR_TRY(file.open(options.text("--out"), options.has("--force")));

    CAnalysis& analysis = analysisRun.analysis();
    double next = every;
    KOR_TRY(analysisRun.run("analysing", [&](double seconds) -> CError
    {
        if (every > 0.0 && seconds >= next)
        {
            analysis.keepSpectra();
            next = every * (std::floor(seconds / every) + 1.0);
        }
        return {};
    }));
    if (every == 0.0)
        analysis.keepSpectra();

    if (options.has("--out"))
    {
        KOR_TRY(file.write(analysisAsSvg(analysis)));
        return file.commit();
    }
    const std::string text = analysisAsJson(analysis);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        return KOR_FAIL("unable to write to standard output");
    return {};
}

}
