// SPDX-License-Identifier: GPL-3.0-or-later
#include "CRenderCommand.h"

#include "CHostAutomation.h"
#include "CInterrupt.h"
#include "CPluginEngine.h"
#include "CPluginSession.h"
#include "CRenderJob.h"
#include "CStateFile.h"

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
    CExtAssignments::option,
    CPluginSession::programOption,
    CStateFile::stateOption,
    CStateFile::programOption,
    {"--save-state", "FILE", "write the state at the start, as a project would keep it"},
    {"--automate", "FILE", "change parameters while the sound runs: lines of seconds,KEY[g,e],TEXT or\n"
                           "seconds,NAME,TEXT"},
    {"--channels", "N", "channels of the plug-in's input, 1 to 16 (default: the recording's); fewer take the\n"
                        "first ones, those beyond the recording are silent"},
    {"--format", "F", "samples of the result: f32 (default), f64, s16, s24, s32"},
    {"--force", nullptr, "replace the result's file if it exists"},
    CBlockSizes::option,
    {"--double", nullptr, "hand samples over in double precision, else in single, as most hosts do"},
    {"--offline", nullptr, "say that this is no real time, as a workstation's export does"},
    {"--tail", "SECONDS", "go on with silence behind the end of the recording, 0 to 3600"},
    CPluginSession::pluginOption,
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

// Settings of a group that no channel of the recording belongs to are legal and without effect: worth a word.
void noteSilentGroups(const CParamAssignments& assignments, const std::set<int>& used)
{
    for (const int group : assignments.groups())
        if (used.count(group) == 0)
            note("no channel of this recording is in group " + std::to_string(group) +
                 "; its settings are not heard");
}

// outputs: of the plug-in. channels: of the recording.
void noteSilentChannels(const CPluginSession& session, int outputs, int channels)
{
    std::vector<int> silent = session.silentOutputs(std::min(outputs, channels));
    for (int c = outputs; c < channels; ++c)
        silent.push_back(c);
    std::string list;
    for (const int c : silent)
        list += (list.empty() ? "" : ", ") + std::to_string(c + 1);
    if (!list.empty())
        note("nothing is routed to these channels of the result, so they are silent: " + list);
}

