// SPDX-License-Identifier: GPL-3.0-or-later
// Two windows, a host and the sound at once. In the end all have the same.
#include "InterfaceTestKit.h"

#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Platform/CEventLoop.h"
#include "Support/CRealtimeGuard.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <pthread.h>
#include <random>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>

namespace kor::test
{
namespace
{

using CClock = std::chrono::steady_clock;

bool isLong()
{
    return std::getenv("MORVA_LONG") != nullptr;
}

/// What the host automates: heard at once on the audio thread, stored by another thread behind it.
class CAutomation
{
public:
    struct CEvent
    {
        CAudioParam* param;
        int group;
        int element;
        double value;
        std::uint64_t mark;
    };

    /// Audio thread. False when the ring is full; then nothing was delivered.
    bool deliver(CAudioParamCollector& collector, CEvent event)
    {
        const std::size_t at = written.load(std::memory_order_relaxed);
        if (at - taken.load(std::memory_order_acquire) == ring.size())
            return false;
        event.mark = collector.deliver(*event.param, changeOf(event.group, event.element, event.value));
        ring[at % ring.size()] = event;
        written.store(at + 1, std::memory_order_release);
        return true;
    }

    /// The thread that stores.
    void store()
    {
        std::size_t at = taken.load(std::memory_order_relaxed);
        for (; at != written.load(std::memory_order_acquire); ++at)
        {
            const CEvent& event = ring[at % ring.size()];
            event.param->storeDelivered(changeOf(event.group, event.element, event.value), event.mark);
            taken.store(at + 1, std::memory_order_release);
        }
    }

private:
    std::array<CEvent, 256> ring;
    std::atomic<std::size_t> written{0}, taken{0};
};

enum class CVariety
{
    values, // nothing that changes what the graph consists of
    everything
};

// A window: listens to all of the instance's parameters and sends one random command after the other.
class CWindow
{
public:
    CWindow(CAudioInstance& owner, const std::vector<CAudioParam*>& all, CVariety commands, unsigned seed)
        : instance(owner), params(all), variety(commands), random(seed), client(owner)
    {
        for (CAudioParam* const param : params)
        {
            copies.push_back(std::make_unique<CNotingCopy>());
            ids.push_back(client.listen(*copies.back(), param->fullName().toUtf8()));
        }
        EXPECT_TRUE(succeeded(client->listenRegistry(registryId, "plugin.param-registry", registry)));
        for (const char* const shown : {"modMeterOut", "modMeterIODiff", "modSpectrum",
                                        "modMorvaEQ.modFilter.modMeterEnv"})
        {
            std::uint32_t listening = 0;
            EXPECT_TRUE(succeeded(client->listenViz(listening, CStringBuf("plugin.modMain.") + shown, -1)));
        }
    }

    void step()
    {
        command().ignore(); // such as of a preset that does not exist
        if (random() % 8 == 0)
            CEventLoop::ofThisThread()->run(0.0);
        for (auto& copy : copies)
            copy->take();
    }

    void finish() { client->endBatch().ignore(); }

    /// What differs between this window and the instance when all is quiet.
    std::string compare()
    {
        for (int i = 0; i < 4; ++i)
            dispatch();
        std::string found;
        for (std::size_t i = 0; i < params.size(); ++i)
            found += difference(*copies[i], *params[i]);
        if (registry.session != instance.registry().getPresetNames(CAudioPresetSource::session) ||
            registry.program != instance.registry().getCurrentProgram())
            found += "programs; ";
        CArray<CStringBuf> labels;
        int position = 0;
        instance.interfaceBase().getHistory(labels, position);
        if (client->undoLabels() != labels || client->undoPosition() != position)
            found += "history; ";
        return found;
    }

private:
    std::size_t pick(std::size_t count) { return random() % count; }
    int group() { return random() % 12 == 0 ? allGroups : static_cast<int>(pick(8)); }

    double randomValue(const CAudioParamInfo& info)
    {
        if (variety == CVariety::everything && random() % 50 == 0)
            return random() % 2 == 0 ? std::nan("") : 1e300;
        const double share = static_cast<double>(random() % 1001) / 1000.0;
        return info.minValue(0) + share * (info.maxValue(0) - info.minValue(0));
    }

