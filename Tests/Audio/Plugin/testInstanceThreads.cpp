// SPDX-License-Identifier: GPL-3.0-or-later
// Instances under all that may come at once: windows, a host, sound, other instances. About a second each, a minute with
// MORVA_LONG=1. What was changed by many at once must end up the same in store, sound and project; that nothing was
// touched unguarded on the way is for the thread sanitizer to say.
#include "Audio/Parameters/CAudioPresetNameList.h"
#include "Core/CMemoryReader.h"
#include "Core/CSharedAttribute.h"
#include "Core/CWriteSeqBuffer.h"
#include "Platform/CEventLoop.h"
#include "StateTestKit.h"
#include "Support/CTestTree.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>

namespace kor::test
{
namespace
{

using CClock = std::chrono::steady_clock;

constexpr int soundChannels = 2;
constexpr const char* dynModes = "dynmode-presets";

CClock::time_point endOfRun()
{
    return CClock::now() + std::chrono::milliseconds(std::getenv("MORVA_LONG") != nullptr ? 60000 : 1000);
}

double secondsSince(CClock::time_point start)
{
    return std::chrono::duration<double>(CClock::now() - start).count();
}

// What one thread is busy with, to be looked at from another one, and how long it took at most.
class CTimed
{
public:
    template <class Call>
    void run(const char* what, Call&& call)
    {
        const CClock::time_point start = CClock::now();
        since = start;
        running = what;
        call();
        running = nullptr;
        ++count;
        if (const double seconds = secondsSince(start); seconds > longest)
        {
            longest = seconds;
            longestWhat = what;
        }
    }

    /// Threads that wait for each other end no test; so this ends the process and says where.
    void endTheProcessIfStuck() const
    {
        const char* const what = running;
        if (what == nullptr || secondsSince(since) < 30.0)
            return;
        std::fprintf(stderr, "Stuck in '%s'.\n", what);
        std::abort();
    }

    void expectNoStall(const char* who) const
    {
        std::printf("%s: %zu, the longest %.1f ms (%s)\n", who, count, longest * 1e3, longestWhat);
        EXPECT_GT(count, 0u) << who;
        EXPECT_LT(longest, 5.0) << who << ", " << longestWhat;
    }

private:
    std::size_t count = 0;
    double longest = 0.0;
    const char* longestWhat = "";
    std::atomic<const char*> running{nullptr};
    std::atomic<CClock::time_point> since{CClock::now()};
};

void load(CAudioInstance& instance, const CByteArray& project)
{
    CMemoryReader reader(project);
    EXPECT_TRUE(succeeded(instance.loadState(reader)));
}

CByteArray save(CAudioInstance& instance)
{
    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(instance.saveState(out)));
    return out.getContents();
}

template <class List>
auto& anyOf(List& list, std::mt19937& random)
{
    return list[random() % std::size(list)];
}

void turnAnyKnob(CAudioInstance& instance, std::mt19937& random, CAudioParamUndoContext* undo)
{
    const CKnob& knob = anyOf(equalizerKnobs(), random);
    CAudioParam& param = *instance.findParam(CStringBuf(knob.key));
    const int group = static_cast<int>(random() % static_cast<unsigned>(knob.groups));
    CAudioParamRegistry::markUser(param, group, undo);
    param.setValue(group, static_cast<int>(random() % static_cast<unsigned>(knob.elements)), anyOf(knob.values, random),
                   undo);
}

/// One instance, what users and hosts may bring to it, and what the audio thread was sent by its host.
struct CStage
{
    struct CRegistry
    {
        CAudioParamRegistry* registry;
        CByteArray first;                           // as a new instance has it
        std::vector<CByteArray> presets;
    };
    struct CEvent
    {
        CAudioParam* param;
        int group;
        double value;
        std::uint64_t mark;
    };

    explicit CStage(CAudioInstance& driven)
        : instance(driven), master(driven.registry()), history(historyOf(driven))
    {
        CTestEqualizer maker;
        std::mt19937 random(7);
        for (const char* id : {"q7ne", "KRIO", "q7ne0", "q7ne1", "KRSP", "KREA"})
            registries.push_back({driven.findRegistry(id), captured(*maker.instance.findRegistry(id)), {}});
        for (int version = 0; version < 3; ++version)
        {
            for (int i = 0; i < 100; ++i)
                turnAnyKnob(maker.instance, random, nullptr);
            projects.push_back(save(maker.instance));
            for (CRegistry& each : registries)
                each.presets.push_back(captured(*maker.instance.findRegistry(each.registry->id())));
        }
    }

    /// The values of a new instance become the defaults, with every element that those have.
    void setDefaults(CAudioInstance& target) const
    {
        for (const CRegistry& each : registries)
        {
            CMemoryReader reader(each.first);
            target.findRegistry(each.registry->id())->setDefaultPreset(reader);
        }
    }

