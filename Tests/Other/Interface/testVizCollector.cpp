// SPDX-License-Identifier: GPL-3.0-or-later
// The audio side alone: who is measured, what is kept, how it is written.
#include "Other/Interface/CAudioVizDataInfo.h"
#include "Other/Interface/CAudioVizDataRGB.h"
#include "VizTestKit.h"

#include <cmath>
#include <thread>

namespace kor::test
{

TEST(VizCollector, ListenersSwitchTheirModuleAtTheNextBlock)
{
    CVizTree tree;
    CVizInstance a(tree, "a");
    EXPECT_EQ(a.enabled(spectrumName), 0.0);        // defined, as nobody else has done so
    EXPECT_EQ(a.params->findParam(spectrumName + "-enable")->definition(), &tree.def("param-enable-viz"));
    CAudioVizSlot& slot = a.viz->getSlot(spectrumName);

    a.viz->addLocalListener(slot);
    EXPECT_EQ(a.enabled(spectrumName), 0.0);
    a.run();
    EXPECT_EQ(a.enabled(spectrumName), 1.0);
    a.viz->addLocalListener(slot);
    a.viz->removeLocalListener(slot);
    a.viz->removeLocalListener(a.viz->getSlot(meterName));          // one that never came
    a.run();
    EXPECT_EQ(a.enabled(spectrumName), 1.0);
    EXPECT_EQ(slot.listenerCount, 1);
    EXPECT_EQ(a.viz->getSlot(meterName).listenerCount, 0);
    a.viz->removeLocalListener(slot);
    a.run();
    EXPECT_EQ(a.enabled(spectrumName), 0.0);

    // A second spectrum has no module of its own, and a parameter that means something else is let be.
    a.params->defineParam("host-enable", tree.def("color"));
    for (const char* name : {"plugin.modMain.modSpectrum-sec", "host"})
        a.viz->addLocalListener(a.viz->getSlot(name));
    a.run();
    EXPECT_EQ(a.enabled("plugin.modMain.modSpectrum-sec"), -1.0);
    EXPECT_EQ(a.enabled("host"), 0.0);
    EXPECT_EQ(a.enabled(spectrumName), 0.0);
}

TEST(VizCollector, WritesAllThatWaitsOnceInTheOrderOfNames)
{
    CVizTree tree;
    CVizInstance a(tree, "a");
    a.postMeter(1.0);                               // nobody listens
    a.viz->addLocalListener(a.viz->getSlot(spectrumName));
    a.viz->addLocalListener(a.viz->getSlot(meterName));
    a.run(2.5);
    for (int i = 0; i < CAudioVizCollector::maxPending + 3; ++i)
        a.postMeter(i);
    a.postSpectrum(7.0, 3, 65537);
    const CVizContent content = a.fetch();
    EXPECT_EQ(content.time, 2.5);
    ASSERT_EQ(content.items.size(), CAudioVizCollector::maxPending + 1u);
    EXPECT_EQ(content.value(0), 3.0);               // the oldest have gone
    EXPECT_EQ(content.value(CAudioVizCollector::maxPending - 1), CAudioVizCollector::maxPending + 2.0);
    EXPECT_EQ(content.items.back().name, spectrumName.toUtf8());
    const auto* spectrum = content.items.back().data.as<CAudioVizDataSpectrum>();
    ASSERT_NE(spectrum, nullptr);
    EXPECT_EQ(spectrum->values, CArray<double>(65537, 7.0));
    EXPECT_EQ(spectrum->group, 3);
    EXPECT_EQ(spectrum->source, -1);
    a.postMeter(8.0);
    a.viz->clearPending();
    EXPECT_TRUE(a.fetch().items.empty());
}

// Written down byte by byte; whoever reads a stream of another version goes by the sizes.
TEST(VizCollector, BytesOfAMeter)
{
    CAudioVizDataMeter meter;
    meter.channel = 1;
    meter.group = 2;
    meter.element = 3;
    meter.time = 1.0;
    meter.source = -1;
    meter.value = 2.0;
    meter.peak = -2.0;
    CWriteSeqBuffer out;
    ASSERT_TRUE(succeeded(CAudioVizData::writeAny(out, meter)));
    const CByteArray expected = {0, 0, 0, 0, 40, 0, 0, 0,                                       // kind, size
                                 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0,
                                 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0xFF, 0xFF, 0xFF, 0xFF,          // time, source
                                 0, 0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0, 0, 0, 0, 0, 0xC0};
    EXPECT_EQ(out.getContents(), expected);
}

TEST(VizCollector, EveryKindReadsBackAndUnknownOnesAreSkipped)
{
    CAudioVizDataInfo info;
    info.text = CStringBuf(u"caf\u00e9 \u4e2d");
    info.number = -5;
    CAudioVizDataRGB color;
    color.g = 0.25;
    CAudioVizDataSpectrum spectrum;
    for (int i = 0; i < 1300; ++i)
        spectrum.values.push_back(i * 0.37);
    spectrum.sampleRate = 44100.0;
    spectrum.blockSize = 2598;
    spectrum.type = 2;
    spectrum.averageTime = 1.5;
    CAudioVizDataMeter meter;
    meter.peak = 0.5;
    CAudioVizData plain;
    CAudioVizData* all[] = {&meter, &info, &plain, &spectrum, &color};
    CWriteSeqBuffer out;
    int number = 0;
    for (CAudioVizData* data : all)
    {
        data->channel = data->group = data->element = ++number;
        data->time = number * 0.1;
        data->source = number;
        ASSERT_TRUE(succeeded(out.writeInt(99)));                   // of a kind to come, with seven bytes
        ASSERT_TRUE(succeeded(out.writeInt(7)));
        ASSERT_TRUE(succeeded(out.write("unknown", 7)));
        ASSERT_TRUE(succeeded(CAudioVizData::writeAny(out, *CAudioVizData::clone(*data))));
    }
    const CByteArray bytes = out.getContents();
    CMemoryReader reader(bytes);
    CAudioVizDataPtr back[5];
    for (int i = 0; i < 5; ++i)
    {
        CAudioVizDataPtr unknown;
        ASSERT_TRUE(succeeded(CAudioVizData::readAny(reader, unknown)));
        EXPECT_FALSE(unknown);
        ASSERT_TRUE(succeeded(CAudioVizData::readAny(reader, back[i])));
        EXPECT_EQ(back[i]->kind, all[i]->kind);
        EXPECT_EQ(back[i]->channel, i + 1);
        EXPECT_EQ(back[i]->element, i + 1);
        EXPECT_EQ(back[i]->time, (i + 1) * 0.1);
        EXPECT_EQ(back[i]->source, i + 1);
    }
    EXPECT_EQ(reader.remaining(), 0);
    EXPECT_EQ(back[0].as<CAudioVizDataMeter>()->peak, 0.5);
    EXPECT_EQ(back[1].as<CAudioVizDataInfo>()->text, info.text);
    EXPECT_EQ(back[1].as<CAudioVizDataInfo>()->number, -5);
    const auto* read = back[3].as<CAudioVizDataSpectrum>();
    EXPECT_EQ(read->values, spectrum.values);
    EXPECT_EQ(read->blockSize, 2598);
    EXPECT_EQ(read->type, 2);
    EXPECT_EQ(read->averageTime, 1.5);
    EXPECT_EQ(back[4].as<CAudioVizDataRGB>()->g, 0.25);
}

// A size or a count that lies ends as a failure, before any memory is taken on its word.
TEST(VizCollector, RefusesBodiesThatDoNotFitTheirSize)
{
    const struct
    {
        std::int32_t kind, size, valueCount;
    } cases[] = {{0, 39, 0}, {0, 23, 0}, {0, -1, 0}, {99, -1, 0}, {99, 2000, 0}, {3, 60, -1}, {3, 60, 0x7FFFFFFF},
                 {3, 1000, 200}, {0, 0x7FFFFFFF, 0}};
    for (const auto& row : cases)
    {
        CWriteSeqBuffer out;
        ASSERT_TRUE(succeeded(out.writeInt(row.kind)));
        ASSERT_TRUE(succeeded(out.writeInt(row.size)));
        for (int i = 0; i < CAudioVizData::baseBytes; ++i)
            ASSERT_TRUE(succeeded(out.writeU8(0)));
        ASSERT_TRUE(succeeded(out.writeInt(row.valueCount)));
        for (int i = 0; i < 1500; ++i)
            ASSERT_TRUE(succeeded(out.writeU8(0)));
        const CByteArray bytes = out.getContents();
        CMemoryReader reader(bytes);
        CAudioVizDataPtr data;
        EXPECT_TRUE(static_cast<bool>(CAudioVizData::readAny(reader, data))) << row.kind << " " << row.size;
        EXPECT_FALSE(data);
    }
}

// Meters of many bands and spectra of two sizes, fetched at a window's rate until that begins to hang, or for good: the
// audio thread finds all it needs, and what is fetched late is the newest.
TEST(VizCollector, PostsWithoutAllocatingInTheSteadyState)
{
    for (const int framesBetween : {1, 3, 7, 1000000})
    {
        CVizTree tree;
        CVizInstance a(tree, "a");
        CAudioVizSlot& meters = a.viz->getSlot(meterName);
        CAudioVizSlot& spectra = a.viz->getSlot(spectrumName);
        a.viz->addLocalListener(meters);
        a.viz->addLocalListener(spectra);
        std::size_t faults = 0;
        for (int frame = 0; frame < 120; ++frame)
        {
            a.env->time += 1.0 / 30.0;
            const CRealtimeGuard guard;
            a.viz->frameUpdate();
            for (int band = 0; band < 20; ++band)
            {
                auto meter = a.viz->makeMeter(meters);
                meter->value = frame;
                a.viz->post(meters, std::move(meter));
            }
            for (const int count : {1025, 4097})
                a.viz->post(spectra, a.viz->makeSpectrum(spectra, count));
            if (frame >= 30)
                faults += guard.faults();
            if (frame < 40 || frame % framesBetween == 0)
                a.fetch();
        }
        EXPECT_EQ(faults, 0u) << framesBetween;
        const CVizContent rest = a.fetch();
        if (framesBetween > 120)
        {
            ASSERT_FALSE(rest.items.empty());
            EXPECT_LE(rest.items.size(), 22u * 5);                  // a tenth of a second, and the frame it began in
            for (const CVizContent::CItem& item : rest.items)
            {
                const auto* meter = item.data.as<CAudioVizDataMeter>();
                EXPECT_TRUE(meter == nullptr || meter->value >= 115.0);
            }
        }
    }
}

// The listeners come and go too. The graph hears of it at once; who follows the parameter is told on another thread.
TEST(VizCollector, SwitchingCostsTheAudioThreadNothing)
{
    struct CFollower : CAudioParamChangeHook
    {
        void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext*) override
        {
            told.push_back(request.values[0]);
        }
        std::vector<double> told;
    };
    CVizTree tree;
    CVizInstance a(tree, "a");
    CAudioVizSlot& slot = a.viz->getSlot(spectrumName);
    CAudioParam& param = *a.params->findParam(spectrumName + "-enable");
    CFollower follower;
    param.addHook(follower);
    CAudioParamListener node;
    CAudioParamStorage values;
    param.addListener(node, values, 0, 0);
    std::size_t faults = 0;
    for (int i = 0; i < 50; ++i)
    {
        const bool isOn = i % 2 == 0;
        isOn ? a.viz->addLocalListener(slot) : a.viz->removeLocalListener(slot);
        {
            const CRealtimeGuard guard;
            a.run(0.01);
            node.takeChanges([&](const CAudioParamRecord& record) { values.applyChange(record.request()); });
            if (i > 3)
                faults += guard.faults();
        }
        EXPECT_EQ(values.getValue(0, 0), isOn ? 1.0 : 0.0);
        EXPECT_TRUE(follower.told.empty());
        a.fetch();
        EXPECT_EQ(param.getValue(0, 0), isOn ? 1.0 : 0.0);
        EXPECT_EQ(std::exchange(follower.told, {}), std::vector<double>{isOn ? 1.0 : 0.0});
    }
    EXPECT_EQ(faults, 0u);
    param.removeHook(follower);
}

