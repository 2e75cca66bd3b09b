// SPDX-License-Identifier: GPL-3.0-or-later
// Instances of one process that show each other's spectra.
#include "Other/Interface/CAudioVizSlotManager.h"
#include "Other/Interface/CExportSlotNameListener.h"
#include "VizTestKit.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace kor::test
{
namespace
{

class CNameCount : public CExportSlotNameListener
{
public:
    void onExportSlotNames() override { ++count; }
    int count = 0;
};

}

TEST(VizImport, ASpectrumGoesToItsOwnDisplayAndToAnotherInstance)
{
    CVizTree tree;
    CVizInstance a(tree, "a");
    CVizInstance b(tree, "b");
    a.set("export", 2, 0, 5.0);
    a.run();
    b.viz->addImport(4, spectrumName);
    b.viz->addImport(48, spectrumName);             // there is none
    EXPECT_EQ(a.enabled(spectrumName), 0.0);
    a.run();
    EXPECT_EQ(a.enabled(spectrumName), 1.0);        // another's look brings the module in
    EXPECT_EQ(b.enabled(spectrumName), 0.0);

    a.postSpectrum(1.0, 2);
    a.postSpectrum(9.0, 3);                         // of a group that exports nothing, and nobody here listens
    a.viz->addLocalListener(a.viz->getSlot(spectrumName));
    a.run(0.1);
    a.postSpectrum(2.0, 2);
    CVizContent own = a.fetch();
    ASSERT_EQ(own.items.size(), 1u);
    EXPECT_EQ(own.value(0), 2.0);
    EXPECT_EQ(own.items[0].data->source, -1);
    EXPECT_EQ(own.items[0].data->time, a.env->time);
    CVizContent seen = b.fetch();
    ASSERT_EQ(seen.items.size(), 2u);
    EXPECT_EQ(seen.items[0].name, spectrumName.toUtf8());
    EXPECT_EQ(seen.value(0), 1.0);                  // oldest first
    EXPECT_EQ(seen.value(1), 2.0);
    EXPECT_EQ(seen.items[1].data->source, 4);
    EXPECT_EQ(seen.items[1].data->time, 0.0);
    EXPECT_EQ(seen.items[1].data->group, 2);
    EXPECT_TRUE(b.fetch().items.empty());

    // Without its own display the object itself is exported; without the other's, nothing is.
    a.viz->removeLocalListener(a.viz->getSlot(spectrumName));
    a.run();
    a.postSpectrum(3.0, 2);
    EXPECT_TRUE(a.fetch().items.empty());
    EXPECT_EQ(b.fetch().value(0), 3.0);
    b.viz->removeImport(4, spectrumName);
    b.viz->removeImport(4, spectrumName);           // once too often
    a.run();
    EXPECT_EQ(a.enabled(spectrumName), 0.0);
    EXPECT_EQ(a.viz->getSlot(spectrumName).groupListenerCount, 0);
}

// Each reader gets an entry once; the last that is expected takes it away; nobody's stays longer than 0.75 s.
TEST(VizImport, EntriesGoWhenReadOrOld)
{
    CVizTree tree;
    CVizInstance a(tree, "a");
    CVizInstance b(tree, "b");
    CVizInstance c(tree, "c");
    a.set("export", 0, 0, 1.0);
    b.viz->addImport(0, meterName);
    c.viz->addImport(0, meterName);
    a.run();
    a.postMeter(1.0);
    EXPECT_EQ(b.fetch().value(0), 1.0);
    EXPECT_TRUE(b.fetch().items.empty());
    a.run(0.5);
    a.postMeter(2.0);
    a.run(0.5);
    EXPECT_EQ(c.fetch().value(0), 2.0);             // the first one waited too long for c
    CVizContent later = b.fetch();
    ASSERT_EQ(later.items.size(), 1u);
    EXPECT_EQ(later.value(0), 2.0);
    // An instance that comes later sees only what not everybody has had.
    a.postMeter(3.0);
    b.fetch();
    CVizInstance d(tree, "d");
    d.viz->addImport(0, meterName);
    a.run();
    EXPECT_EQ(d.fetch().value(0), 3.0);
    EXPECT_TRUE(c.fetch().items.empty());           // two were expected, two have read it
    a.postMeter(4.0);
    a.viz->clearPending();
    EXPECT_TRUE(b.fetch().items.empty());
}

// The earlier of two keeps the channel, the later one's text shows.
TEST(VizImport, TwoInstancesOnOneSlot)
{
    CVizTree tree;
    CNameCount told;
    CVizInstance reader(tree, "reader");
    reader.viz->setNameListener(&told);
    reader.fetch();
    EXPECT_EQ(told.count, 1);                       // the first data bring the names
    reader.viz->addImport(7, spectrumName);
    auto a = std::make_unique<CVizInstance>(tree, "a");
    {
        CVizInstance b(tree, "b");
        a->set("export", 1, 0, 8.0);
        a->set("color", 1, 0, 3.0);
        a->run();
        EXPECT_EQ(reader.exportNames(), "7=8: a (G2)|color=3;");
        b.set("export", 0, 0, 8.0);
        b.run();
        EXPECT_EQ(reader.exportNames(), "7=8: b (G1)|color=0;");
        reader.fetch();
        reader.fetch();
        EXPECT_EQ(told.count, 2);
        b.params->findParam("plugin.modMain.instance-name")->setText(0, 0, "");
        b.params->findParam("plugin.modMain.io-params.group-names")->setText(0, 0, "{x}");
        EXPECT_EQ(reader.exportNames(), "7=8:  ({x})|color=0;");

        a->run();
        b.run();
        EXPECT_EQ(a->enabled(spectrumName), 1.0);
        EXPECT_EQ(b.enabled(spectrumName), 0.0);
        a->postSpectrum(1.0, 1);
        b.postSpectrum(2.0, 0);
        EXPECT_EQ(reader.fetch().items.size(), 1u);
        a->set("export", 1, 0, 0.0);                // the channel is free now, but b has to ask for it anew
        a->run();
        EXPECT_EQ(a->enabled(spectrumName), 0.0);
        b.run();
        EXPECT_EQ(b.enabled(spectrumName), 0.0);
        b.set("export", 0, 0, 9.0);
        b.run();
        b.set("export", 0, 0, 8.0);
        b.run();
        EXPECT_EQ(b.enabled(spectrumName), 1.0);    // its listeners waited at the slot
        b.postSpectrum(3.0, 0);
        EXPECT_EQ(reader.fetch().value(0), 3.0);
    }
    EXPECT_EQ(reader.exportNames(), "");
    EXPECT_EQ(reader.fetch().items.size(), 0u);

    // Groups of one instance may exchange their slots in one block.
    reader.viz->addImport(8, spectrumName);
    a->set("export", 0, 0, 8.0);
    a->set("export", 1, 0, 9.0);
    a->run();
    a->set("export", 0, 0, 9.0);
    a->set("export", 1, 0, 8.0);
    a->run();
    a->postSpectrum(4.0, 0);
    a->postSpectrum(5.0, 1);
    const CVizContent exchanged = reader.fetch();
    ASSERT_EQ(exchanged.items.size(), 2u);
    EXPECT_EQ(exchanged.value(0), 5.0);
    EXPECT_EQ(exchanged.value(1), 4.0);
}

// What a dead instance had asked for is no longer measured; what it had shown may be read to its end.
TEST(VizImport, InstancesDieInAnyOrder)
{
    CVizTree tree;
    auto a = std::make_unique<CVizInstance>(tree, "a");
    auto b = std::make_unique<CVizInstance>(tree, "b");
    a->set("export", 0, 0, 1.0);
    b->viz->addImport(0, spectrumName);
    a->run();
    a->postSpectrum(1.0);
    CArray<CAudioVizDataPtr> held;
    CAudioVizSlotManager::get().channel(0).read(spectrumName, b->viz->instanceId(), held);
    ASSERT_EQ(held.size(), 1u);
    a.reset();
    EXPECT_EQ(held[0].as<CAudioVizDataSpectrum>()->values.front(), 1.0);
    held.clear();
    EXPECT_EQ(b->exportNames(), "");

    a = std::make_unique<CVizInstance>(tree, "a");
    a->set("export", 0, 0, 1.0);
    a->run();
    EXPECT_EQ(a->enabled(spectrumName), 1.0);
    b.reset();
    a->run();
    EXPECT_EQ(a->enabled(spectrumName), 0.0);
}

TEST(VizImport, ExportsWithoutAllocatingInTheSteadyState)
{
    CVizTree tree;
    CVizInstance a(tree, "a");
    CVizInstance b(tree, "b");
    a.set("export", 0, 0, 1.0);
    a.viz->addLocalListener(a.viz->getSlot(spectrumName));
    b.viz->addImport(0, spectrumName);
    std::size_t faults = 0;
    for (int frame = 0; frame < 200; ++frame)
    {
        const CRealtimeGuard guard;
        a.env->time += 1.0 / 30.0;
        a.viz->frameUpdate();
        a.postSpectrum(frame, 0, 4097);
        if (frame >= 60)
            faults += guard.faults();
        a.fetch();
        if (frame % 50 >= 25)                       // nobody reads, and the entries grow old
            continue;
        const CVizContent seen = b.fetch();
        EXPECT_EQ(seen.value(seen.items.size() - 1), frame);
    }
    EXPECT_EQ(faults, 0u);
}

// Two audio threads that export by turns and change their slots, three windows that read, and instances that come and go.
TEST(VizImport, ThreadsMeetNowhereButInTheChannels)
{
    CVizTree tree;
    std::atomic<bool> isOver{false};
    std::atomic<int> seen{0};
    CVizInstance a(tree, "a");
    CVizInstance b(tree, "b");
    CVizInstance reader(tree, "reader");
    const auto play = [&isOver](CVizInstance& instance)
    {
        CAudioVizSlot& slot = instance.viz->getSlot(spectrumName);
        for (int i = 0; !isOver; ++i)
        {
            instance.env->time += 0.01;
            instance.viz->frameUpdate();
            for (int g = 0; g < 2; ++g)
            {
                auto spectrum = instance.viz->makeSpectrum(slot, 65);
                std::ranges::fill(spectrum->values, i);
                spectrum->group = g;
                instance.viz->post(slot, std::move(spectrum));
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    };
    const auto watch = [&](CVizInstance& instance)
    {
        for (int i = 0; !isOver; ++i)
        {
            CAudioVizSlot& slot = instance.viz->getSlot(spectrumName);
            instance.viz->addLocalListener(slot);
            instance.viz->addImport(i % 3, spectrumName);
            const CVizContent content = instance.fetch();
            for (const CVizContent::CItem& item : content.items)
            {
                const auto& values = item.data.as<CAudioVizDataSpectrum>()->values;
                EXPECT_EQ(values.front(), values.back());
                seen += item.data->source >= 0 ? 1 : 0;
            }
            instance.set("export", i % 2, 0, i % 4);
            instance.exportNames();
            instance.viz->removeImport(i % 3, spectrumName);
            instance.viz->removeLocalListener(slot);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    };
    for (CVizInstance* instance : {&a, &b})
        instance->set("export", 0, 0, instance == &a ? 1 : 2);
    reader.viz->addImport(0, spectrumName);
    reader.viz->addImport(1, spectrumName);
    std::thread players[] = {std::thread(play, std::ref(a)), std::thread(play, std::ref(b))};
    std::thread watchers[] = {std::thread(watch, std::ref(a)), std::thread(watch, std::ref(b))};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (int i = 0; i < 30 || (seen < 200 && std::chrono::steady_clock::now() < deadline); ++i)
    {
        CVizInstance passing(tree, "passing");
        passing.set("export", 0, 0, 3.0);
        passing.viz->addImport(0, spectrumName);
        passing.run();
        passing.postSpectrum(1.0);
        for (const CVizContent::CItem& item : passing.fetch().items)
            EXPECT_GE(item.data->source, 0);
        seen += static_cast<int>(reader.fetch().items.size());
    }
    isOver = true;
    for (std::thread& watcher : watchers)
        watcher.join();
    for (std::thread& player : players)
        player.join();
    EXPECT_GE(seen, 200);
}

}
