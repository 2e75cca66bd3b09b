// SPDX-License-Identifier: GPL-3.0-or-later
// Clients that come, go, come late, stop reading, and share an instance.
#include "InterfaceTestKit.h"

#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParamDef.h"
#include "Core/CApplication.h"
#include "Other/Interface/CInterfaceMessage.h"
#include "Other/Interface/CParamChange.h"
#include "Other/Interface/CParamClientQueue.h"
#include "Other/Interface/CParamInterfaceBaseConnectorUni.h"

#include <memory>

namespace kor::test
{
namespace
{

const std::string freq = "modMorvaEQ.eq-params.freq";
const std::string gain = "modMorvaEQ.eq-params.gain";
const std::string bandwidth = "modMorvaEQ.eq-params.bw";

/// Counts the changes that reach the audio side with a flush.
struct CAudible
{
    void follow(CAudioParam& param)
    {
        storages.push_back(std::make_unique<CAudioParamStorage>());
        param.addListener(listener, *storages.back(), everyIndex, everyIndex);
    }
    int flush(CAudioInstance& instance)
    {
        int count = 0;
        instance.collector().flush();
        listener.takeChanges([&](const CAudioParamRecord&) { ++count; });
        return count;
    }
    std::vector<std::unique_ptr<CAudioParamStorage>> storages;
    CAudioParamListener listener;
};

}

TEST(InterfaceClients, EachHearsOfEveryChangeInOrder)
{
    CInterfaceFixture f;
    CTestClient second(f.instance);
    CNotingCopy mine, its, late;
    const std::uint32_t id = f.client.listen(mine, freq);
    second.listen(its, freq);
    dispatch();
    EXPECT_EQ(mine.take(), its.take());
    CAudioParam& param = f.param(freq);
    EXPECT_TRUE(succeeded(f.client->changeParam(id, 0, changeOf(0, 1, 300.0))));
    param.setValue(2, 0, 400.0); // a host's
    param.setValue(allGroups, 0, 600.0);
    param.setValue(0, 18, 500.0); // with the gap before it
    f.instance.registry().activateFactoryPreset(1);
    dispatch();
    const std::string notes = mine.take();
    EXPECT_TRUE(notes.starts_with("0:1+1 2:0+1 info 0:0+16| 1:0+16|")) << notes;
    EXPECT_NE(notes.find("7:0+16| 0:16+1 0:17+1 0:18+1 0:0+"), std::string::npos) << notes;
    EXPECT_EQ(its.take(), notes);
    param.setValue(1, 60000, 700.0);                // with a gap that would take minutes in single steps
    dispatch();
    EXPECT_EQ(mine.take(), "1:5+59995 1:60000+1 ");
    second.listen(late, freq);
    dispatch();
    for (const CNotingCopy* copy : {&mine, &its, &late})
        EXPECT_EQ(difference(*copy, param), "");
}

TEST(InterfaceClients, AllParametersOfTheProductArriveWhole)
{
    CInterfaceFixture f;
    std::vector<std::pair<CAudioParam*, std::unique_ptr<CNotingCopy>>> copies;
    f.instance.collector().forEachParam([&](CAudioParam& param)
                                        { copies.emplace_back(&param, std::make_unique<CNotingCopy>()); });
    EXPECT_GT(copies.size(), 80u);
    for (auto& [param, copy] : copies)
        f.client.listen(*copy, param->fullName().toUtf8());
    dispatch();
    for (auto& [param, copy] : copies)
        EXPECT_EQ(difference(*copy, *f.instance.collector().findParam(param->fullName())), "");
}

TEST(InterfaceClients, AParameterIsWaitedForUntilItExistsAndIsDefined)
{
    CInterfaceFixture f;
    CNotingCopy copy;
    f.client.listen(copy, "plugin.later");
    dispatch();
    EXPECT_EQ(copy.take(), "none ");
    EXPECT_EQ(f.instance.collector().findParam("plugin.later"), nullptr);
    f.instance.collector().getParam("plugin.later");
    dispatch();
    EXPECT_EQ(copy.take(), "none ");
    const CAudioParamDef* definition = f.param(freq).definition();
    CAudioParam& param = f.instance.collector().defineParam("plugin.later", *definition);
    param.setValue(1, 0, 440.0);
    dispatch();
    EXPECT_TRUE(copy.take().ends_with("7:0+5| 1:0+1 "));
    EXPECT_EQ(difference(copy, param), "");
}

TEST(InterfaceClients, OneThatGoesEndsWhatItLeftOpen)
{
    CInterfaceFixture f;
    f.instance.environment().isProcessing = true;
    CAudible audible;
    CAudioParam& param = f.param(freq);
    audible.follow(param);
    audible.flush(f.instance); // what the first program has set
    auto going = std::make_unique<CTestClient>(f.instance);
    CNotingCopy copy;
    const std::uint32_t id = going->listen(copy, freq);
    std::uint32_t undo = 0;
    EXPECT_TRUE(succeeded((*going)->beginBatch()));
    EXPECT_TRUE(succeeded((*going)->createUndoData(undo, "Cut off")));
    EXPECT_TRUE(succeeded((*going)->changeParam(id, undo, changeOf(0, 0, 300.0))));
    EXPECT_EQ(audible.flush(f.instance), 0);
    // One that breaks off takes nothing back by itself.
    const std::uint32_t abandoned = id | 0x7777;
    CInterfaceMessage listening("listen-param"), changing("change-param");
    EXPECT_EQ(f.process(listening.text(param.fullName()).number(abandoned).block()), "");
    EXPECT_TRUE(succeeded(CParamChange::write(changing.number(abandoned).number(0).stream(), changeOf(0, 0, 302.0))));
    going.reset();
    EXPECT_EQ(f.process(changing.block()), "");
    EXPECT_EQ(param.getValue(0, 0), 300.0);
    EXPECT_EQ(audible.flush(f.instance), 1);
    copy.take();
    param.setValue(0, 0, 301.0);
    f.instance.interfaceBase().setSampleRate(48000.0);
    dispatch();
    EXPECT_EQ(copy.take(), "");
    EXPECT_EQ(f.client->undoLabels().back().toUtf8(), "Cut off");

    // The audio side may go first.
    CTestClient* left = nullptr;
    {
        CAudioInstance instance;
        ASSERT_TRUE(succeeded(instance.create()));
        left = new CTestClient(instance);
    }
    EXPECT_EQ((*left)->beginBatch().message(), "No base object defined.");
    delete left;

    CInterfaceClientTree lost;
    CObject elsewhere;
    EXPECT_EQ(lost.create(elsewhere).message(),
              "Unable to find object 'plugin.interface-base-connector' ('plugin.interface-base-connector')");
}

TEST(InterfaceClients, ABatchReachesTheSoundInOneFlush)
{
    CInterfaceFixture f;
    f.instance.environment().isProcessing = true;
    CAudible audible;
    audible.follow(f.param(freq));
    audible.follow(f.param(gain));
    audible.follow(f.param(bandwidth));
    audible.flush(f.instance);
    CNotingCopy freqs, gains, others;
    const std::uint32_t freqId = f.client.listen(freqs, freq), gainId = f.client.listen(gains, gain);
    CTestClient second(f.instance);
    const std::uint32_t otherId = second.listen(others, bandwidth);
    EXPECT_TRUE(succeeded(f.client->beginBatch()));
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_TRUE(succeeded(f.client->changeParam(freqId, 0, changeOf(0, 0, 100.0 + i))));
        EXPECT_TRUE(succeeded(f.client->changeParam(gainId, 0, changeOf(0, 1, 2.0))));
        EXPECT_EQ(audible.flush(f.instance), 0);
    }
    EXPECT_TRUE(succeeded(second->changeParam(otherId, 0, changeOf(0, 3, 2.0))));
    EXPECT_EQ(audible.flush(f.instance), 1) << "another client's changes do not wait";
    EXPECT_TRUE(succeeded(f.client->endBatch()));
    EXPECT_EQ(audible.flush(f.instance), 20);
    EXPECT_TRUE(succeeded(f.client->changeParam(freqId, 0, changeOf(0, 0, 200.0))));
    EXPECT_EQ(audible.flush(f.instance), 1);
    dispatch();
    EXPECT_EQ(difference(freqs, f.param(freq)) + difference(gains, f.param(gain)), "");
}

