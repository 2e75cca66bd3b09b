// SPDX-License-Identifier: GPL-3.0-or-later
// What each command does at the audio side and what comes back, and what damaged messages do not do.
#include "InterfaceTestKit.h"

#include "Other/Interface/CInterfaceMessage.h"
#include "Support/InterfaceMessages.h"

#include <functional>

namespace kor::test
{
namespace
{

const std::string freq = "modMorvaEQ.eq-params.freq";
const std::string names = "io-params.group-names";

CAudioPreset presentState(CInterfaceFixture& f)
{
    CNotingRegistry registry;
    std::uint32_t id = 0;
    EXPECT_TRUE(succeeded(f.client->listenRegistry(id, "plugin.param-registry", registry)));
    EXPECT_TRUE(succeeded(f.client->requestPreset(id, 1, CAudioPresetSource::session, -1)));
    dispatch();
    EXPECT_TRUE(succeeded(f.client->unlistenRegistry(id)));
    return registry.lastPreset;
}

std::string number(double value)
{
    std::string text = std::to_string(value);
    return text.substr(0, text.find_last_not_of('0') + 1);
}

}

TEST(InterfaceCommands, DoWhatTheySayAndTellTheClient)
{
    CInterfaceFixture f;
    CNotingCopy freqs, texts;
    CNotingRegistry registry;
    const std::uint32_t freqId = f.client.listen(freqs, freq);
    const std::uint32_t textId = f.client.listen(texts, names);
    std::uint32_t registryId = 0, undo = 0;
    EXPECT_TRUE(succeeded(f.client->listenRegistry(registryId, "plugin.param-registry", registry)));
    dispatch();
    CAudioParam& param = f.param(freq);
    CAudioInterfaceClient& c = *f.client;
    const CAudioPreset initial = presentState(f);
    const auto history = [&]
    {
        std::string text;
        for (const CStringBuf& label : c.undoLabels())
            text += label.toUtf8() + ",";
        return text + "@" + std::to_string(c.undoPosition());
    };
    const auto seen = [&] { return number(param.getValue(1, 2)) + " " + freqs.take(); };
    const auto program = [&]
    {
        return std::to_string(registry.program) + " " +
               registry.session[static_cast<std::size_t>(registry.program)].toUtf8();
    };
    // How a change of the whole parameter looks to a client: every group of its own, each list cut.
    const std::string loaded = "0:0+5| 1:0+5| 2:0+5| 3:0+5| 4:0+5| 5:0+5| 6:0+5| 7:0+5| ";
    std::uint32_t extra = 0;
    CNotingCopy other;
    double value = 0.0;
    const CTextChange text(0, 3, "Str\xc3\xb6me {x}");

    struct CRow
    {
        const char* what;
        std::function<CError()> act;
        std::function<std::string()> result;
        std::string expected;
    };
    const CRow rows[] = {
        {"listen-param", [&] { return c.listenParam(extra, param.fullName(), other); },
         [&] { return other.take().substr(0, 12); }, "info 0:0+16|"},
        {"unlisten-param", [&] { return c.unlistenParam(extra); },
         [&]
         {
             param.setValue(0, 0, 500.0);
             dispatch();
             freqs.take();
             return other.take();
         },
         ""},
        {"change-param",
         [&]
         {
             value = 1234.5;
             return c.changeParam(freqId, 0, changeOf(1, 2, value));
         },
         seen, "1234.5 1:2+1 "},
        {"change-param, equal", [&] { return c.changeParam(freqId, 0, changeOf(1, 2, value)); }, seen, "1234.5 1:2+1 "},
        {"change-param, beyond the range",
         [&]
         {
             value = 1e9;
             return c.changeParam(freqId, 0, changeOf(1, 2, value));
         },
         [&]
         {
             freqs.take();
             return number(param.getValue(1, 2) - param.info().maxValue(0));
         },
         "0."},
        {"change-param, text", [&] { return c.changeParam(textId, 0, text.request); },
         [&]
         {
             return f.param(names).getText(0, 3).toUtf8() +
                    (texts.values().getText(0, 3) == f.param(names).getText(0, 3) ? " =" : " !");
         },
         text.items.text(1).toUtf8() + " ="},
        {"reset-param", [&] { return c.resetParam(freqId, 0, 1, 2); },
         [&] { return number(param.getValue(1, 2) - param.info().defaultValue(1, 2)) + " " + freqs.take(); },
         "0. 1:2+1 "},
        {"reset-param, all", [&] { return c.resetParam(freqId, 0, allGroups, everyIndex); },
         [&] { return freqs.take(); }, loaded},
        {"create-undo-data", [&] { return c.createUndoData(undo, "Drag"); }, history, "Undo history start,@0"},
        {"change-param in a record",
         [&]
         {
             value = 777.0;
             return c.changeParam(freqId, undo, changeOf(1, 2, value));
         },
         seen, "777. 1:2+1 "},
        {"submit-undo-data", [&] { return c.submitUndoData(undo); }, history, "Undo history start,Drag,@1"},
        {"remove-undo-data",
         [&]
         {
             KOR_TRY(c.createUndoData(undo, "x"));
             KOR_TRY(c.changeParam(freqId, undo, changeOf(1, 3, value)));
             return c.removeUndoData(undo);
         },
         [&]
         {
             freqs.take();
             return history();
         },
         "Undo history start,Drag,@1"},
        {"submit-undo-data under another label",
         [&]
         {
             KOR_TRY(c.createUndoData(undo, "x"));
             KOR_TRY(c.changeParam(freqId, undo, changeOf(1, 4, value)));
             return c.submitUndoData(undo, "Named");
         },
         [&]
         {
             freqs.take();
             return history();
         },
         "Undo history start,Drag,Named,@2"},
        {"set-undo-history-pos", [&] { return c.setUndoHistoryPos(0); },
         [&] {
             return history() + " " + number(param.getValue(1, 2) - param.info().defaultValue(1, 2)) + " " +
                    freqs.take();
         },
         "Undo history start,Drag,Named,@0 0. 1:0+5| 1:0+5| "},
        {"listen-registry", [&] { return CError(); },
         [&]
         {
             return registry.id + " " + std::to_string(registry.factory.size()) + " " +
                    std::to_string(registry.session.size()) + " " + program();
         },
         "q7ne 11 11 0 q7ne:Default"},
        {"rename-preset", [&] { return c.renamePreset(registryId, 0, "Mine"); }, program, "0 q7ne:Mine"},
        {"set-current-program", [&] { return c.setCurrentProgram(registryId, 2); },
         [&]
         {
             freqs.take();
             return program() + std::to_string(f.instance.registry().getCurrentProgram());
         },
         "2 " + registry.session[2].toUtf8() + "2"},
        {"activate-factory-preset", [&] { return c.activateFactoryPreset(registryId, 3); },
         [&] { return program() + " " + history(); },
         "2 " + registry.factory[3].toUtf8() + " Undo history start,ROM preset activate,@1"},
        {"activate-preset", [&] { return c.activatePreset(registryId, initial); },
         [&]
         {
             freqs.take();
             return program() + " " + std::to_string(c.undoPosition());
         },
         "2 " + initial.name().toUtf8() + " 2"},
        {"request-preset", [&] { return c.requestPreset(registryId, 41, CAudioPresetSource::session, -1); },
         [&]
         {
             return std::to_string(registry.answers.back()) +
                    (registry.lastPreset.entries() == initial.entries() ? " =" : " !");
         },
         "41 ="},
        {"request-preset, factory", [&] { return c.requestPreset(registryId, 42, CAudioPresetSource::factory, 4); },
         [&] {
             return std::to_string(registry.answers.back()) +
                    (registry.lastPreset.name() == registry.factory[4] ? " =" : " !");
         },
         "42 ="},
        {"request-bank", [&] { return c.requestBank(registryId, 43, CAudioPresetSource::session); },
         [&] { return std::to_string(registry.answers.back()) + " " + std::to_string(registry.lastBank.size()); },
         "43 11"},
        {"set-default-preset",
         [&]
         {
             value = 555.0;
             param.setValue(0, 0, value);
             KOR_TRY(c.setDefaultPreset(registryId, presentState(f)));
             param.setValue(0, 0, 666.0);
             return CError();
         },
         [&]
         {
             const CAudioParamStorage& d = freqs.defaults();
             freqs.take();
             return number(d.getValue(0, 0));
         },
         "555."},
        {"activate-default-preset", [&] { return c.activateDefaultPreset(registryId); },
         [&] { return number(freqs.values().getValue(0, 0)); }, "555."},
        {"update-shadow-preset", [&] { return c.updateShadowPreset(registryId); }, [&] { return std::string(); }, ""},
        {"exchange-shadow-preset",
         [&]
         {
             param.setValue(0, 0, 888.0);
             return c.exchangeShadowPreset(registryId);
         },
         [&] { return number(freqs.values().getValue(0, 0)); }, "555."},
        {"exchange-shadow-preset back", [&] { return c.exchangeShadowPreset(registryId); },
         [&] { return number(freqs.values().getValue(0, 0)); }, "888."},
        {"unlisten-registry", [&] { return c.unlistenRegistry(registryId); },
         [&]
         {
             f.instance.registry().setCurrentProgram(5);
             dispatch();
             return std::to_string(registry.program);
         },
         "2"},
    };
    freqs.take();
    for (const CRow& row : rows)
    {
        EXPECT_TRUE(succeeded(row.act())) << row.what;
        dispatch();
        EXPECT_EQ(row.result(), row.expected) << row.what;
    }
    EXPECT_EQ(difference(freqs, param), "");
    EXPECT_EQ(difference(texts, f.param(names)), "");
}

TEST(InterfaceCommands, CountsAndRateComeAtTheStartAndWhenTheyChange)
{
    CInterfaceFixture f;
    CTestClient late(f.instance);
    const auto seen = [&](const CTestClient& client)
    {
        std::string text;
        for (const int count : {client->internalChannelCount(), client->groupCount(), client->inputCount(),
                                client->outputCount(), client->sidechainCount(), static_cast<int>(client->sampleRate()),
                                static_cast<int>(client->sampleRateChanges())})
            text += std::to_string(count) + " ";
        return text;
    };
    EXPECT_EQ(seen(f.client), "8 8 0 0 0 44100 0 ");
    f.instance.interfaceBase().setIoChannelCounts(2, 4, 1);
    f.instance.interfaceBase().setSampleRate(96000.0);
    f.instance.interfaceBase().setSampleRate(96000.0);
    dispatch();
    EXPECT_EQ(seen(f.client), "8 8 2 4 1 96000 1 ");
    EXPECT_EQ(seen(late), seen(f.client));
    EXPECT_EQ(seen(CTestClient(f.instance)), seen(f.client));
    EXPECT_TRUE(succeeded(f.instance.start(1, 2, 48000.0)));
    f.instance.stop();
    dispatch();
    EXPECT_EQ(seen(f.client), "8 8 1 2 0 48000 2 ");
    EXPECT_EQ(f.client->groupName(0).toUtf8(), f.param(names).getText(0, 0).toUtf8());

    CAudioParam& label = f.param("io-params.in-channel-names");
    f.instance.interfaceBase().setLabelImport([&](CAudioParamUndoContext& undo)
                                              { label.setText(0, 0, "Left", &undo); });
    EXPECT_TRUE(succeeded(f.client->importChannelLabels()));
    dispatch();
    EXPECT_EQ(label.getText(0, 0).toUtf8(), "Left");
    EXPECT_EQ(f.client->undoLabels().back().toUtf8(), "Channel label import");
}

TEST(InterfaceCommands, ABrokenMessageChangesNothing)
{
    CInterfaceFixture f;
    const std::vector<CNamedMessage> messages = clientMessages({}, presentState(f));
    // What the commands need is there, so that each would do something.
    std::string before;
    for (const CNamedMessage& message : messages)
    {
        if (message.command.starts_with("unlisten"))
            continue;
        before = stateOf(f.instance);
        // Each place of the short messages; of the long ones those near an end, and a share of the rest.
        for (std::size_t size = 0; size < message.block.size();
             size += size < 300 || size + 100 > message.block.size() ? 1 : 97)
        {
            const CByteArray part(message.block.begin(), message.block.begin() + static_cast<std::ptrdiff_t>(size));
            const std::string failure = f.process(part);
            EXPECT_TRUE(failure.starts_with("Premature end"))
                << message.command << " cut to " << size << ": " << failure;
        }
        EXPECT_TRUE(stateOf(f.instance) == before) << message.command;
        EXPECT_EQ(f.process(message.block), "") << message.command;
    }

    struct Case
    {
        const char* what;
        CByteArray block;
        const char* failure;
    };
    const auto change = [](std::initializer_list<std::uint32_t> fields)
    {
        CInterfaceMessage message("change-param");
        message.number(CMessageIds().number).number(0);
        for (const std::uint32_t field : fields)
            message.number(field);
        return message.block();
    };
    const CMessageIds ids;
    const Case cases[] = {
        {"empty name", CInterfaceMessage("").block(), "Unknown event ''."},
        {"unknown", CInterfaceMessage("format-disk").block(), "Unknown event 'format-disk'."},
        {"no registry", CInterfaceMessage("listen-registry").text("plugin.audio-env").number(ids.registry).block(),
         "No param registry object 'plugin.audio-env' found."},
        {"no such preset",
         CInterfaceMessage("request-preset").number(ids.registry).number(1).number(0).number(99).number(-1).block(),
         "Invalid preset index 99 specified."},
        {"group", change({64, 0, 1, 0, 1, 0, 0, 0, 0, 0}), "Invalid change: the group is 64."},
        {"range", change({0, 65536, 1, 0, 1, 0, 0, 0, 0, 0}), "Invalid change: the element count is 1 (at most 0)."},
        {"size", change({0, 0, 65536, 0, 0xffffffff, 0, 0, 0}),
         "Invalid change: the element size is 4294967295 (at most 4)."},
        {"type", change({0, 0, 1, 0, 1, 3, 0, 0}), "Invalid change: the data type is 3 (at most 2)."},
        {"values that are not there", change({0, 0, 65536, 0, 1, 0, 0, 0}),
         "Premature end of memory resource while reading"},
        {"items that are not there", change({0, 0, 1, 0, 1, 1, 0, 0, 1, 0xffffffff}),
         "Premature end of memory resource while reading"},
        {"text for a number", change({0, 0, 0, 0, 1, 1, 0, 0, 0}), ""},
        {"unknown listener",
         CInterfaceMessage("reset-param").number(0x1ffff).number(0).number(0).number(0).number(0).block(), ""},
        {"unknown client", CInterfaceMessage("listen-param").text("plugin.x").number(0x70001).block(), ""},
        {"huge preset",
         CInterfaceMessage("activate-preset").number(ids.registry).number(-1).text("q7ne:x").number(0xffffffff).block(),
         "Premature end of memory resource while reading"},
    };
    for (const CNamedMessage& message : messages)
        EXPECT_EQ(message.command.starts_with("listen-") ? f.process(message.block) : "", "");
    before = stateOf(f.instance);
    for (const Case& c : cases)
        EXPECT_TRUE(f.process(c.block).starts_with(c.failure)) << c.what << ": " << f.process(c.block);
    EXPECT_TRUE(stateOf(f.instance) == before);
    EXPECT_EQ(f.instance.collector().findParam("plugin.x"), nullptr) << "listening to a name makes no parameter";
}

}
