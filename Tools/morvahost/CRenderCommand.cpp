// SPDX-License-Identifier: GPL-3.0-or-later
#include "CRenderCommand.h"

#include "CAutomation.h"
#include "CHostSession.h"
#include "CHostSettings.h"
#include "CInterrupt.h"
#include "CRenderJob.h"
#include "CStateFile.h"
#include "DefaultRouting.h"

#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Parameters/CAudioParam.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <set>

namespace kor
{

namespace
{

constexpr int mostChannels = 16;                    // what a host may have

constexpr COptionSpec renderOptions[] = {
    {"--in", "FILE", "the recording: any format that libsndfile reads"},
    {"--out", "FILE", "the result: a WAV file with the same rate and channels"},
    CHostSettings::setOption,
    CStateFile::stateOption,
    CStateFile::programOption,
    {"--save-state", "FILE", "write the state at the start, as a project would keep it"},
    {"--automate", "FILE", "change parameters while the sound runs: lines of seconds,KEY[g,e],TEXT"},
    {"--channels", "N", "channels of the equalizer's input, 1 to 16 (default: the recording's); fewer take the\n"
                        "first ones, those beyond the recording are silent"},
    {"--format", "F", "samples of the result: f32 (default), f64, s16, s24, s32"},
    {"--force", nullptr, "replace the result's file if it exists"},
    {"--block", "N", "samples a processing call, 1 to 65536 (default 512)"},
    {"--double", nullptr, "hand samples over in double precision, else in single, as most hosts do"},
};

void note(const std::string& text)
{
    CHostSettings::note(text);
}

std::string decibels(double peak)
{
    char text[32] = "silence";
    if (peak > 0.0)
        std::snprintf(text, sizeof text, "%+.1f dB", 20.0 * std::log10(peak));
    return text;
}

// Groups of the channels that the equalizer takes in.
std::set<int> usedGroups(const CAudioInstance& instance, int channels)
{
    std::set<int> groups;
    const CAudioParam* const routing = instance.findParam("io-params.in-routing");
    const CAudioParam* const grouping = instance.findParam("io-params.grouping");
    for (int c = 0; c < channels && routing != nullptr && grouping != nullptr; ++c)
        if (const long inside = std::lround(routing->getValue(0, c)); inside > 0)
            groups.insert(static_cast<int>(std::lround(grouping->getValue(0, static_cast<int>(inside) - 1))));
    return groups;
}

// Settings of a group that no channel of the recording belongs to are legal and without effect: worth a word.
void noteSilentGroups(const CParamAssignments& assignments, const std::set<int>& used)
{
    for (const int group : assignments.groups())
        if (used.count(group) == 0)
            note("no channel of this recording is in group " + std::to_string(group) +
                 "; its settings are not heard");
}

void noteSilentChannels(const CAudioInstance& instance, int channels)
{
    const CAudioParam* const routing = instance.findParam("io-params.out-routing");
    std::string list;
    for (int c = 0; c < channels && routing != nullptr; ++c)
        if (c >= instance.channelCount() || std::lround(routing->getValue(0, c)) == 0)
            list += (list.empty() ? "" : ", ") + std::to_string(c + 1);
    if (!list.empty())
        note("nothing is routed to these channels of the result, so they are silent: " + list);
}

void noteLateEvents(std::span<const CAutomationEvent> events, std::int64_t frames)
{
    const auto late = std::count_if(events.begin(), events.end(),
                                    [&](const CAutomationEvent& event) { return event.frame >= frames; });
    if (late > 0)
        note(std::to_string(late) + " of the changes are behind the end of the recording");
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
    return "morvahost render --in FILE --out FILE [--set KEY[g,e]=TEXT]... [--automate FILE]\n"
           "\n"
           "KEY is a parameter's name below plugin.modMain., g the channel group, e the band or element, both from 0 and\n"
           "0 when left out; TEXT is what you would type: 1k, -3, Lo-shelf. The bands are modMorvaEQ.eq-params. and\n"
           "mode, freq, bw (octaves), gain (dB), dyn (%); `morvahost tree audio.modMain` lists all there is.\n"
           "Example: morvahost render --in a.wav --out b.wav --set 'modMorvaEQ.eq-params.mode[0,0]=Hi-pass 24' \\\n"
           "                          --set 'modMorvaEQ.eq-params.freq[0,0]=80'\n"
           "\n"
           "The result has the rate, length and channels of the recording and lies sample by sample under it: the latency\n"
           "that the equalizer reports at the start is taken out, as a workstation does.\n"
           "\n"
           "Channels keep their places, up to 8; a ninth and later ones are silent. Channels 1 and 2 are group 0, 3 and 4\n"
           "group 1, and so on, each group with its own bands. So a mono or stereo recording is group 0; in one of six\n"
           "channels [0,e] sets bands of the first pair only. All of that can be set: io-params.in-routing[0,c] and\n"
           "io-params.out-routing[0,c] (from 1, 0 for none), io-params.grouping[0,c].\n"
           "\n"
           "--automate takes a CSV file with a change a line, in any order; each holds from that very sample on. Lines at 0\n"
           "are settings like --set, # begins a comment, and a field may stand in double quotes:\n"
           "    seconds,key,value\n"
           "    1.5,modMorvaEQ.eq-params.gain[0,1],-6\n"
           "    2.25,modOutGain.mute,On\n";
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
    CRenderSetup setup;
    setup.isDouble = options.has("--double");
    MORVA_USAGE(options.readInt("--block", 1, 65536, setup.blockSize));
    MORVA_USAGE(options.readInt("--channels", 1, mostChannels, setup.graphChannels));
    CHostSettings settings;
    MORVA_USAGE(settings.read(options));

    CHostSession session;
    KOR_TRY(session.start());
    CAudioInstance& instance = session.instance();
    MORVA_USAGE(settings.resolve(instance));

    CAutomation automation;
    if (options.has("--automate"))
        KOR_TRY(automation.read(options.text("--automate")));
    CWaveReader reader;
    KOR_TRY(reader.open(options.text("--in"), mostChannels));
    KOR_TRY(automation.resolve(instance, reader.sampleRate()));
    if (reader.isSameFile(options.text("--out")))
        return KOR_FAIL("input and output are the same file, '%1'; give another output", options.text("--out"));
    CInterrupt::install();
    CWaveWriter writer;
    KOR_TRY(writer.open(options.text("--out"), options.has("--force"), reader.channelCount(), reader.sampleRate(),
                        format, reader.frameCount()));

    // Everything that holds at the start is there before the graph is made, so that nothing of it fades in.
    if (setup.graphChannels == 0)
        setup.graphChannels = reader.channelCount();
    routeByDefault(instance, setup.graphChannels, reader.channelCount());
    KOR_TRY(settings.give(options, instance));
    setup.events = automation.events();
    for (; !setup.events.empty() && setup.events.front().frame == 0; setup.events = setup.events.subspan(1))
        setup.events.front().setting.give();
    for (const std::string& text : automation.notes())
        note(text);
    noteSilentGroups(settings.assignments(), usedGroups(instance, setup.graphChannels));
    noteSilentChannels(instance, reader.channelCount());
    noteLateEvents(setup.events, reader.frameCount());

    KOR_TRY(CStateFile::save(options, instance));

    const auto start = std::chrono::steady_clock::now();
    KOR_TRY(instance.start(setup.graphChannels, reader.channelCount(), reader.sampleRate()));
    CRenderJob job(instance.graph(), reader, &writer, setup);
    KOR_TRY(job.run());
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    instance.stop();
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
