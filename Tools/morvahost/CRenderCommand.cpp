// SPDX-License-Identifier: GPL-3.0-or-later
#include "CRenderCommand.h"

#include "CHostSession.h"
#include "CInterrupt.h"
#include "CParamAssignments.h"
#include "CRenderJob.h"

#include "Audio/Graph/CAudioGraphHost.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace kor
{

namespace
{

constexpr COptionSpec renderOptions[] = {
    {"--in", "FILE", "the recording: any format that libsndfile reads"},
    {"--out", "FILE", "the result: a WAV file with the same rate and channels"},
    {"--set", "KEY[g,e]=TEXT", "give a parameter a value; any number of times", true},
    {"--format", "F", "samples of the result: f32 (default), f64, s16, s24, s32"},
    {"--force", nullptr, "replace the result's file if it exists"},
    {"--block", "N", "samples a processing call, 1 to 65536 (default 512)"},
    {"--double", nullptr, "hand samples over in double precision, else in single, as most hosts do"},
};

void note(const std::string& text)
{
    std::fprintf(stderr, "morvahost: note: %s\n", text.c_str());
}

std::string decibels(double peak)
{
    char text[32] = "silence";
    if (peak > 0.0)
        std::snprintf(text, sizeof text, "%+.1f dB", 20.0 * std::log10(peak));
    return text;
}

// Settings of a group that no channel of the recording belongs to are legal and without effect: worth a word.
void noteSilentGroups(const CParamAssignments& assignments, const std::vector<int>& grouping)
{
    for (const int group : assignments.groups())
        if (std::find(grouping.begin(), grouping.end(), group) == grouping.end())
            note("no channel of this recording is in group " + std::to_string(group) +
                 "; its settings are not heard");
}

void noteBadInput(const CWaveReader& reader)
{
    if (reader.badSampleCount() > 0)
        note(std::to_string(reader.badSampleCount()) + " samples of the recording are not finite and were taken as "
             "silence, the first in channel " + std::to_string(reader.firstBadChannel() + 1) + " at frame " +
             std::to_string(reader.firstBadFrame()));
}

}

const char* CRenderCommand::usage() const
{
    return "morvahost render --in FILE --out FILE [--set KEY[g,e]=TEXT]...\n"
           "\n"
           "KEY is a parameter's name below plugin.modMain., g the channel group, e the band, both from 0 and 0 when\n"
           "left out; TEXT is what you would type: 1k, -3, Lo-shelf. The bands are modMorvaEQ.eq-params. and\n"
           "mode, freq, bw (octaves), gain (dB). Two channels are group 0, the next two group 1.\n"
           "Example: morvahost render --in a.wav --out b.wav --set 'modMorvaEQ.eq-params.mode[0,0]=Hi-pass 24' \\\n"
           "                          --set 'modMorvaEQ.eq-params.freq[0,0]=80'\n";
}

std::span<const COptionSpec> CRenderCommand::options() const
{
    return renderOptions;
}

COutcome CRenderCommand::run(const COptions& options)
{
    for (const char* needed : {"--in", "--out"})
        if (options.text(needed).empty())
            return COutcome::wrongUsage(KOR_FAIL("%1 FILE is missing", needed));
    CSampleFormat format = CSampleFormat::f32;
    if (options.has("--format") && !parseSampleFormat(options.text("--format"), format))
        return COutcome::wrongUsage(
            KOR_FAIL("option --format: '%1' is none of f32, f64, s16, s24, s32", options.text("--format")));
    int block = 512;
    MORVA_USAGE(options.readInt("--block", 1, 65536, block));
    CParamAssignments assignments;
    MORVA_USAGE(assignments.parse(options.texts("--set")));

    CHostSession session;
    KOR_TRY(session.start());
    CAudioInstance& instance = session.instance();
    MORVA_USAGE(assignments.apply(instance));

    CWaveReader reader;
    KOR_TRY(reader.open(options.text("--in"), instance.channelCount()));
    if (reader.isSameFile(options.text("--out")))
        return KOR_FAIL("input and output are the same file, '%1'; give another output", options.text("--out"));
    CInterrupt::install();
    CWaveWriter writer;
    KOR_TRY(writer.open(options.text("--out"), options.has("--force"), reader.channelCount(), reader.sampleRate(),
                        format, reader.frameCount()));
    for (const std::string& text : assignments.notes())
        note(text);
    const std::vector<int> grouping = instance.defaultGrouping(reader.channelCount());
    noteSilentGroups(assignments, grouping);

    const auto start = std::chrono::steady_clock::now();
    KOR_TRY(instance.graph().setLayout(grouping, reader.sampleRate()));
    CRenderJob job(instance.graph(), reader, writer, block, options.has("--double"));
    KOR_TRY(job.run());
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    instance.graph().stop();
    if (job.hasBadOutput())
        return KOR_FAIL("these settings drive the sound beyond all bounds; nothing was written");
    KOR_TRY(writer.commit());

    noteBadInput(reader);
    if (writer.clippedCount() > 0)
        note(std::to_string(writer.clippedCount()) + " samples were above full scale and are clipped; lower a gain or "
             "use --format f32");
    const double seconds = static_cast<double>(reader.frameCount()) / reader.sampleRate();
    std::printf("%s: %d channel%s, %d Hz, %.1f s, peak %s; %.2f s of work, %.0f times real time\n",
                options.text("--out").c_str(), reader.channelCount(), reader.channelCount() == 1 ? "" : "s",
                reader.sampleRate(), seconds, decibels(job.peak()).c_str(), took, seconds / std::max(took, 1e-6));
    return {};
}

}