    void storeEvents()
    {
        for (;;)
        {
            std::unique_lock hold(eventLock);
            if (events.empty())
                return;
            const CEvent event = events.front();
            events.pop_front();
            hold.unlock();
            CAudioParamRequest request;
            request.group = event.group;
            request.values = &event.value;
            event.param->storeDelivered(request, event.mark);
        }
    }

    CAudioInstance& instance;
    CAudioParamRegistry& master;
    CAudioParamUndo& history;
    std::vector<CRegistry> registries;
    std::vector<CByteArray> projects;
    std::mutex eventLock;
    std::deque<CEvent> events;                      // in the order in which the audio thread heard them
};

struct CCommand
{
    const char* what;
    void (*run)(CStage& stage, std::mt19937& random);
};

const CCommand windowCommands[] = {
    {"edit", [](CStage& stage, std::mt19937& random)
     {
         auto record = stage.history.createRecord("edit", random() % 2 == 0, static_cast<int>(random() % 3));
         CAudioParamBatch batch(stage.instance.collector());
         CAudioParamChangeScope scope(random() % 2 == 0 ? &batch : nullptr);
         for (unsigned i = 1 + random() % 6; i > 0; --i)
             turnAnyKnob(stage.instance, random, record.get());
         stage.history.submit(std::move(record));
     }},
    {"dynamics mode", [](CStage& stage, std::mt19937& random)
     {
         auto record = stage.history.createRecord("mode");
         stage.instance.findParam("modMorvaEQ.dynmode")
             ->setValue(static_cast<int>(random() % 8), 0, random() % 4, record.get());
         stage.history.submit(std::move(record));
     }},
    {"step in the history", [](CStage& stage, std::mt19937& random)
     {
         CArray<CStringBuf> labels;
         int position = 0;
         stage.history.getHistory(labels, position);
         stage.history.setPosition(position + (random() % 2 == 0 ? -1 : 1));
     }},
    {"jump in the history", [](CStage& stage, std::mt19937& random)
     { stage.history.setPosition(static_cast<int>(random() % 20)); }},
    {"program", [](CStage& stage, std::mt19937& random)
     { stage.master.setCurrentProgram(static_cast<int>(random() % 12) - 1); }},
    {"A/B", [](CStage& stage, std::mt19937&) { stage.master.exchangeShadowPreset(); }},
    {"keep as B", [](CStage& stage, std::mt19937&) { stage.master.updateShadowPreset(); }},
    {"preset", [](CStage& stage, std::mt19937& random)
     {
         const CStage::CRegistry& target = anyOf(stage.registries, random);
         EXPECT_EQ(activate(*target.registry, anyOf(target.presets, random),
                            random() % 2 == 0 ? everyIndex : static_cast<int>(random() % 8),
                            CAudioPresetScope::storable, CAudioPresetUndo::recorded), "");
     }},
    {"factory preset", [](CStage& stage, std::mt19937& random)
     { stage.master.activateFactoryPreset(static_cast<int>(random() % 11)); }},
    {"rename", [](CStage& stage, std::mt19937& random)
     {
         const CStringBuf title = CStringBuf::fromInt(static_cast<int>(random() % 100));
         if (random() % 2 == 0)
             stage.master.renamePreset(static_cast<int>(random() % 3), title);
         else
             stage.instance.findParam("preset-name")->setText(0, 0, title);
     }},
    {"defaults", [](CStage& stage, std::mt19937&) { stage.setDefaults(stage.instance); }},
    {"reset", [](CStage& stage, std::mt19937&) { stage.master.activateDefaultPreset(); }},
    {"copy of a preset", [](CStage& stage, std::mt19937& random)
     { captured(*anyOf(stage.registries, random).registry, static_cast<int>(random() % 9) - 1); }},
};

const CCommand hostCommands[] = {
    {"save", [](CStage& stage, std::mt19937&) { save(stage.instance); }},
    {"load", [](CStage& stage, std::mt19937& random) { load(stage.instance, anyOf(stage.projects, random)); }},
    {"host's program", [](CStage& stage, std::mt19937& random)
     { stage.master.setCurrentProgram(static_cast<int>(random() % 11)); }},
    {"program names", [](CStage& stage, std::mt19937&)
     {
         for (int i = 0; i < stage.master.getProgramCount(); ++i)
             EXPECT_TRUE(stage.master.getProgramName(i).startsWith("q7ne:"));
         EXPECT_LT(stage.master.getCurrentProgram(), 11);
     }},
    {"host's parameter", [](CStage& stage, std::mt19937& random) { turnAnyKnob(stage.instance, random, nullptr); }},
    {"automation", [](CStage& stage, std::mt19937&) { stage.storeEvents(); }},
};

/// Processes blocks of any length, with automation in between and a stop now and then.
class CSoundLoop
{
public:
    CSoundLoop(CTestEqualizer& sounding, CStage& all) : equalizer(sounding), stage(all) {}