    CError change()
    {
        const std::size_t index = pick(params.size());
        const CAudioParamInfo& info = params[index]->info();
        if (info.type == CAudioParamType::string)
        {
            const CTextChange text(static_cast<int>(pick(8)), static_cast<int>(pick(4)),
                                   CStringBuf::fromInt(static_cast<int>(random() % 1000)));
            return client->changeParam(ids[index], undo, text.request);
        }
        std::vector<double> values;
        for (std::size_t i = 0; i <= pick(4); ++i)
            values.push_back(randomValue(info));
        CAudioParamRequest request = changeOf(group(), static_cast<int>(pick(8)), values[0]);
        if (variety == CVariety::everything)
        {
            request.elementCount = static_cast<int>(values.size());
            request.cut = random() % 16 == 0;
        }
        return client->changeParam(ids[index], undo, request);
    }

    CError command()
    {
        const std::size_t index = pick(params.size());
        CAudioInterfaceClient& c = *client;
        switch (random() % (variety == CVariety::values ? 40 : 60))
        {
        case 0:
            return undo == 0 ? c.createUndoData(undo, "Drag", random() % 2 == 0, static_cast<int>(random() % 3))
                             : c.submitUndoData(std::exchange(undo, 0), "Done");
        case 1:
            return c.removeUndoData(std::exchange(undo, 0));
        case 2:
            return c.beginBatch();
        case 3:
        case 4:
            return c.endBatch();
        case 5:
            KOR_TRY(c.unlistenParam(ids[index]));
            ids[index] = client.listen(*copies[index], params[index]->fullName().toUtf8());
            return {};
        case 6:
            return c.requestVizData();
        case 7:
            return c.requestPreset(registryId, 1, CAudioPresetSource::session, -1);
        case 40:
            return c.resetParam(ids[index], undo, group(), random() % 2 == 0 ? everyIndex : static_cast<int>(pick(8)),
                                random() % 8 == 0);
        case 41:
            return c.setUndoHistoryPos(static_cast<int>(pick(5)));
        case 42:
            return c.setCurrentProgram(registryId, static_cast<int>(pick(12)));
        case 43:
            return c.renamePreset(registryId, static_cast<int>(pick(12)),
                                  CStringBuf::fromInt(static_cast<int>(pick(99))));
        case 44:
            return c.activateFactoryPreset(registryId, static_cast<int>(pick(11)));
        case 45:
            return c.activatePreset(registryId, registry.lastPreset,
                                    random() % 2 == 0 ? everyIndex : static_cast<int>(pick(8)));
        case 46:
            return c.requestBank(registryId, 2, CAudioPresetSource::session);
        case 47:
            return random() % 8 == 0 ? c.setDefaultPreset(registryId, registry.lastPreset) : CError();
        case 48:
            return c.activateDefaultPreset(registryId);
        case 49:
            return c.exchangeShadowPreset(registryId);
        case 50:
            return c.updateShadowPreset(registryId);
        default:
            return change();
        }
    }

    CAudioInstance& instance;
    const std::vector<CAudioParam*>& params;
    const CVariety variety;
    std::mt19937 random;
    CTestClient client;
    std::vector<std::unique_ptr<CNotingCopy>> copies;
    std::vector<std::uint32_t> ids;
    CNotingRegistry registry;
    std::uint32_t registryId = 0;
    std::uint32_t undo = 0;
};

// What one block of the audio thread has cost.
struct CBlockCost
{
    double seconds = 0.0;
    std::size_t heapFaults = 0;
    std::size_t waits = 0;
    long pageFaults = 0;
    std::uint64_t changes = 0; // delivered to the graph
};

double share(std::vector<double> times, double part)
{
    std::ranges::sort(times);
    return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))];
}

/// How many lasted longer than three times the median.
std::size_t countLong(const std::vector<double>& times)
{
    const double limit = 3.0 * share(times, 0.5);
    return static_cast<std::size_t>(std::ranges::count_if(times, [limit](double time) { return time > limit; }));
}

