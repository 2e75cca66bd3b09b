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
#include <cstdlib>
#include <memory>
#include <random>
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

struct CRunResult
{
    std::array<std::string, 2> differences;
    std::size_t heapFaults = 0; // of the audio thread, but for locks
    std::uint64_t blocks = 0;
    double medianSeconds = 0.0;
    double longestSeconds = 0.0;
    std::uint64_t waits = 0;                        // blocks that found a lock held
    double longestWaitSeconds = 0.0;                // of these blocks
};

CRunResult runTogether(CAudioInstance& instance, const std::vector<CAudioParam*>& params,
                       const std::vector<CAudioParam*>& automated, CVariety variety, double seconds)
{
    CRunResult result;
    instance.collector().reserveDelivered(256);
    instance.environment().isProcessing = true;
    EXPECT_TRUE(succeeded(instance.graph().setLayout(std::vector<int>{0, 0}, 48000.0)));
    enum Phase
    {
        running,
        draining,
        quiet
    };
    std::atomic<int> phase{running};
    std::atomic<int> stopped{0};
    std::atomic<int> compared{0};
    CAutomation automation;
    const auto window = [&](std::size_t index)
    {
        CWindow own(instance, params, variety, 77 + static_cast<unsigned>(index));
        while (phase == running)
            own.step();
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

    std::vector<double> silence(512, 0.25), left(512), right(512);
    const double* in[] = {silence.data(), silence.data()};
    double* out[] = {left.data(), right.data()};
    std::vector<double> times;
    times.reserve(2000000);
    std::mt19937 random(9);
    const auto block = [&](bool isAutomated)
    {
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
        instance.graph().process(in, out, 2, 64);
        if (++result.blocks > 200)
            result.heapFaults += guard.faults() - guard.lockWaits();
        const double taken = std::chrono::duration<double>(CClock::now() - begin).count();
        if (times.size() < times.capacity())
            times.push_back(taken);
        if (guard.lockWaits() > 0)
        {
            ++result.waits;
            result.longestWaitSeconds = std::max(result.longestWaitSeconds, taken);
        }
    };
    const auto end = CClock::now() + std::chrono::duration<double>(seconds);
    while (CClock::now() < end)
    {
        block(true);
        std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
    phase = draining;
    while (stopped != 3)
    {
        block(false);
        std::this_thread::yield();
    }
    host.join();
    automation.store();
    block(false);
    phase = quiet;
    for (std::thread& thread : windows)
        thread.join();
    std::ranges::sort(times);
    result.medianSeconds = times[times.size() / 2];
    result.longestSeconds = times.back();
    return result;
}

void report(const CRunResult& result)
{
    std::printf("%llu blocks, median %.1f us, longest %.1f us; %llu found a lock held, longest %.1f us\n",
                static_cast<unsigned long long>(result.blocks), 1e6 * result.medianSeconds, 1e6 * result.longestSeconds,
                static_cast<unsigned long long>(result.waits), 1e6 * result.longestWaitSeconds);
    EXPECT_EQ(result.differences[0], "");
    EXPECT_EQ(result.differences[1], "");
    EXPECT_GT(result.blocks, 100u);
}

}

// MORVA_LONG=1 takes a minute.
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
    report(runTogether(f.instance, params, automated, CVariety::everything, isLong() ? 40.0 : 1.0));
}

TEST(InterfaceStress, TheAudioThreadNeitherAllocatesNorIsHeldUp)
{
    CInterfaceFixture f;
    std::vector<CAudioParam*> params;
    for (const char* const key : {"eq-params.freq", "eq-params.gain", "eq-params.bw", "eq-params.dyn",
                                  "spectrum-params.slope", "spectrum-params.mode-name"})
        params.push_back(&f.param(std::string("modMorvaEQ.") + key));
    const std::vector<CAudioParam*> automated(params.begin(), params.begin() + 3);
    const CRunResult result = runTogether(f.instance, params, automated, CVariety::values, isLong() ? 20.0 : 1.0);
    report(result);
    EXPECT_EQ(result.heapFaults, 0u);
    // Blocks that no lock held up are left out: the system may take the thread away at any time.
    if (isLong())
    {
        EXPECT_LT(result.longestWaitSeconds, 3.0 * result.medianSeconds + 0.02);
    }
}

}
