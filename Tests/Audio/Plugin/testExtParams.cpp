// SPDX-License-Identifier: GPL-3.0-or-later
// What a host automates: the rows, the two doors of its writes, and the way back to it.
#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/CAudioParamUndo.h"
#include "Audio/Plugin/CAudioExtParamHostBridge.h"
#include "Audio/Plugin/CAudioExtParamList.h"
#include "Audio/Plugin/CAudioHostCall.h"
#include "Core/CApplicationData.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "StateTestKit.h"
#include "Support/CRealtimeGuard.h"
#include "Support/CTestTree.h"

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <thread>

namespace kor::test
{
namespace
{

const std::string bands = "modMorvaEQ.eq-params.";

/// Notes what the host is told; a row's number and value.
class CNotingBridge : public CAudioExtParamHostBridge
{
public:
    void sendValue(int index, double x) override { note("value", index, x); }
    void showValue(int index, double x) override { note("show", index, x); }
    void beginEdit(int index) override { notes += "begin " + std::to_string(index) + "; "; }
    void endEdit(int index) override { notes += "end " + std::to_string(index) + "; "; }
    void programChanged(bool) override {}

    std::string take() { return std::exchange(notes, {}); }

private:
    void note(const char* what, int index, double x)
    {
        char text[64];
        std::snprintf(text, sizeof(text), "%s %d %.2f; ", what, index, x);
        notes += text;
    }
    std::string notes;
};

class CHostedEqualizer : public CTestEqualizer
{
public:
    CHostedEqualizer()
    {
        list = dynamic_cast<CAudioExtParamList*>(instance.tree().findObject("plugin.ext-param-list"));
        collector.reserveDelivered(2048);
        list->prepare();
        list->setBridge(&host);
    }
    ~CHostedEqualizer() { list->setBridge(nullptr); }

    CAudioExtParam& row(int index) const { return *list->rows()[static_cast<std::size_t>(index)]; }
    double stored(int index) const { return row(index).param().getValue(row(index).group(), row(index).element()); }
    double heard(int index) const
    {
        return collector.heardValue(row(index).param(), row(index).group(), row(index).element());
    }

    /// Group 0 has five bands, of which the lists describe only the first; the defaults are the user's own.
    void leaveGaps()
    {
        setBand(0, 0, 1, 300.0, 2.0);
        set(bands + "band-count", 5);
        for (const auto& [key, factor] :
             {std::pair("mode", 1.0), {"freq", 1.3}, {"gain", 1.5}, {"bw", 0.4}, {"dyn", 0.5}})
        {
            CAudioParam& param = *instance.findParam(CStringBuf(bands + key));
            for (int e = 0; e < 5; ++e)
                param.setValue(0, e, factor * (e + (key[0] == 'f' ? 500.0 : 1.0)));
        }
        const CByteArray body = captured(instance.registry());
        CMemoryReader reader(body);
        instance.registry().setDefaultPreset(reader);
        for (const char* key : {"mode", "freq", "gain", "bw", "dyn"})
        {
            CAudioParam& param = *instance.findParam(CStringBuf(bands + key));
            const double first = param.getValue(0, 0);
            CAudioParamRequest request;
            request.cut = true;
            request.values = &first;
            param.change(request);
        }
        list->prepare();
    }