void print(const char* what, const std::vector<double>& times)
{
    std::printf("%s: %zu, median %.0f us, 99.9 %% %.0f us, longest %.0f us, %zu above 3 medians\n", what,
                times.size(), 1e6 * share(times, 0.5), 1e6 * share(times, 0.999), 1e6 * share(times, 1.0),
                countLong(times));
}

// The same arithmetic over and over, in registers: what it takes longer at times is the machine's doing, such as that
// of a virtual machine's host that gives the processor to somebody else for milliseconds, whatever the priority here.
class CYardstick
{
public:
    /// Makes a turn last about as long as the blocks.
    void fit(double seconds)
    {
        double best = 1.0;
        for (int i = 0; i < 20; ++i)
            best = std::min(best, run());
        steps = std::max(1, static_cast<int>(steps * seconds / best));
    }

    /// Seconds of a turn.
    double run()
    {
        const auto begin = CClock::now();
        double value = start;
        for (int i = 0; i < steps; ++i)
            value = value * 0.9999 + 0.1;
        start = value;
        return std::chrono::duration<double>(CClock::now() - begin).count();
    }

private:
    volatile double start = 0.5;
    int steps = 100000;
};

struct CRunResult
{
    std::array<std::string, 2> differences;
    std::vector<CBlockCost> blocks;
    std::vector<double> yardstick; // a turn behind each block

    std::vector<double> times() const
    {
        std::vector<double> list;
        for (const CBlockCost& block : blocks)
            list.push_back(block.seconds);
        return list;
    }

    std::size_t heapFaults() const
    {
        std::size_t count = 0;
        for (const CBlockCost& block : blocks)
            count += block.heapFaults;
        return count;
    }
};

// What a host gives the thread that asks it for sound: the priority of its kind, and memory that is there.
class CAudioThreadRights
{
public:
    CAudioThreadRights()
    {
        sched_param wish = {};
        wish.sched_priority = 20;
        hasPriority = pthread_setschedparam(pthread_self(), SCHED_FIFO, &wish) == 0;
#if !defined(KOR_SANITIZE)
        hasMemory = mlockall(MCL_CURRENT | MCL_FUTURE) == 0;
#endif
    }
    ~CAudioThreadRights()
    {
        munlockall();
        sched_param wish = {};
        pthread_setschedparam(pthread_self(), SCHED_OTHER, &wish);
    }
    CAudioThreadRights(const CAudioThreadRights&) = delete;
    CAudioThreadRights& operator=(const CAudioThreadRights&) = delete;

    bool hasPriority = false;
    bool hasMemory = false;
};

