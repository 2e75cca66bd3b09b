// SPDX-License-Identifier: GPL-3.0-or-later
#include "CCurveCommand.h"

#include "CBandChain.h"
#include "CHostSession.h"
#include "CHostSettings.h"
#include "CPendingFile.h"
#include "CStateFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kor
{

namespace
{

constexpr COptionSpec curveOptions[] = {
    CHostSettings::setOption,
    CStateFile::stateOption,
    CStateFile::programOption,
    {"--group", "G", "the channel group whose bands are shown (default 0)"},
    {"--rate", "R", "sample rate in Hz, 8000 to 768000 (default 48000)"},
    {"--from", "F", "lowest frequency in Hz (default 20)"},
    {"--to", "F", "highest frequency in Hz (default 20000, at most half the rate)"},
    {"--points", "N", "frequencies between them, in equal ratios, 2 to 100000 (default 400)"},
    {"--at", "F,F,...", "just these frequencies, instead of --from, --to and --points"},
    {"--json", nullptr, "write JSON to standard output; null stands for a magnitude of zero"},
    {"--out", "FILE", "write FILE, a picture (.svg) or a table (.csv)"},
    {"--force", nullptr, "replace FILE if it exists"},
};

enum class CCurveForm
{
    json,
    csv,
    svg
};

bool endsWith(const std::string& text, std::string_view end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

CError readForm(const COptions& options, CCurveForm& form)
{
    const std::string& out = options.text("--out");
    if (options.has("--json") == options.has("--out"))
        return KOR_FAIL("give either --json or --out FILE");
    if (options.has("--json"))
        form = CCurveForm::json;
    else if (endsWith(out, ".csv"))
        form = CCurveForm::csv;
    else if (endsWith(out, ".svg"))
        form = CCurveForm::svg;
    else
        return KOR_FAIL("option --out: '%1' has to end in .svg or .csv", out);
    return {};
}

CError readFrequencyList(const std::string& text, double highest, std::vector<double>& list)
{
    for (std::size_t start = 0; start <= text.size();)
    {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const std::string piece = text.substr(start, end - start);
        double hz = 0.0;
        if (!COptions::parseNumber(piece, hz))
            return KOR_FAIL("option --at: '%1' is no frequency", piece);
        if (hz < 0.0 || hz > highest)
            return KOR_FAIL("option --at: %1 Hz is not between 0 and half the rate", piece);
        list.push_back(hz);
        start = end + 1;
    }
    return {};
}

}

const char* CCurveCommand::usage() const
{
    return "morvahost curve [--set KEY[g,e]=TEXT]... [--rate R] (--json | --out FILE)\n"
           "\n"
           "Shows what the settings do to each frequency, from the same filter designs that make the sound. A\n"
           "dynamic band is drawn with its filter in full; what sounds moves between that and no change.\n"
           "Example: morvahost curve --set 'modMorvaEQ.eq-params.mode=Peaking Plain' \\\n"
           "                         --set 'modMorvaEQ.eq-params.gain=6' --out curve.svg\n";
}

std::span<const COptionSpec> CCurveCommand::options() const
{
    return curveOptions;
}

COutcome CCurveCommand::run(const COptions& options)
{
    CCurveForm form = CCurveForm::json;
    MORVA_USAGE(readForm(options, form));
    double rate = 48000.0;
    MORVA_USAGE(options.readNumber("--rate", 8000.0, 768000.0, rate));
    double low = 20.0;
    double high = std::min(20000.0, 0.5 * rate);
    int points = 400;
    MORVA_USAGE(options.readNumber("--from", 0.001, 0.5 * rate, low));
    MORVA_USAGE(options.readNumber("--to", 0.001, 0.5 * rate, high));
    MORVA_USAGE(options.readInt("--points", 2, 100000, points));
    if (low >= high)
        return COutcome::wrongUsage(KOR_FAIL("--from has to be below --to"));
    std::vector<double> frequencies;
    if (options.has("--at"))
    {
        if (options.has("--from") || options.has("--to") || options.has("--points"))
            return COutcome::wrongUsage(KOR_FAIL("--at takes the place of --from, --to and --points"));
        if (form == CCurveForm::svg)
            return COutcome::wrongUsage(KOR_FAIL("--at gives numbers: use --json or a .csv file"));
        MORVA_USAGE(readFrequencyList(options.text("--at"), 0.5 * rate, frequencies));
    }
    CHostSettings settings;
    MORVA_USAGE(settings.read(options));

    CHostSession session;
    KOR_TRY(session.start());
    int group = 0;
    MORVA_USAGE(options.readInt("--group", 0, session.instance().groupCount() - 1, group));
    MORVA_USAGE(settings.resolve(session.instance()));
    KOR_TRY(settings.give(options, session.instance()));

    CBandChain chain;
    KOR_TRY(chain.open(session.instance(), group, rate));
    if (form == CCurveForm::svg)
        frequencies = chain.drawnFrequencies(low, high, points);
    else if (frequencies.empty())
    {
        for (int i = 0; i < points; ++i)
            frequencies.push_back(low * std::pow(high / low, i / (points - 1.0)));
        frequencies.back() = high;
    }
    const CResponseCurve curve = chain.response(frequencies);
    if (form == CCurveForm::json)
    {
        const std::string text = curveAsJson(curve);
        if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
            return KOR_FAIL("unable to write to standard output");
        return {};
    }
    CPendingFile file;
    KOR_TRY(file.open(options.text("--out"), options.has("--force")));
    KOR_TRY(file.write(form == CCurveForm::svg ? curveAsSvg(curve) : curveAsCsv(curve)));
    return file.commit();
}

}