TEST(InterfaceClients, OneThatStopsReadingCostsBoundedMemoryAndGetsEverythingAnew)
{
    CInterfaceFixture f;
    CNotingCopy freqs, names;
    CNotingRegistry registry;
    std::uint32_t registryId = 0;
    f.client.listen(freqs, freq);
    f.client.listen(names, "io-params.group-names");
    EXPECT_TRUE(succeeded(f.client->listenRegistry(registryId, "plugin.param-registry", registry)));
    dispatch();
    CAudioParam& param = f.param(freq);
    EXPECT_TRUE(succeeded(f.client->requestPreset(registryId, 9, CAudioPresetSource::session, -1)));
    std::size_t most = 0, changes = 0;
    bool isDropped = false;
    for (; changes < 100000; ++changes)
    {
        param.setValue(static_cast<int>(changes % 8), static_cast<int>(changes % 8),
                       20.0 + static_cast<double>(changes % 1000));
        const std::size_t waiting = f.client.tree.waitingBytes();
        most = std::max(most, waiting);
        isDropped = isDropped || (changes > 0 && waiting == 0);
    }
    EXPECT_TRUE(isDropped);
    EXPECT_LE(most, CParamClientQueue::maxUpdateBytes + 65536); // with the answer that it has asked for
    EXPECT_GT(most, CParamClientQueue::maxUpdateBytes - 1024);
    f.param("io-params.group-names").setText(0, 2, "While away");
    f.instance.registry().renamePreset(0, "While away");
    f.instance.interfaceBase().setSampleRate(192000.0);
    EXPECT_EQ(f.client.tree.waitingBytes(), 0u);
    dispatch();
    dispatch();
    EXPECT_EQ(difference(freqs, param) + difference(names, f.param("io-params.group-names")), "");
    EXPECT_EQ(registry.session[0].toUtf8(), "q7ne:While away");
    EXPECT_EQ(registry.answers, std::vector<std::uint32_t>{9});
    EXPECT_EQ(f.client->sampleRate(), 192000.0);
    param.setValue(0, 0, 123.0);
    dispatch();
    EXPECT_EQ(freqs.values().getValue(0, 0), 123.0);

    // One update that is larger than the limit goes all the same.
    std::vector<double> many(65536, 50.0);
    for (int g = 0; g < 8; ++g)
    {
        CAudioParamRequest all = changeOf(g, 0, many[0]);
        all.elementCount = static_cast<int>(many.size());
        param.change(all);
    }
    dispatch();
    dispatch();
    EXPECT_EQ(difference(freqs, param), "");
}