long pageFaults()
{
    rusage usage;
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

constexpr int sessionChannels = 8;
constexpr int sessionBands = 16;

/// Eight groups of a channel, each with some tens of bands, of which every fourth is dynamic.
void setSession(CAudioInstance& instance)
{
    const auto set = [&](const char* key, int group, int element, double value)
    { instance.findParam(key)->setValue(group, element, value); };
    for (int c = 0; c < sessionChannels; ++c)
    {
        set("io-params.in-routing", 0, c, c + 1.0);
        set("io-params.out-routing", 0, c, c + 1.0);
        set("io-params.grouping", 0, c, c);
        set("modMorvaEQ.eq-params.band-count", c, 0, sessionBands);
        for (int band = 0; band < sessionBands; ++band)
        {
            set("modMorvaEQ.eq-params.mode", c, band, band % 4 == 0 ? 1.0 : 4.0);
            set("modMorvaEQ.eq-params.freq", c, band, 60.0 + 600.0 * band);
            set("modMorvaEQ.eq-params.gain", c, band, band % 2 == 0 ? 1.5 : 0.7);
            set("modMorvaEQ.eq-params.bw", c, band, 1.0);
            set("modMorvaEQ.eq-params.dyn", c, band, 100.0);
        }
    }
}

CRunResult runTogether(CAudioInstance& instance, const std::vector<CAudioParam*>& params,
                       const std::vector<CAudioParam*>& automated, CVariety variety, double seconds,
                       int blockSamples = 512)
{
    CRunResult result;
    instance.collector().reserveDelivered(256);
    setSession(instance);
    instance.environment().isProcessing = true;
    EXPECT_TRUE(succeeded(instance.graph().setLayout(std::vector<int>(sessionChannels, 0), 48000.0)));
    enum Phase
    {
        running,
        draining,
        quiet
    };
    std::atomic<int> phase{running};
    std::atomic<int> ready{0};
    std::atomic<int> stopped{0};
    std::atomic<int> compared{0};
    CAutomation automation;
    const auto window = [&](std::size_t index)
    {
        CWindow own(instance, params, variety, 77 + static_cast<unsigned>(index));
        ++ready;
        while (phase == running)
        {
            own.step();
            // A thousand commands a second, more than any hand moves: what the values of that time cost is to be seen,
            // not how many a processor can send.
            if (variety == CVariety::values)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        own.finish();
        ++stopped;
        while (phase != quiet)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        result.differences[index] = own.compare();
        // A window that goes ends what it left open, which the other one would see in the middle of its comparison.
        ++compared;
        while (compared != 2)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    std::thread windows[] = {std::thread(window, 0), std::thread(window, 1)};
    std::thread host(
        [&]
        {
            std::mt19937 random(5);
            while (phase == running)
            {
                automation.store();
                if (random() % 4 == 0)
                {
                    CAudioParam& param = *params[random() % params.size()];
                    if (param.info().type == CAudioParamType::real)
                        param.setValue(static_cast<int>(random() % 8), static_cast<int>(random() % 8),
                                       param.info().maxValue(0));
                }
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
            ++stopped;
        });

    const auto length = static_cast<std::size_t>(blockSamples);
    std::vector<double> music(length), trash(length);
    std::mt19937 random(9);
    for (double& sample : music)
        sample = static_cast<double>(random() % 2001) / 4000.0 - 0.25;
    const std::vector<const double*> in(sessionChannels, music.data());
    const std::vector<double*> out(sessionChannels, trash.data());
    result.blocks.reserve(200000);
    const auto block = [&](bool isAutomated)
    {
        CBlockCost cost;
        const long faultsBefore = pageFaults();
        const std::uint64_t changesBefore = instance.collector().deliveryCount();
        const auto begin = CClock::now();
        const CRealtimeGuard guard;
        for (int i = 0; i < 4 && isAutomated; ++i)
        {
            CAudioParam& param = *automated[random() % automated.size()];
            const double share = static_cast<double>(random() % 1000) / 999.0;
            const CAudioParamInfo& info = param.info();
            automation.deliver(instance.collector(),
                               {&param, static_cast<int>(random() % 8), static_cast<int>(random() % 4),
                                info.minValue(0) + share * (info.maxValue(0) - info.minValue(0)), 0});
        }
        instance.graph().process(in.data(), out.data(), sessionChannels, blockSamples);
        cost.waits = guard.lockWaits();
        cost.heapFaults = guard.faults() - cost.waits;
        cost.seconds = std::chrono::duration<double>(CClock::now() - begin).count();
        cost.changes = instance.collector().deliveryCount() - changesBefore;
        cost.pageFaults = pageFaults() - faultsBefore;
        return cost;
    };
    while (ready != 2)
        block(false);
    std::vector<double> first;
    for (int i = 0; i < 200; ++i)
        first.push_back(block(true).seconds);
    CYardstick yardstick;
    yardstick.fit(share(first, 0.5));
    result.yardstick.reserve(result.blocks.capacity());
    {
        const CAudioThreadRights rights;
        std::printf("real-time priority: %s, locked memory: %s\n", rights.hasPriority ? "yes" : "not permitted",
                    rights.hasMemory ? "yes" : "not permitted");
        const auto end = CClock::now() + std::chrono::duration<double>(seconds);
        const auto duration = std::chrono::microseconds(static_cast<long>(1e6 * blockSamples / 48000.0));
        auto next = CClock::now();
        constexpr std::size_t fewest = 50;          // however slow the machine
        while ((CClock::now() < end || result.blocks.size() < fewest) &&
               result.blocks.size() < result.blocks.capacity())
        {
            result.blocks.push_back(block(true));
            result.yardstick.push_back(yardstick.run());
            if (variety == CVariety::values)
                std::this_thread::sleep_until(next += duration);
            else
                std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
    }
    phase = draining;
    while (stopped != 3)
        block(false);
    host.join();
    automation.store();
    block(false);
    phase = quiet;
    for (std::thread& thread : windows)
        thread.join();
    return result;
}

void report(const CRunResult& result)
{
    print("blocks", result.times());
    print("yardstick", result.yardstick);
    const auto held = std::ranges::count_if(result.blocks, [](const CBlockCost& block) { return block.waits > 0; });
    std::printf("%td blocks met a held lock; %zu times the heap in all; the longest blocks:\n", held,
                result.heapFaults());
    std::vector<CBlockCost> worst = result.blocks;
    std::ranges::sort(worst, std::ranges::greater(), &CBlockCost::seconds);
    worst.resize(std::min<std::size_t>(worst.size(), 8));
    for (const CBlockCost& block : worst)
        std::printf("    %.0f us: %llu changes, %zu heap, %zu locks, %ld pages\n", 1e6 * block.seconds,
                    static_cast<unsigned long long>(block.changes), block.heapFaults, block.waits, block.pageFaults);
    EXPECT_EQ(result.differences[0], "");
    EXPECT_EQ(result.differences[1], "");
}

// A change made in a quiet instance, and the longest of the blocks that take it in.
struct CChangeCase
{
    const char* what;
    double mostMedians; // 0: in time for the next block, no more
    std::function<void(CAudioInstance&, bool)> make; // there and back
};

const CChangeCase changeCases[] = {
    {"a band's frequency", 3.0,
     [](CAudioInstance& instance, bool isBack)
     { instance.findParam("modMorvaEQ.eq-params.freq")->setValue(2, 4, isBack ? 300.0 : 5000.0); }},
    {"a band's gain in all groups", 3.0,
     [](CAudioInstance& instance, bool isBack)
     { instance.findParam("modMorvaEQ.eq-params.gain")->setValue(allGroups, 4, isBack ? 0.5 : 2.0); }},
    {"every band's frequency and gain", 0.0,
     [](CAudioInstance& instance, bool isBack)
     {
         for (const char* const key : {"modMorvaEQ.eq-params.freq", "modMorvaEQ.eq-params.gain"})
         {
             CAudioParam& param = *instance.findParam(key);
             const double middle = key[21] == 'f' ? 2000.0 : 1.0;
             for (int band = 0; band < sessionBands; ++band)
                 param.setValue(allGroups, band, middle * (isBack ? 0.5 : 1.5) + band);
         }
     }},
    {"a band's type", 0.0,
     [](CAudioInstance& instance, bool isBack)
     { instance.findParam("modMorvaEQ.eq-params.mode")->setValue(2, 5, isBack ? 4.0 : 1.0); }},
    {"a band's type in all groups", 0.0,
     [](CAudioInstance& instance, bool isBack)
     { instance.findParam("modMorvaEQ.eq-params.mode")->setValue(allGroups, 5, isBack ? 4.0 : 1.0); }},
    {"every band's type", 0.0,
     [](CAudioInstance& instance, bool isBack)
     {
         for (int band = 0; band < sessionBands; ++band)
             instance.findParam("modMorvaEQ.eq-params.mode")->setValue(allGroups, band, isBack ? 4.0 : 1.0);
     }},
    {"one band more in a group", 0.0,
     [](CAudioInstance& instance, bool isBack)
     { instance.findParam("modMorvaEQ.eq-params.band-count")->setValue(2, 0, sessionBands + (isBack ? 0 : 1)); }},
    {"a routed input", 0.0,
     [](CAudioInstance& instance, bool isBack)
     { instance.findParam("io-params.in-routing")->setValue(0, 3, isBack ? 4.0 : 3.0); }},
    {"oversampling", 0.0,
     [](CAudioInstance& instance, bool isBack)
     { instance.findParam("oversampling")->setValue(0, 0, isBack ? 1.0 : 2.0); }},
    {"a program", 0.0,
     [](CAudioInstance& instance, bool isBack) { instance.registry().setCurrentProgram(isBack ? 0 : 1); }},
};

}

// Without other threads and as the best of many turns, so that what the machine takes away does not count.
TEST(InterfaceStress, WhatAChangeCostsTheBlocksThatTakeIt)
{
    if (!isLong())
        GTEST_SKIP() << "a measurement: MORVA_LONG=1 takes it";
    constexpr int turns = 30;
    for (const CChangeCase& row : changeCases)
    {
        CProductTree product;
        CAudioInstance instance;
        ASSERT_TRUE(succeeded(instance.create()));
        setSession(instance);
        instance.environment().isProcessing = true;
        ASSERT_TRUE(succeeded(instance.graph().setLayout(std::vector<int>(sessionChannels, 0), 48000.0)));
        std::vector<double> music(512, 0.1), trash(512);
        const std::vector<const double*> in(sessionChannels, music.data());
        const std::vector<double*> out(sessionChannels, trash.data());
        const auto run = [&]
        {
            const auto begin = CClock::now();
            instance.graph().process(in.data(), out.data(), sessionChannels, 512);
            return std::chrono::duration<double>(CClock::now() - begin).count();
        };
        std::vector<double> steady, best[2];
        for (double& sample : music)
            sample = 0.25 * std::sin(0.05 * static_cast<double>(&sample - music.data()));
        for (int turn = 0; turn < 2 * turns; ++turn)
        {
            for (int i = 0; i < 30; ++i)
                if (const double time = run(); i > 10 && turn % 2 == 0)
                    steady.push_back(time);
            row.make(instance, turn % 2 == 1);
            std::vector<double>& least = best[turn % 2];
            least.resize(12, 1.0);
            for (double& time : least)
                time = std::min(time, run());
        }
        const double first = std::max(best[0][0], best[1][0]);
        const double median = share(steady, 0.5);
        const double longest = std::max(std::ranges::max(best[0]), std::ranges::max(best[1]));
        std::printf("%-34s median %4.0f us, first %5.0f us, longest %5.0f us (%.1f medians)\n", row.what, 1e6 * median,
                    1e6 * first, 1e6 * longest, longest / median);
        EXPECT_LT(longest, row.mostMedians > 0.0 ? row.mostMedians * median : 512 / 48000.0) << row.what;
    }
}

// MORVA_LONG=1 takes a minute for each mix and length of blocks.
TEST(InterfaceStress, WindowsHostAndSoundAgreeInTheEnd)
{
    CInterfaceFixture f;
    std::vector<CAudioParam*> params, automated;
    f.instance.collector().forEachParam(
        [&](CAudioParam& param)
        {
            if (param.info().isStorable && f.instance.collector().findParam(param.fullName()) == &param)
                params.push_back(&param);
        });
    for (const char* const key : {"freq", "gain", "bw"})
        automated.push_back(&f.param(std::string("modMorvaEQ.eq-params.") + key));
    report(runTogether(f.instance, params, automated, CVariety::everything, isLong() ? 60.0 : 1.0));
}

TEST(InterfaceStress, TheAudioThreadNeitherAllocatesNorIsHeldUp)
{
    // Where the machine takes the processor away for milliseconds, only the blocks of a host that takes long ones show
    // what the instance itself adds to a block.
    for (const int blockSamples : {512, 8192})
    {
        if (blockSamples > 512 && !isLong())
            break;
        CInterfaceFixture f;
        std::vector<CAudioParam*> params;
        for (const char* const key : {"eq-params.freq", "eq-params.gain", "eq-params.bw", "eq-params.dyn",
                                      "spectrum-params.slope", "spectrum-params.mode-name"})
            params.push_back(&f.param(std::string("modMorvaEQ.") + key));
        const std::vector<CAudioParam*> automated(params.begin(), params.begin() + 3);
        const CRunResult result =
            runTogether(f.instance, params, automated, CVariety::values, isLong() ? 60.0 : 1.0, blockSamples);
        report(result);
        EXPECT_EQ(result.heapFaults(), 0u);
        if (!isLong())
            continue;
        if (blockSamples == 512)
        {
            // Two in a thousand more than of the machine's own.
            EXPECT_LE(countLong(result.times()), countLong(result.yardstick) + result.blocks.size() / 500);
        }
        else
        {
            EXPECT_EQ(countLong(result.times()), 0u);
        }
    }
}

}