    void step(CTimed& timed)
    {
        if (random() % 4 == 0)
            automate();
        const CSignals in = noises(soundChannels, 1 + random() % 512, static_cast<unsigned>(random() % 1000));
        CSignals out;
        timed.run("block", [&] { out = equalizer.run(in); });
        for (const CSignal& channel : out)
            EXPECT_LT(largestValue(channel), 1e6);
        if (random() % 200 != 0)
            return;
        equalizer.instance.environment().isProcessing = false;
        equalizer.instance.graph().stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 20));
        equalizer.instance.environment().isProcessing = true;
        EXPECT_TRUE(succeeded(equalizer.instance.graph().takeError()));
    }

private:
    void automate()
    {
        const CKnob& knob = anyOf(equalizerKnobs(), random);
        CStage::CEvent event = {stage.instance.findParam(CStringBuf(knob.key)),
                                static_cast<int>(random() % static_cast<unsigned>(knob.groups)),
                                anyOf(knob.values, random), 0};
        CAudioParamRequest request;
        request.group = event.group;
        request.values = &event.value;
        event.mark = stage.instance.collector().deliver(*event.param, request);
        const std::lock_guard hold(stage.eventLock);
        stage.events.push_back(event);
    }

    CTestEqualizer& equalizer;
    CStage& stage;
    std::mt19937 random{5};
};

struct CNameReader : CAudioParamRegistryListener
{
    void onProgramsChanged(CAudioParamRegistry& registry, const CAudioParamRegistryListener*) override
    {
        calls += registry.getProgramName(registry.getCurrentProgram()).isEmpty() ? 0 : 1;
    }
    std::atomic<int> calls{0};
};

/// Gives what no project keeps a value.
void setTheRest(CTestEqualizer& equalizer)
{
    for (const CKnob& knob : equalizerKnobs())
        for (int g = 0; g < knob.groups; ++g)
            if (!equalizer.instance.findParam(CStringBuf(knob.key))->info().isStorable)
                equalizer.set(knob.key, knob.values.front(), g);
    // The times of the dynamics may have been edited since; a mode sets them all.
    for (int g = 0; g < 8; ++g)
        equalizer.set("modMorvaEQ.dynmode", 1, g);
}

}

TEST(InstanceThreads, WindowsHostAndSoundMeetInOneInstance)
{
    CTestEqualizer equalizer;
    CStage stage(equalizer.instance);
    stage.setDefaults(equalizer.instance);
    CNameReader listener;
    stage.master.addListener(listener);
    equalizer.start(soundChannels);

    std::atomic<bool> isOver{false};
    std::atomic<int> running{0};
    std::vector<std::thread> threads;
    const auto start = [&](auto&& step)
    {
        ++running;
        threads.emplace_back([&isOver, &running, step]() mutable
        {
            while (!isOver)
                step();
            --running;
        });
    };
    const auto commander = [&](std::span<const CCommand> commands, CTimed& timed, unsigned seed)
    {
        return [&stage, &timed, commands, random = std::mt19937(seed)]() mutable
        {
            const CCommand& command = anyOf(commands, random);
            timed.run(command.what, [&] { command.run(stage, random); });
            // Whoever never pauses keeps the locks from the others.
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        };
    };
    CTimed blocks, windows[2], host;
    CSoundLoop sound(equalizer, stage);
    start([&] { sound.step(blocks); });
    start(commander(windowCommands, windows[0], 1));
    start(commander(windowCommands, windows[1], 2));
    start(commander(hostCommands, host, 3));
    for (const CClock::time_point end = endOfRun(); running > 0; isOver = CClock::now() > end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        for (const CTimed* timed : {&blocks, &windows[0], &windows[1], &host})
            timed->endTheProcessIfStuck();
    }
    for (std::thread& thread : threads)
        thread.join();
    stage.master.removeListener(listener);
    blocks.expectNoStall("blocks");
    windows[0].expectNoStall("commands of a window");
    windows[1].expectNoStall("commands of another");
    host.expectNoStall("calls of the host");
    EXPECT_GT(listener.calls, 0);

    stage.storeEvents();
    setTheRest(equalizer);
    CTestEqualizer fresh;
    stage.setDefaults(fresh.instance);
    setTheRest(fresh);
    load(fresh.instance, save(equalizer.instance));
    EXPECT_EQ(differences(snapshot(equalizer.instance, CSnapshotOf::projects),
                          snapshot(fresh.instance, CSnapshotOf::projects)), "");
    fresh.start(soundChannels);
    expectSameSound(equalizer, fresh, soundChannels);
}