void noteLateEvents(std::span<const CHostEvent> events, std::int64_t frames)
{
    const auto late = std::count_if(events.begin(), events.end(),
                                    [&](const CHostEvent& event) { return event.frame >= frames; });
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
    return "morvahost render --in FILE --out FILE [--set KEY[g,e]=TEXT]... [--ext NAME=TEXT]... [--automate FILE]\n"
           "\n"
           "Loads the plug-in and drives it as a workstation does.\n"
           "\n"
           "KEY is a parameter's name below plugin.modMain., g the channel group, e the band or element, both from 0 and\n"
           "0 when left out; TEXT is what you would type: 1k, -3, Lo-shelf. The bands are modMorvaEQ.eq-params. and\n"
           "mode, freq, bw (octaves), gain (dB), dyn (%); `morvahost tree audio.modMain` lists all there is.\n"
           "Example: morvahost render --in a.wav --out b.wav --set 'modMorvaEQ.eq-params.mode[0,0]=Hi-pass 24' \\\n"
           "                          --set 'modMorvaEQ.eq-params.freq[0,0]=80'\n"
           "\n"
           "NAME is what a host calls a parameter: 1Freq1, 1Gain1; `morvahost params` lists them. --ext comes last: behind\n"
           "--program, --state and --set. Nothing of your own settings is read: a result depends on the command line alone.\n"
           "\n"
           "The result has the rate, length and channels of the recording and lies sample by sample under it: the latency\n"
           "that the plug-in reports at the start is taken out, as a workstation does.\n"
           "\n"
           "Channels keep their places, up to 8; of more, --channels 8 takes the first. Channels 1 and 2 are group 0, 3 and 4\n"
           "group 1, and so on, each group with its own bands. So a mono or stereo recording is group 0; in one of six\n"
           "channels [0,e] sets bands of the first pair only. All of that can be set: io-params.in-routing[0,c] and\n"
           "io-params.out-routing[0,c] (from 1, 0 for none), io-params.grouping[0,c].\n"
           "\n"
           "--automate takes a CSV file with a change a line, in any order; each holds from that very sample on. Lines at 0\n"
           "are settings like --set and --ext; later ones need a host parameter, by its name or by the KEY that it stands\n"
           "for. # begins a comment, and a field may stand in double quotes:\n"
           "    seconds,key,value\n"
           "    1.5,modMorvaEQ.eq-params.gain[0,1],-6\n"
           "    2.25,1Freq2,1.2k\n";
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
    MORVA_USAGE(setup.blocks.read(options));
    int inputs = 0;
    MORVA_USAGE(options.readInt("--channels", 1, mostChannels, inputs));
    double tail = 0.0;
    MORVA_USAGE(options.readNumber("--tail", 0.0, 3600.0, tail));

    CPluginSession session;
    if (COutcome outcome = session.open(options); outcome.error)
        return outcome;
    CVst3Plugin& plugin = session.plugin();
    CAutomation table;
    if (options.has("--automate"))
        KOR_TRY(table.read(options.text("--automate")));
    CWaveReader reader;
    KOR_TRY(reader.open(options.text("--in"), mostChannels));
    CHostAutomation automation;
    KOR_TRY(automation.resolve(table, plugin, session.instance(), reader.sampleRate(), session.assignments(),
                               session.extAssignments()));
    if (reader.isSameFile(options.text("--out")))
        return KOR_FAIL("input and output are the same file, '%1'; give another output", options.text("--out"));
    CInterrupt::install();

    // A single channel may go to many, as on a bus; else what comes in comes out.
    const int channels = reader.channelCount();
    if (inputs == 0)
        inputs = channels;
    const int outputs = inputs == 1 ? channels : inputs;
    CWaveWriter writer;
    setup.tailFrames = std::llround(tail * reader.sampleRate());
    KOR_TRY(writer.open(options.text("--out"), options.has("--force"), channels, reader.sampleRate(), format,
                        reader.frameCount() + setup.tailFrames));
    if (COutcome outcome = session.setUp(options, inputs, outputs); outcome.error)
        return outcome;
    for (const std::string& text : automation.notes())
        note(text);
    if (session.instance() != nullptr)
        noteSilentGroups(session.assignments(), session.usedGroups(inputs));
    noteSilentChannels(session, outputs, channels);
    noteLateEvents(automation.events(), reader.frameCount());

    const auto start = std::chrono::steady_clock::now();
    KOR_TRY(session.activate(options, {static_cast<double>(reader.sampleRate()), setup.blocks.largest(), setup.isDouble,
                                       options.has("--offline")}));
    CPluginEngine engine(plugin, session.application().runLoop(),
                         {inputs, outputs, setup.isDouble, setup.blocks.largest()}, automation.events());
    CRenderJob job(engine, reader, &writer, setup);
    const int latency = plugin.latency();
    KOR_TRY(job.run());
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (plugin.latency() != latency)
        note("the latency changed from " + std::to_string(latency) + " to " + std::to_string(plugin.latency()) +
             " samples while the sound ran; the first was taken out");
    plugin.deactivate();
    if (job.hasBadOutput())
        return KOR_FAIL("these settings drive the sound beyond all bounds; nothing was written");
    KOR_TRY(writer.commit());

    noteBadInput(reader);
    if (writer.clippedCount() > 0)
        note(std::to_string(writer.clippedCount()) + " samples were above full scale and are clipped; lower a gain or "
             "use --format f32");
    const double seconds = static_cast<double>(reader.frameCount() + setup.tailFrames) / reader.sampleRate();
    std::printf("%s: %d channel%s, %d Hz, %.1f s, peak %s; %.2f s of work, %.0f times real time\n",
                options.text("--out").c_str(), reader.channelCount(), reader.channelCount() == 1 ? "" : "s",
                reader.sampleRate(), seconds, decibels(job.peak()).c_str(), took, seconds / std::max(took, 1e-6));
    return {};
}

}
