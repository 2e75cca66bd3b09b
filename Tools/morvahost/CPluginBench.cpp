// SPDX-License-Identifier: GPL-3.0-or-later
#include "CPluginBench.h"

#include "CExtAssignments.h"
#include "JsonText.h"

#include "Vst3Host/CHostApplication.h"
#include "Vst3Host/CVst3Plugin.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <unistd.h>
#include <vector>

namespace kor
{

namespace
{

constexpr CVst3Setup setup = {48000.0, 512, false, false};

double millisecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

double residentBytes()
{
    std::ifstream file("/proc/self/statm");
    double total = 0.0;
    double resident = 0.0;
    file >> total >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

CError bringUp(const CVst3Module& module, CVst3Plugin& plugin)
{
    const CVst3Class* effect = nullptr;
    KOR_TRY(module.findEffect(effect));
    KOR_TRY(plugin.open(module, *effect));
    KOR_TRY(plugin.setLayout(2, 2));
    return plugin.activate(setup);
}

// Two channels of noise at -20 dB, and where the result goes.
class CStereoBlock
{
public:
    CStereoBlock() : samples(static_cast<std::size_t>(4 * setup.maxBlock))
    {
        std::uint32_t state = 1;
        for (float& sample : samples)
        {
            state = state * 1664525u + 1013904223u;
            sample = 0.1f * (static_cast<float>(state >> 8) / 8388608.0f - 1.0f);
        }
        for (std::size_t c = 0; c < 4; ++c)
            places[c] = samples.data() + c * static_cast<std::size_t>(setup.maxBlock);
    }

    CError run(CVst3Plugin& plugin)
    {
        const bool isDone = plugin.process(std::span(places).first(2), std::span(places).last(2), setup.maxBlock);
        return isDone ? CError() : KOR_FAIL("'%1' fails to process", plugin.name());
    }

private:
    std::vector<float> samples;
    void* places[4] = {};
};

}

CError CPluginBench::measureInstances(const CVst3Module& module, CHostApplication& host)
{
    CStereoBlock block;
    std::vector<std::unique_ptr<CVst3Plugin>> all;
    std::vector<double> times;
    double before = 0.0;
    for (int i = 0; i <= instances; ++i)
    {
        const auto start = std::chrono::steady_clock::now();
        all.push_back(std::make_unique<CVst3Plugin>(host));
        KOR_TRY(bringUp(module, *all.back()));
        const double took = millisecondsSince(start);
        KOR_TRY(block.run(*all.back()));            // so that what it has in store for processing counts too
        if (i > 0)
            times.push_back(took);
        else
        {
            firstMs = took;
            before = residentBytes();
        }
    }
    furtherMs = median(times);
    megabytes = (residentBytes() - before) / instances / 1048576.0;
    plugin = all.front()->name();
    return {};
}

CError CPluginBench::measureLoad(const CVst3Module& module, CHostApplication& host, CExtAssignments* ext,
                                 double& percent) const
{
    constexpr int runs = 41;
    constexpr int blocksPerRun = 100;
    CVst3Plugin one(host);
    KOR_TRY(bringUp(module, one));
    if (ext != nullptr)
    {
        KOR_TRY(ext->resolve(one));
        ext->give(one);
        one.flush();
    }
    CStereoBlock block;
    std::vector<double> times;
    for (int run = -5; run < runs; ++run)           // the first few warm up: fades end, caches fill
    {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < blocksPerRun; ++i)
            KOR_TRY(block.run(one));
        if (run >= 0)
            times.push_back(millisecondsSince(start));
    }
    percent = 100.0 * median(times) / (1000.0 * blocksPerRun * setup.maxBlock / setup.sampleRate);
    return {};
}

std::string CPluginBench::asText() const
{
    char text[1200];
    std::snprintf(text, sizeof text,
                  "%s, stereo, 48000 Hz, 512 samples a block, single precision\n"
                  "  load the module          %8.2f ms\n"
                  "  first instance           %8.2f ms\n"
                  "  each further instance    %8.2f ms, median of %d\n"
                  "  memory of an instance    %8.2f MB, resident, mean of %d\n"
                  "  processing, as it comes  %8.3f %% of one core\n",
                  plugin.c_str(), moduleMs, firstMs, furtherMs, instances, megabytes, instances, idlePercent);
    std::string all = text;
    if (busyPercent >= 0.0)
    {
        std::snprintf(text, sizeof text, "  processing, as set       %8.3f %% of one core: ", busyPercent);
        all += text + settings + '\n';
    }
    return all;
}

std::string CPluginBench::asJson() const
{
    std::string text = "{\n  \"plugin\": " + jsonText(plugin) + ",\n  \"moduleMs\": " + jsonNumber(moduleMs) +
                       ",\n  \"firstInstanceMs\": " + jsonNumber(firstMs) + ",\n  \"furtherInstanceMs\": " +
                       jsonNumber(furtherMs) + ",\n  \"instanceMegabytes\": " + jsonNumber(megabytes) +
                       ",\n  \"idlePercent\": " + jsonNumber(idlePercent);
    if (busyPercent >= 0.0)
        text += ",\n  \"busyPercent\": " + jsonNumber(busyPercent) + ",\n  \"settings\": " + jsonText(settings);
    return text + "\n}\n";
}

}