// What they share are the data stores: settings shown by their windows, the list of dynamics modes, the user's defaults.
TEST(InstanceThreads, InstancesThatShareSettingsComeAndGo)
{
    CTestEqualizer lasting;
    const CByteArray defaults = captured(lasting.instance.registry());
    const CAudioPresetBank modes = builtInList(CLocalData::instance(), dynModes);
    const auto writeModes = [&](std::size_t first)
    {
        CAudioPresetBank turned;
        for (std::size_t i = 0; i < modes.size(); ++i)
            turned.append() = modes.preset((first + i) % modes.size());
        CWriteSeqBuffer out;
        EXPECT_TRUE(succeeded(CAudioPresetBank::saveList(out, {turned})));
        const CByteArray bytes = out.getContents();
        CLocalData::instance().write(dynModes, bytes.data(), bytes.size(), CAudioPresetBank::listId);
    };

    const CClock::time_point end = endOfRun();
    std::atomic<int> received{0};
    std::atomic<int> lives{0};
    const auto live = [&](unsigned seed)
    {
        const std::shared_ptr<CEventLoop> loop = CEventLoop::ofThisThread();
        std::mt19937 random(seed);
        // A machine under load may need longer until the two meet.
        for (; CClock::now() < end + std::chrono::seconds(received == 0 ? 20 : 0); ++lives)
        {
            CTestEqualizer equalizer;
            CObject* ui = nullptr;
            EXPECT_TRUE(succeeded(equalizer.instance.registry().parent()->createChild(ui, "ui:ui-event-bridge", "ui", false)));
            std::vector<CSharedAttribute*> settings;
            for (const char* isGlobal : {"true", "false"})
            {
                CAttrMap attrs;
                attrs["attribute"].setString("value");
                attrs["is-global"].setString(isGlobal);
                attrs["data-name"].setString("thread-test");
                attrs["def-value"].setString("start");
                EXPECT_TRUE(succeeded(ui->createChild(settings.emplace_back(), "core:shared-attribute", isGlobal, false,
                                                      nullptr, &attrs)));
            }
            if (random() % 4 == 0)
                equalizer.start(soundChannels);
            for (unsigned step = random() % 16; step > 0; --step)
            {
                CSharedAttribute& setting = *anyOf(settings, random);
                const CStringBuf before = setting.getAttrString("value");
                loop->dispatch();
                received += setting.getAttrString("value") == before ? 0 : 1;
                switch (random() % 8)
                {
                case 0:
                case 1:
                    EXPECT_TRUE(succeeded(setting.save(CStringBuf::fromInt(static_cast<int>(random() % 1000)))));
                    break;
                case 2:
                    writeModes(random() % modes.size());
                    break;
                case 3:
                    CLocalData::instance().write("default-preset", defaults.data(), defaults.size(),
                                                 CAudioPreset::fileId);
                    break;
                case 4:
                    equalizer.set("modMorvaEQ.dynmode", static_cast<double>(random() % 4), static_cast<int>(random() % 8));
                    break;
                case 5:
                    load(equalizer.instance, save(equalizer.instance));
                    break;
                case 6:
                    equalizer.instance.registry().update();
                    break;
                default:
                    if (equalizer.instance.environment().isProcessing)
                        equalizer.run(noises(soundChannels, 512, seed));
                }
            }
        }
    };
    std::thread first(live, 1u);
    std::thread second(live, 2u);
    std::vector<std::unique_ptr<CTestEqualizer>> late;
    for (std::size_t next = 0; CClock::now() < end; ++next)
    {
        late.resize(4);
        late[next % late.size()] = std::make_unique<CTestEqualizer>();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    first.join();
    second.join();
    std::printf("%d instances, %d changes seen from another\n", lives.load(), received.load());
    EXPECT_GT(received, 0);

    // Who came meanwhile has the same as who was there all the time, and all follow what is written now.
    const auto attackOf = [&](CTestEqualizer& equalizer, int mode)
    {
        equalizer.set("modMorvaEQ.dynmode", mode);
        return equalizer.instance.findParam("modMorvaEQ.dyn-params.attack")->getValue(0, 0);
    };
    for (const auto& each : late)
    {
        if (each == nullptr)
            continue;
        for (int mode = 0; mode < 3; ++mode)
            EXPECT_EQ(attackOf(*each, mode), attackOf(lasting, mode)) << mode;
    }
    writeModes(0);
    const double attack = attackOf(lasting, 1);
    writeModes(1);
    EXPECT_EQ(attackOf(lasting, 0), attack);
    EXPECT_NE(attackOf(lasting, 1), attack);
    writeModes(0);
    CLocalData::instance().write("default-preset", nullptr, 0, CAudioPreset::fileId);
}

}