    CAudioParamCollector& collector = instance.collector();
    CAudioExtParamList* list = nullptr;
    CNotingBridge host;
};

CError makeRow(CHostedEqualizer& equalizer, const char* extName, CObject*& made)
{
    CAttrMap attrs;
    attrs["param-collector"].setString("plugin.param-collector");
    attrs["param-name"].setString("plugin.modMain.bypass-enable");
    attrs["ext-name"].setString(extName);
    return equalizer.list->createChild(made, "audio:ext-param", "late", false, nullptr, &attrs);
}

}

TEST(ExtParams, RowsAreTwoGroupsOfFiveBands)
{
    CHostedEqualizer equalizer;
    std::vector<std::string> wanted = {"Bypass bypass-enable 0 0", "Oversmp oversampling 0 0"};
    for (const std::string g : {"0", "1"})
    {
        const std::string label = g == "0" ? "1" : "2";
        wanted.push_back(label + "Dynmod modMorvaEQ.dynmode " + g + " 0");
        wanted.push_back(label + "OGain modOutGain.gain " + g + " 0");
        for (const std::string e : {"0", "1", "2", "3", "4"})
            for (const auto& [name, key] : {std::pair("Mode", "mode"), {"Freq", "freq"}, {"BW", "bw"},
                                            {"Gain", "gain"}, {"Dyn", "dyn"}})
                wanted.push_back(label + name + static_cast<char>(e[0] + 1) + " " + bands + key + " " + g + " " + e);
    }
    std::vector<std::string> found;
    for (const CAudioExtParam* row : equalizer.list->rows())
        found.push_back(row->extName().toUtf8() + " " +
                        row->param().fullName().substr(CStringBuf("plugin.modMain.").length()).toUtf8() + " " +
                        std::to_string(row->group()) + " " + std::to_string(row->element()));
    EXPECT_EQ(found, wanted);
    EXPECT_EQ(found.size(), 56u);

    CObject* late = nullptr;
    EXPECT_TRUE(makeRow(equalizer, "8letters", late));
    EXPECT_EQ(equalizer.list->rows().size(), 56u);
    ASSERT_TRUE(succeeded(makeRow(equalizer, "7letter", late)));
    EXPECT_EQ(equalizer.list->rows().size(), 57u);
    CObject::destroy(equalizer.list->rows()[1]);
    ASSERT_EQ(equalizer.list->rows().size(), 56u);
    equalizer.set("bypass-enable", 1.0);
    EXPECT_EQ(equalizer.host.take(), "begin 0; value 0 1.00; end 0; begin 55; value 55 1.00; end 55; ");
}

struct TextCase
{
    int row;
    double real;
    const char* text;
    const char* unit;
};

TEST(ExtParams, TextsReadWellAndAreReadBack)
{
    CHostedEqualizer equalizer;
    const TextCase cases[] = {
        {0, 0.0, "Off", ""},           {1, 1.0, "1x", ""},       {4, 1.0, "Peaking", ""},
        {5, 1000.0, "1.00k", "Hz"},    {5, 62.5, "62.5", "Hz"},  {6, 2.5, "2.50", "Oct"},
        {8, 1.0, "100", "%"},          {3, std::pow(10.0, -0.15), "-3.0", "dB"},
    };
    for (const TextCase& c : cases)
    {
        const CAudioParamInfo& info = equalizer.row(c.row).param().info();
        const double low = info.minValue(0);
        const double high = info.maxValue(0);
        // The maps from value to position: logarithmic, square root, linear.
        const double share = c.row == 3 || c.row == 5 ? std::log(c.real / low) / std::log(high / low)
                                                      : (c.real - low) / (high - low);
        const double x = c.row == 6 ? std::sqrt(share) : share;
        EXPECT_EQ(equalizer.row(c.row).getText(x).toUtf8(), c.text);
        EXPECT_EQ(equalizer.row(c.row).getUnit().toUtf8(), c.unit);
        for (const char* between : {"", " "})
        {
            double back = -1.0;
            EXPECT_TRUE(equalizer.row(c.row).fromText(CStringBuf(std::string(c.text) + between + c.unit), back));
            EXPECT_NEAR(back, x, 1e-3) << c.text;
        }
    }
    double untouched = 0.25;
    EXPECT_FALSE(equalizer.row(5).fromText("loud", untouched));
    EXPECT_EQ(untouched, 0.25);
    EXPECT_NEAR(equalizer.row(5).getDefaultNormalized(), std::log(31.0 / 20.0) / std::log(4800.0), 1e-9);

    for (CAudioExtParam* row : equalizer.list->rows())
        for (int i = 0; i <= 1000; ++i)
        {
            const CStringBuf text = row->getText(i / 1000.0);
            double back = -1.0;
            ASSERT_TRUE(row->fromText(text + " " + row->getUnit(), back)) << row->extName().toUtf8() << i;
            ASSERT_EQ(row->getText(back).toUtf8(), text.toUtf8()) << row->extName().toUtf8() << " at " << i;
        }
}

struct EchoCase
{
    const char* what;
    void (*act)(CHostedEqualizer& equalizer, CAudioParam& gain);
    const char* told;
};

// Row 3 is the output gain of group 0, -12 to 12 dB, row 30 that of group 1: 1 is 0.50 and the highest 1.00.
TEST(ExtParams, TheHostHearsOfOthersChanges)
{
    const EchoCase cases[] = {
        {"the host's own write", [](CHostedEqualizer& e, CAudioParam&) { e.row(3).setNormalized(0.25); }, ""},
        {"the cached value", [](CHostedEqualizer& e, CAudioParam& gain)
         { gain.setValue(0, 0, 1.0); EXPECT_EQ(e.row(3).getNormalized(), 0.5); }, ""},
        {"no number", [](CHostedEqualizer& e, CAudioParam& gain)
         {
             e.row(3).setNormalized(std::numeric_limits<double>::quiet_NaN());
             EXPECT_EQ(gain.getValue(0, 0), 1.0);
         }, ""},
        {"a change", [](CHostedEqualizer&, CAudioParam& gain) { gain.setValue(0, 0, 100.0); },
         "begin 3; value 3 1.00; end 3; "},
        {"another group", [](CHostedEqualizer&, CAudioParam& gain) { gain.setValue(5, 0, 100.0); }, ""},
        {"every group", [](CHostedEqualizer&, CAudioParam& gain) { gain.setValue(allGroups, 0, 100.0); },
         "begin 3; value 3 1.00; end 3; begin 30; value 30 1.00; end 30; "},
        {"several changes at once", [](CHostedEqualizer&, CAudioParam& gain)
         {
             const CAudioParamChangeScope scope;
             gain.setValue(0, 0, 0.0);
             gain.setValue(0, 0, 100.0);
         }, "begin 3; value 3 1.00; end 3; "},
        {"what the host asked for", [](CHostedEqualizer&, CAudioParam& gain)
         {
             const CAudioHostCall call;
             gain.setValue(0, 0, 100.0);
         }, "show 3 1.00; "},
        {"a drag", [](CHostedEqualizer& e, CAudioParam& gain)
         {
             auto record = historyOf(e.instance).createRecord("drag");
             gain.setValue(0, 0, 0.0, record.get());
             gain.setValue(0, 0, 100.0, record.get());
             historyOf(e.instance).submit(std::move(record));
             historyOf(e.instance).setPosition(0);
         }, "begin 3; value 3 0.00; value 3 1.00; end 3; begin 3; value 3 0.50; end 3; "},
        {"a drag that is given up", [](CHostedEqualizer& e, CAudioParam& gain)
         {
             auto record = historyOf(e.instance).createRecord("drag");
             gain.setValue(0, 0, 0.0, record.get());
             record.reset();
             gain.setValue(0, 0, 100.0);
         }, "begin 3; value 3 0.00; end 3; begin 3; value 3 1.00; end 3; "},
        {"a write into a drag while audio runs", [](CHostedEqualizer& e, CAudioParam& gain)
         {
             e.instance.environment().isProcessing = true;
             auto record = historyOf(e.instance).createRecord("drag");
             gain.setValue(0, 0, 100.0, record.get());
             e.row(3).setNormalized(0.25);
             EXPECT_EQ(e.row(3).getNormalized(), 1.0);
             record.reset();
             e.row(3).setNormalized(0.75);
             EXPECT_EQ(e.row(3).getNormalized(), 0.75);
         }, "begin 3; value 3 1.00; show 3 1.00; end 3; "},
        {"a write behind a block's", [](CHostedEqualizer& e, CAudioParam&)
         {
             e.instance.environment().isProcessing = true;
             e.list->deliver(3, 0.25);
             e.row(3).setNormalized(0.75);
             EXPECT_EQ(e.row(3).getNormalized(), 0.25);
             e.list->settle();
         }, "show 3 0.25; show 3 0.25; "},
        {"a preset", [](CHostedEqualizer& e, CAudioParam&)
         {
             CHostedEqualizer other;
             other.set("modOutGain.gain", 100.0, 1);
             other.set(bands + "dyn", 0.0, 0, 0);
             activate(e.instance.registry(), captured(other.instance.registry()), everyIndex,
                      CAudioPresetScope::storable, CAudioPresetUndo::recorded);
         }, "begin 8; value 8 0.00; begin 30; value 30 1.00; end 8; end 30; "},
    };
    for (const EchoCase& c : cases)
    {
        SCOPED_TRACE(c.what);
        CHostedEqualizer equalizer;
        c.act(equalizer, equalizer.row(3).param());
        EXPECT_EQ(equalizer.host.take(), c.told);
        equalizer.list->settle();
    }
}

// The same writes by either door, on equalizers whose lists are too short for most of them.
TEST(ExtParams, BothDoorsSoundAndStoreTheSame)
{
    constexpr double noiseFloor = 1e-9;             // every instance adds noise of its own against denormals
    const std::vector<std::vector<std::pair<int, double>>> cases = {
        {{25, 0.6}, {24, 0.05}, {27, 0.9}},         // band 5: three more are filled in
        {{17, 0.9}, {14, 0.05}},
        {{14, 0.05}, {17, 0.9}},
        {{22, 0.8}, {19, 0.05}, {20, 0.5}, {12, 0.2}},
        {{24, 0.1}, {26, 0.3}, {27, 0.1}},
        {{1, 0.5}},                                 // twice the rate
        {{0, 1.0}, {3, 0.7}},
        {{4, 0.1}, {8, 0.9}, {2, 0.5}},             // a dynamic band in another dynamics mode
        {{4, 0.1}, {8, 0.9}, {2, 0.3}, {2, 1.0}, {2, 0.7}},
    };
    for (const auto& writes : cases)
    {
        SCOPED_TRACE("row " + std::to_string(writes.front().first));
        CHostedEqualizer stored, delivered, still;
        const CSignals in = noises(2, 3000, 5);
        for (CHostedEqualizer* each : {&stored, &delivered, &still})
        {
            each->leaveGaps();
            each->start(2);
            each->run(in);
        }
        const CStateSnapshot before = snapshot(delivered.instance, CSnapshotOf::projects);
        for (const auto& [index, x] : writes)
        {
            stored.row(index).setNormalized(x);
            EXPECT_TRUE(delivered.list->deliver(index, x)) << index;
            EXPECT_EQ(delivered.row(index).getNormalized(), x) << index;
        }
        const CSignals wanted = stored.run(in);
        const CSignals got = delivered.run(in);
        EXPECT_LT(difference(got[0], wanted[0]), noiseFloor);
        EXPECT_GT(difference(still.run(in)[0], wanted[0]), 1e-4) << "the write is inaudible";
        EXPECT_EQ(differences(snapshot(delivered.instance, CSnapshotOf::projects), before), "");
        delivered.list->settle();
        EXPECT_EQ(differences(snapshot(delivered.instance, CSnapshotOf::projects),
                              snapshot(stored.instance, CSnapshotOf::projects)), "");
        EXPECT_LT(difference(delivered.run(in)[0], stored.run(in)[0]), noiseFloor);
        EXPECT_EQ(delivered.latency(), stored.latency());
        for (const auto& [index, x] : writes)
            EXPECT_EQ(delivered.heard(index), stored.stored(index)) << index;
    }
}

TEST(ExtParams, WhatFollowsFromABlocksWriteFollowsInItsSlice)
{
    CHostedEqualizer equalizer;
    equalizer.start(1);
    CAudioParam& bypass = *equalizer.instance.findParam("oversampling-bypass");
    CAudioParam& attack = *equalizer.instance.findParam("modMorvaEQ.dyn-params.attack");
    const CSignal one = constant(1, 0.0);

    EXPECT_TRUE(equalizer.list->deliver(1, 0.5));
    equalizer.run(one);
    EXPECT_NE(equalizer.find("modUpsampler"), nullptr);
    EXPECT_EQ(bypass.getValue(0, 0), 1.0);
    equalizer.list->settle();
    EXPECT_EQ(bypass.getValue(0, 0), 0.0);
    // The store's late change of the bypass meets a newer write.
    EXPECT_TRUE(equalizer.list->deliver(1, 0.25));
    equalizer.run(one);
    EXPECT_EQ(equalizer.collector.heardValue(bypass, 0, 0), 1.0);

    CAudioDirectValue mode;
    mode.setUp(equalizer.collector, *equalizer.instance.findParam("host-oversampling-mode"), 0, 0);
    EXPECT_TRUE(equalizer.list->deliver(1, 0.0));
    mode.deliver(1.0);
    equalizer.list->follow();
    EXPECT_EQ(equalizer.collector.heardValue(bypass, 0, 0), 0.0);
    equalizer.list->settle();
    EXPECT_TRUE(mode.settle());
    EXPECT_FALSE(mode.settle());
    EXPECT_EQ(bypass.getValue(0, 0), 0.0);

    // Every mode of the list, the one beyond it; when the user has turned the list round, and when it is as it was.
    const CAudioPresetBank modes = builtInList(CLocalData::instance(), "dynmode-presets");
    ASSERT_GT(modes.size(), 1u);
    for (const bool isTurned : {true, false})
    {
        CAudioPresetBank now;
        for (std::size_t i = 0; i < modes.size(); ++i)
            now.append() = modes.preset(isTurned ? modes.size() - 1 - i : i);
        CWriteSeqBuffer out;
        EXPECT_TRUE(succeeded(CAudioPresetBank::saveList(out, {now})));
        const CByteArray bytes = out.getContents();
        CLocalData::instance().write("dynmode-presets", bytes.data(), bytes.size(), CAudioPresetBank::listId);
        equalizer.list->settle();
        const double highest = equalizer.row(2).param().info().maxValue(0);
        CTestEqualizer reference;
        for (int i = static_cast<int>(std::min<double>(highest, static_cast<double>(modes.size()))); i >= 0; --i)
        {
            reference.set("modMorvaEQ.dynmode", i);
            EXPECT_TRUE(equalizer.list->deliver(2, i / highest)) << i;
            equalizer.run(one);
            EXPECT_EQ(equalizer.collector.heardValue(attack, 0, 0),
                      reference.instance.findParam("modMorvaEQ.dyn-params.attack")->getValue(0, 0)) << i;
        }
    }
}

TEST(ExtParams, TheLaterOfTwoWritesCounts)
{
    CHostedEqualizer equalizer;
    equalizer.start(1);
    const CSignal one = constant(1, 0.0);
    CAudioParam& gain = equalizer.row(3).param();

    EXPECT_TRUE(equalizer.list->deliver(3, 0.25));
    EXPECT_TRUE(equalizer.list->deliver(3, 0.5)) << "that is what the store still has";
    EXPECT_FALSE(equalizer.list->deliver(3, 0.5));
    EXPECT_FALSE(equalizer.list->deliver(3, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(equalizer.list->deliver(56, 0.5));
    EXPECT_FALSE(equalizer.list->deliver(-1, 0.5));
    EXPECT_EQ(equalizer.heard(3), 1.0);
    equalizer.list->settle();
    EXPECT_EQ(equalizer.stored(3), 1.0);

    const auto expectBoth = [&](double value)
    {
        equalizer.list->settle();
        equalizer.run(one);
        EXPECT_EQ(equalizer.stored(3), value);
        EXPECT_EQ(equalizer.heard(3), value);
    };
    EXPECT_TRUE(equalizer.list->deliver(3, 7.0));
    gain.setValue(0, 0, 2.0);
    expectBoth(2.0);
    gain.setValue(0, 0, 3.0);
    equalizer.run(one);
    EXPECT_TRUE(equalizer.list->deliver(3, 1.0));
    expectBoth(gain.info().maxValue(0));
    gain.setValue(0, 0, 3.0);                       // changed, and flushed only behind the block's write
    EXPECT_TRUE(equalizer.list->deliver(3, 0.0));
    equalizer.run(one);
    expectBoth(gain.info().minValue(0));

    // A block that comes while the change is still being made, and has heard it already.
    struct CBlock : CAudioParamChangeHook
    {
        std::function<void()> run;
        void onParamChange(const CAudioParamRequest&, CAudioParamUndoContext*) override
        {
            if (run)
                std::exchange(run, {})();
        }
    } block;
    block.run = [&]
    {
        equalizer.collector.flush();
        EXPECT_TRUE(equalizer.list->deliver(3, 1.0));
    };
    gain.setSelectionHook(&block);                  // ahead of the row's
    gain.setValue(0, 0, 3.0);
    gain.setSelectionHook(nullptr);
    equalizer.host.take();
    expectBoth(gain.info().maxValue(0));
    EXPECT_EQ(equalizer.host.take(), "show 3 1.00; ");
}

TEST(ExtParams, DeliveryAllocatesNothing)
{
    CHostedEqualizer equalizer;
    equalizer.start(2);
    const CSignals in = noises(2, 512, 3);
    CSignals out = in;
    const double* from[] = {in[0].data(), in[1].data()};
    double* to[] = {out[0].data(), out[1].data()};
    for (int round = 0; round < 40; ++round)
    {
        const CRealtimeGuard guard;
        for (int index = 3; index < 56; ++index)
            equalizer.list->deliver(index, (round + index) % 10 / 10.0);
        equalizer.list->deliver(2, round % 5 / 4.0);
        equalizer.list->follow();
        EXPECT_EQ(guard.faults(), 0u) << round;
        equalizer.instance.graph().process(from, to, 2, 512);
        if (round % 4 == 0)
            equalizer.list->settle();
    }
}

// The audio thread delivers, a user and the host's other door change the same rows, two threads store.
TEST(ExtParamThreads, StoreCacheAndSoundAgreeInTheEnd)
{
    CHostedEqualizer equalizer;
    equalizer.list->setBridge(nullptr);
    equalizer.leaveGaps();
    equalizer.start(1);
    const auto rowOf = [](unsigned number) { return static_cast<int>(number % 8 == 7 ? 1 : 2 + number % 22); };
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    const auto start = [&](unsigned seed, auto step)
    {
        threads.emplace_back([&isOver, step, random = std::mt19937(seed)]() mutable
        {
            while (!isOver)
            {
                step(random);
                std::this_thread::sleep_for(std::chrono::microseconds(random() % 300));
            }
        });
    };
    start(1, [&](std::mt19937& random) { equalizer.row(rowOf(random())).setNormalized(random() % 100 / 99.0); });
    start(2, [&](std::mt19937& random)
          {
              const CAudioExtParam& row = equalizer.row(rowOf(random()));
              const CAudioParamInfo& info = row.param().info();
              const double share = random() % 100 / 99.0;
              row.param().setValue(row.group(), row.element(),
                                   info.minValue(0) + share * (info.maxValue(0) - info.minValue(0)));
          });
    start(3, [&](std::mt19937&) { equalizer.list->settle(); });
    start(4, [&](std::mt19937&) { equalizer.list->settle(); });
    std::mt19937 random(5);
    const CSignal in = noise(64);
    int delivered = 0;
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(std::getenv("MORVA_LONG") != nullptr ? 30000 : 700);
    while (std::chrono::steady_clock::now() < end)
    {
        for (unsigned i = random() % 6; i > 0; --i)
            delivered += equalizer.list->deliver(rowOf(random()), random() % 100 / 99.0);
        equalizer.run(in);
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    equalizer.list->settle();
    equalizer.run(in);
    EXPECT_GT(delivered, 10);
    for (int index = 0; index < 56; ++index)
    {
        const CAudioExtParam& row = equalizer.row(index);
        const CAudioParamInfo& info = row.param().info();
        EXPECT_EQ(row.pendingOrder(), 0u) << index;
        EXPECT_EQ(equalizer.heard(index), equalizer.stored(index)) << index;
        EXPECT_EQ(row.getText(row.getNormalized()).toUtf8(),
                  row.getText(info.converter()->realToNormalised(info, 0, equalizer.stored(index))).toUtf8()) << index;
    }
    for (const char* key : {"oversampling-bypass", "modMorvaEQ.dyn-params.attack", "modMorvaEQ.dyn-params.envrelease"})
    {
        CAudioParam& param = *equalizer.instance.findParam(key);
        EXPECT_EQ(equalizer.collector.heardValue(param, 0, 0), param.getValue(0, 0)) << key;
    }
}

}