TEST(InterfaceClients, IdsWrapAndLeaveOutThoseInUse)
{
    CInterfaceFixture f;
    CNotingCopy kept, passing;
    const std::uint32_t first = f.client.listen(kept, freq);
    std::uint32_t undo = 0;
    EXPECT_TRUE(succeeded(f.client->createUndoData(undo, "Open")));
    std::vector<bool> seen(65536);
    for (int i = 0; i < 65600; ++i)
    {
        const std::uint32_t id = f.client.listen(passing, "plugin.none");
        EXPECT_EQ(id >> 16, static_cast<std::uint32_t>(f.client->clientId()));
        seen[id & 0xffff] = true;
        if (id == first || id == undo)
            FAIL() << "given twice";
        EXPECT_TRUE(succeeded(f.client->unlistenParam(id)));
        if (i % 1000 == 0)
            dispatch();
    }
    EXPECT_FALSE(seen[0]);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), false), 4); // 0, these two, and the client's own listener
    int previous = 0;
    for (int i = 0; i < 3; ++i)
    {
        const CTestClient client(f.instance);
        EXPECT_GT(client->clientId(), previous);
        previous = client->clientId();
    }
}

TEST(InterfaceClients, TheNameOfAModeTurnsToUserByAClientsHandOnly)
{
    CInterfaceFixture f;
    const std::string folder = "modMorvaEQ.spectrum-params.";
    CAudioParam& name = f.param(folder + "mode-name");
    CNotingCopy slope, reset;
    const std::uint32_t slopeId = f.client.listen(slope, folder + "slope");
    name.setText(2, 0, "Mine");
    f.param(folder + "slope").setValue(2, 0, 1.0);
    EXPECT_EQ(name.getText(2, 0).toUtf8(), "Mine");
    std::uint32_t undo = 0;
    EXPECT_TRUE(succeeded(f.client->createUndoData(undo, "Slope")));
    EXPECT_TRUE(succeeded(f.client->changeParam(slopeId, undo, changeOf(2, 0, 2.0))));
    EXPECT_TRUE(succeeded(f.client->submitUndoData(undo)));
    EXPECT_EQ(name.getText(2, 0).toUtf8(), "User");
    EXPECT_EQ(name.getText(1, 0).toUtf8(), "Default");
    EXPECT_TRUE(succeeded(f.client->setUndoHistoryPos(0)));
    EXPECT_EQ(name.getText(2, 0).toUtf8(), "Mine");
}

TEST(InterfaceClients, StepsOfOneDragBecomeOneStepOfUndo)
{
    CInterfaceFixture f;
    CNotingCopy copy;
    const std::uint32_t id = f.client.listen(copy, freq);
    const double before = f.param(freq).getValue(0, 0);
    for (int drag = 0; drag < 3; ++drag)
    {
        std::uint32_t undo = 0;
        EXPECT_TRUE(succeeded(f.client->createUndoData(undo, "Freq", true, drag < 2 ? 5 : 6)));
        for (int i = 0; i < 4; ++i)
            EXPECT_TRUE(succeeded(f.client->changeParam(id, undo, changeOf(0, 0, 100.0 + i + drag))));
        EXPECT_TRUE(succeeded(f.client->submitUndoData(undo)));
    }
    dispatch();
    EXPECT_EQ(f.client->undoLabels().size(), 3u);
    EXPECT_TRUE(succeeded(f.client->setUndoHistoryPos(1)));
    EXPECT_EQ(f.param(freq).getValue(0, 0), 104.0);
    EXPECT_TRUE(succeeded(f.client->setUndoHistoryPos(0)));
    EXPECT_EQ(f.param(freq).getValue(0, 0), before);
}

}