// Two windows turn their displays on and off, and whoever stores a switched state meets the other at it.
TEST(VizCollector, SwitchedStatesAreStoredInTheirOrder)
{
    CVizTree tree;
    CVizInstance a(tree, "a");
    CAudioVizSlot& slot = a.viz->getSlot(spectrumName);
    CAudioParam& param = *a.params->findParam(spectrumName + "-enable");
    for (int round = 0; round < 20; ++round)
    {
        std::atomic<int> running{2};
        const auto display = [&]
        {
            for (int i = 0; i < 200; ++i)
            {
                a.viz->addLocalListener(slot);
                a.fetch();
                a.viz->removeLocalListener(slot);
            }
            if (round % 2 == 0)
                a.viz->addLocalListener(slot);
            --running;
        };
        std::thread displays[] = {std::thread(display), std::thread(display)};
        while (running > 0)
            a.run(0.0001);
        for (std::thread& thread : displays)
            thread.join();
        a.run(0.0001);
        a.fetch();
        const bool isOn = round % 2 == 0;
        EXPECT_EQ(param.getValue(0, 0), isOn ? 1.0 : 0.0) << round;
        EXPECT_EQ(a.enabled(spectrumName), isOn ? 1.0 : 0.0) << round;
        for (int i = 0; i < 2 && isOn; ++i)
            a.viz->removeLocalListener(slot);
    }
}

// Names from outside: what the tree knows is served whatever their number.
TEST(VizCollector, UnknownNamesMakeOnlySoManySlots)
{
    CVizTree tree;
    CVizInstance a(tree, "a");
    int made = 0;
    for (int i = 0; i < 1000; ++i)
        made += a.viz->findOrMakeSlot(CStringBuf("x") + CStringBuf::fromInt(i)) != nullptr;
    EXPECT_EQ(made, CAudioVizCollector::maxForeignSlots);
    EXPECT_EQ(a.viz->findOrMakeSlot(spectrumName), &a.viz->getSlot(spectrumName));
    EXPECT_NE(a.viz->findOrMakeSlot("x0"), nullptr);
    EXPECT_EQ(a.viz->findOrMakeSlot("x999"), nullptr);
}

}
