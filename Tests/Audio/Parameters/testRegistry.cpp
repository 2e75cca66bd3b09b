// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Parameters/CAudioPresetNameList.h"
#include "Audio/Parameters/ParameterCreators.h"
#include "ParamTree.h"
#include "StreamsInMemory.h"
#include "Support/CFreshDataFolders.h"

namespace kor::test
{
namespace
{

using CGroups = std::vector<std::vector<double>>;

// Offers a history as the instance's interface does.
class CUndoHolder : public CObject, public CAudioParamUndo
{
public:
    CError init() override
    {
        KOR_TRY(CObject::init());
        CAudioParamCollector* owner = nullptr;
        KOR_TRY(findObjectByAttr(owner, "param-collector"));
        setUp(*owner, 32);
        return {};
    }
    std::string steps() const
    {
        CArray<CStringBuf> labels;
        int position = 0;
        getHistory(labels, position);
        std::string text;
        for (std::size_t i = 1; i < labels.size(); ++i)
            text += (i > 1 ? "," : "") + labels[i].toUtf8();
        return text + "@" + std::to_string(position);
    }
};

// A parameter's values as they are stored, put down field by field.
CByteArray block(const CGroups& groups, std::uint32_t version = 1, std::uint32_t size = 1, std::uint32_t type = 0)
{
    CMemoryOut out;
    CError error = out.writeString("audio.old.place");
    for (const std::uint32_t field : {version, size, type, static_cast<std::uint32_t>(groups.size())})
        error = out.writeU32(field);
    for (const std::vector<double>& group : groups)
    {
        error = out.writeU32(static_cast<std::uint32_t>(group.size()));
        for (const double value : group)
            error = out.writeDouble(value);
    }
    return out.bytes;
}

CByteArray behindPath(const CByteArray& stored)
{
    return {stored.begin() + 4 + stored[0], stored.end()};
}

CAudioPreset preset(const char* name, const std::vector<std::pair<std::string, CByteArray>>& entries)
{
    CAudioPreset made;
    made.setName(name);
    for (const auto& [key, bytes] : entries)
        made.entries()[CStringBuf(key)] = bytes;
    return made;
}

CByteArray bytesOf(const CAudioPreset& saved)
{
    CMemoryOut out;
    EXPECT_TRUE(succeeded(saved.save(out)));
    return out.bytes;
}

CTreeNode param(const char* name, const CAttrs& changes)
{
    return {"audio:param", name, paramAttrs(changes), {}, ""};
}

const CAttrs kStorable = {{"is-storable", "true"}};
const CAttrs kText = {{"is-storable", "true"}, {"data-type", "string"}, {"def-values", "Plain"},
                      {"converter", "shared::audio.paramcvt.text"}};

// Four groups; a master over "plugin.main", a registry over its part "fx" that shows a name, one over "dyn" from whose
// list the parameter "sel" selects.
class RegistryTest : public ::testing::Test
{
protected:
    RegistryTest()
    {
        CLocalData::instance().forgetForTests();
        for (const CCreatorRow& row : parameterCreators())
            addTestType(row);
        addTestType(creatorRow<CUndoHolder>("test:undo"));
    }

    void writeList(const std::vector<CAudioPreset>& presets)
    {
        CAudioPresetBank bank;
        for (const CAudioPreset& each : presets)
            bank.append() = each;
        CMemoryOut out;
        EXPECT_TRUE(succeeded(CAudioPresetBank::saveList(out, {bank})));
        CLocalData::instance().write("dyn-list", out.bytes.data(), out.bytes.size(), CAudioPresetBank::listId);
    }

    void start(const char* remap = "plugin=audio")
    {
        const CTreeNode main{"core:object", "main", {}, {
            param("a", kStorable),
            param("z", kStorable),
            param("sole", {{"is-storable", "true"}, {"is-single-group", "true"}}),
            param("size", {{"is-persistent", "true"}}),
            param("passing", {{"is-global", "true"}}),
            param("late", kStorable),
            param("sel", {{"is-storable", "true"}, {"def-values", "0"}, {"param-registry", "plugin.reg-dyn"}}),
            param("title", {{"is-global", "true"}, {"is-single-group", "true"}, {"data-type", "string"},
                            {"def-values", "Default"}, {"converter", "shared::audio.paramcvt.text"}}),
            {"core:object", "fx", {}, {param("f", kStorable), param("click", {{"is-global", "true"}}),
                                       param("mode", kText)}},
            {"core:object", "dyn", {}, {param("t", {{"is-storable", "true"}, {"is-single-element", "true"}})}},
        }};
        const CTreeNode converters{"core:object", "paramcvt", {}, {{"audio:cvt-real", "real"},
                                                                   {"audio:cvt-text", "text"}}};
        CTreeNode shared;
        shared.children = {{"core:object", "audio", {}, {converters, main}}};
        const auto registry = [&](const char* name, const char* id, const char* hierarchy, CAttrs more)
        {
            more.insert(more.end(), {{"id", id}, {"hierarchy", hierarchy}, {"def-name-remap", remap},
                                     {"param-collector", "^param-collector"}, {"param-undo", "^undo"},
                                     {"preset-naming", id}});
            return CTreeNode{"audio:param-registry", name, more};
        };
        CTreeNode root;
        root.children = {{"core:object", "plugin", {}, {
            {"audio:param-collector", "param-collector"},
            {"test:undo", "undo", {{"param-collector", "^param-collector"}}},
            registry("reg", "mast", "plugin.main", {{"is-master", "true"}, {"preset-name-param", "plugin.main.title"}, {"file", bankFile}}),
            registry("reg-fx", "fx", "plugin.main.fx", {{"preset-name-param", "plugin.main.fx.mode"}}),
            registry("reg-dyn", "dyn", "plugin.main.dyn", {{"is-enumerated", "true"}, {"store-name", "dyn-list"}}),
        }}};
        tree = std::make_unique<CTestTree>(shared, root);
        if (!tree->loadFailure().empty())
            return;
        collector = &dynamic_cast<CAudioParamCollector&>(tree->at("plugin.param-collector"));
        undo = &dynamic_cast<CUndoHolder&>(tree->at("plugin.undo"));
        collector->setEnvironment(env);
        collector->setGroupCount(4);
        for (const char* key : {"a", "z", "sole", "size", "passing", "sel", "title", "fx.f", "fx.click", "fx.mode", "dyn.t"})
            collector->defineParam(CStringBuf("plugin.main.") + key, definition(key));
        collector->collectorReady();
    }

    const CAudioParamDef& definition(const char* key)
    {
        return dynamic_cast<CAudioParamDef&>(*tree->shared().findObject(CStringBuf("audio.main.") + key));
    }
    CAudioParamRegistry& reg(const char* name = "plugin.reg")
    {
        return dynamic_cast<CAudioParamRegistry&>(tree->at(name));
    }
    CAudioParam& at(const char* key) { return collector->getParam(CStringBuf("plugin.main.") + key); }

    CGroups values(const char* key)
    {
        CGroups all;
        for (int g = 0; g < (at(key).info().isSingleGroup ? 1 : 4); ++g)
        {
            all.emplace_back();
            for (int e = 0; e < at(key).getElementCount(g); ++e)
                all.back().push_back(at(key).getValue(g, e));
        }
        return all;
    }

    std::string activate(const CAudioPreset& given, const char* name = "plugin.reg", int group = everyIndex,
                         CAudioPresetScope scope = CAudioPresetScope::storable)
    {
        CMemoryIn in(bytesOf(given));
        return reg(name).activatePreset(in, scope, group).message();
    }

    CAudioPreset acquire(const char* name = "plugin.reg", int index = -1, int group = everyIndex)
    {
        CMemoryOut out;
        EXPECT_TRUE(succeeded(reg(name).acquirePreset(CAudioPresetSource::session, index, group, out)));
        CMemoryIn in(out.bytes);
        CAudioPreset read;
        EXPECT_TRUE(succeeded(read.load(in)));
        return read;
    }
    static std::string keys(const CAudioPreset& given)
    {
        std::string text;
        for (const auto& [key, bytes] : given.entries())
            text += (text.empty() ? "" : " ") + key.toUtf8();
        return text;
    }

    std::string bankFile;
    CFreshDataFolders folders;
    CAudioEnv env;                                  // outlives the collector in the tree
    std::unique_ptr<CTestTree> tree;
    CAudioParamCollector* collector = nullptr;
    CUndoHolder* undo = nullptr;
};

TEST_F(RegistryTest, CaptureLeavesOutWhatIsSelectedOrPassing)
{
    start();
    EXPECT_EQ(keys(acquire()), "a fx.f fx.mode sel size sole z");
    EXPECT_EQ(keys(acquire("plugin.reg-fx")), "f mode");
    EXPECT_EQ(keys(acquire("plugin.reg-dyn")), "t");
}

TEST_F(RegistryTest, KeysThatNameNothingStorableMakeNothing)
{
    start();
    std::size_t before = 0;
    collector->forEachParam([&](CAudioParam&) { ++before; });
    std::vector<std::pair<std::string, CByteArray>> entries = {{"z", block({{7}})}};
    for (const char* key : {"", ".z", "z.", "fx..f", "^main.a", "/plugin.main.a", "a#1", "{a}", "fx", "nothing", "fx.none",
                            "fx.", "shared::audio"})
        entries.emplace_back(key, block({{3}}));
    EXPECT_EQ(activate(preset("mast:Odd", entries)), "");
    std::size_t after = 0;
    collector->forEachParam([&](CAudioParam&) { ++after; });
    EXPECT_EQ(after, before);
    EXPECT_EQ(values("z"), (CGroups{{7}, {}, {}, {}}));
    // A parameter that no node has made yet but that is defined does come to be.
    EXPECT_EQ(activate(preset("mast:New", {{"late", block({{5}})}})), "");
    EXPECT_EQ(values("late"), (CGroups{{5}, {}, {}, {}}));
}

TEST_F(RegistryTest, WhatAPresetOmitsGoesToItsDefault)
{
    start();
    for (const char* key : {"a", "z", "size", "passing"})
        at(key).setValue(2, 1, 9);
    EXPECT_EQ(activate(preset("mast:Few", {{"z", block({{2, 3}})}, {"size", block({{4}})}})), "");
    EXPECT_EQ(values("z"), (CGroups{{2, 3}, {}, {}, {}}));      // groups that are not stored read as defaults
    EXPECT_EQ(at("z").getValue(2, 1), 1);
    EXPECT_EQ(values("a"), (CGroups{{1}, {1}, {1}, {1}}));
    EXPECT_EQ(values("size"), (CGroups{{1}, {1}, {1, 9}, {1}}));
    EXPECT_EQ(values("passing"), (CGroups{{1}, {1}, {1, 9}, {1}}));
    EXPECT_EQ(activate(preset("mast:All", {{"size", block({{4}})}}), "plugin.reg", everyIndex,
                       CAudioPresetScope::storableAndPersistent), "");
    EXPECT_EQ(values("size"), (CGroups{{4}, {}, {}, {}}));
}

TEST_F(RegistryTest, AMisfitEndsTheRunAndWhatWasSetCanBeUndone)
{
    struct CCase
    {
        CByteArray bytes;
        const char* message;
    };
    CByteArray cut = block({{1, 2}});
    cut.resize(cut.size() - 3);
    const CCase cases[] = {
        {block({{3}}, 2), "Unsupported data set version 2."},
        {block({{3, 3}}, 1, 2), "Unsupported storage format (esize=2, dtype=0; should be: esize=1, dtype=0)."},
        {block({{3}}, 1, 1, 1), "Unsupported storage format (esize=1, dtype=1; should be: esize=1, dtype=0)."},
        {cut, ""},
    };
    start();
    for (const CCase& c : cases)
    {
        undo->setPosition(0);
        const std::string message = activate(preset("mast:Bad", {{"a", block({{6}})}, {"sole", c.bytes},
                                                                 {"z", block({{8}})}}));
        if (*c.message != 0)
        {
            EXPECT_EQ(message, c.message);
        }
        EXPECT_NE(message, "");
        EXPECT_EQ(at("a").getValue(0, 0), 6);
        EXPECT_EQ(at("z").getValue(0, 0), 1);
        EXPECT_EQ(undo->steps(), "mast activate@1");
        EXPECT_EQ(at("title").getText(0, 0).toUtf8(), "Default");
    }
    EXPECT_EQ(activate(preset("fx:Else", {})), "Incompatible preset.");
    EXPECT_EQ(at("a").getValue(0, 0), 6);
    CMemoryOut out;
    EXPECT_EQ(reg().acquirePreset(CAudioPresetSource::session, 1, everyIndex, out).message(),
              "Invalid preset index 1 specified.");
    EXPECT_EQ(reg("plugin.reg-fx").acquireBank(CAudioPresetSource::session, out).message(),
              "Acquiring bank in a non-master registry is an error.");
}

TEST_F(RegistryTest, OneGroupGoesToAnother)
{
    start();
    at("a").setValue(1, 2, 5);
    at("sole").setValue(0, 0, 3);
    const CAudioPreset one = acquire("plugin.reg", -1, 1);
    at("fx.f").setValue(1, 1, 4);
    CAudioPreset part = acquire("plugin.reg-fx", -1, 1);
    EXPECT_EQ(part.name().toUtf8(), "fx:Plain");
    EXPECT_EQ(behindPath(part.entries()["f"]), behindPath(block({{1, 4}})));
    EXPECT_EQ(activate(part, "plugin.reg-fx", 3), "");
    EXPECT_EQ(values("fx.f"), (CGroups{{1}, {1, 4}, {1}, {1, 4}}));
    EXPECT_EQ(keys(one), "a fx.f fx.mode sel size sole z");     // a master stores whole states
    EXPECT_EQ(undo->steps(), "fx activate ()@1");
}

TEST_F(RegistryTest, AValueSelectsAPresetOfTheList)
{
    writeList({preset("dyn:One", {{"t", block({{2}})}}), preset("dyn:Two", {{"t", block({{3}})}})});
    start();
    EXPECT_EQ(values("dyn.t"), (CGroups{{2}, {2}, {2}, {2}}));
    at("dyn.t").setValue(1, 0, 7);
    auto record = undo->createRecord("pick");
    at("sel").setValue(1, 0, 1.4, record.get());
    undo->submit(std::move(record));
    EXPECT_EQ(values("dyn.t"), (CGroups{{2}, {3}, {2}, {2}}));
    undo->setPosition(0);
    EXPECT_EQ(values("dyn.t"), (CGroups{{2}, {7}, {2}, {2}})) << "back to what was set by hand";
    undo->setPosition(1);
    EXPECT_EQ(values("dyn.t"), (CGroups{{2}, {3}, {2}, {2}}));
    at("sel").setValue(allGroups, 0, 6);
    EXPECT_EQ(values("dyn.t"), (CGroups{{1}, {1}, {1}, {1}})) << "beyond the list all is default";

    // What a state holds of the selected parameters counts more than what it selects.
    EXPECT_EQ(activate(preset("mast:Both", {{"dyn.t", block({{9}, {8}})}, {"sel", block({{1}, {1}, {1}})}})), "");
    EXPECT_EQ(values("dyn.t"), (CGroups{{9}, {8}, {}, {}}));
    EXPECT_EQ(activate(preset("mast:Selects", {{"sel", block({{1}, {0}, {1}})}})), "");
    EXPECT_EQ(values("dyn.t"), (CGroups{{3}, {2}, {3}, {2}}));

    // The list may change while it is in use, and may break.
    writeList({preset("dyn:One", {{"t", block({{4}})}})});
    at("sel").setValue(0, 0, 0);
    EXPECT_EQ(at("dyn.t").getValue(0, 0), 4);
    CLocalData::instance().write("dyn-list", "\1\0\0\0\5", 5, CAudioPresetBank::listId);
    at("sel").setValue(0, 0, 0);
    EXPECT_EQ(at("dyn.t").getValue(0, 0), 1);
}

TEST_F(RegistryTest, AListGivesTheNamesOfItsStates)
{
    const CAudioParamNameList* const names = CAudioPresetNameList::find("dyn-list");
    ASSERT_NE(names, nullptr);
    EXPECT_EQ(CAudioPresetNameList::find("a/b"), nullptr);
    EXPECT_TRUE(names->stateNames().empty());
    writeList({preset("dyn:One", {}), preset("dyn:Two:3", {})});
    EXPECT_EQ(names->stateNames(), (CArray<CAudioParamStateName>{{"One", {}}, {"Two:3", {}}}));
    CLocalData::instance().write("dyn-list", "\0\0\0\0", 4, CAudioPresetBank::listId);
    EXPECT_TRUE(names->stateNames().empty());
}

// The same with two programs.
class RegistryProgramsTest : public RegistryTest
{
protected:
    RegistryProgramsTest()
    {
        CAudioPresetBank bank;
        bank.append() = preset("mast:First", {{"a", block({{2}})}});
        bank.append() = preset("mast:Second", {{"a", block({{3}})}});
        CMemoryOut body;
        EXPECT_TRUE(succeeded(bank.save(body)));
        CMemoryOut file;
        EXPECT_TRUE(succeeded(file.writeCompressedData(body.bytes.data(), static_cast<std::int64_t>(body.bytes.size()),
                                                       CAudioPresetBank::fileId)));
        addTestResource("test-bank", {file.bytes.begin(), file.bytes.end()});
        bankFile = "test-bank";
    }
    void edit(const char* key, double value)
    {
        auto record = undo->createRecord(CStringBuf(key));
        at(key).setValue(0, 0, value, record.get());
        undo->submit(std::move(record));
    }
    double a() { return at("a").getValue(0, 0); }
    std::string shown() { return at("title").getText(0, 0).toUtf8(); }
};

TEST_F(RegistryProgramsTest, ProgramsKeepEditsAndHistories)
{
    start();
    EXPECT_EQ(reg().getProgramCount(), 2);
    EXPECT_EQ(reg("plugin.reg-fx").getProgramCount(), 0);
    EXPECT_EQ(a(), 2);
    EXPECT_EQ(shown(), "First");
    edit("a", 6);
    reg().setCurrentProgram(1);
    EXPECT_EQ(a(), 3);
    EXPECT_EQ(shown(), "Second");
    EXPECT_EQ(undo->steps(), "@0");
    edit("z", 5);
    edit("a", 4);
    for (const int index : {1, 2, -1})
        reg().setCurrentProgram(index);
    EXPECT_EQ(a(), 4);
    reg().setCurrentProgram(0);
    EXPECT_EQ(a(), 6);
    EXPECT_EQ(at("z").getValue(0, 0), 1);
    EXPECT_EQ(undo->steps(), "a@1");
    undo->setPosition(0);
    EXPECT_EQ(a(), 2);
    reg().setCurrentProgram(1);
    EXPECT_EQ(undo->steps(), "z,a@2");
    EXPECT_EQ(behindPath(acquire("plugin.reg", 0).entries()["a"]), behindPath(block({{2}, {}, {}, {}})));

    reg().activateFactoryPreset(0);
    EXPECT_EQ(a(), 2);
    EXPECT_EQ(shown(), "First");
    EXPECT_EQ(undo->steps(), "z,a,ROM preset activate@3");
    undo->setPosition(2);
    EXPECT_EQ(a(), 4);
}

TEST_F(RegistryProgramsTest, FirstSwapOfAAndBOnlyKeeps)
{
    start();
    edit("a", 6);
    reg().exchangeShadowPreset();
    EXPECT_EQ(a(), 6);
    edit("a", 7);
    reg().exchangeShadowPreset();
    EXPECT_EQ(a(), 6);
    EXPECT_EQ(undo->steps(), "a@1");
    reg().exchangeShadowPreset();
    EXPECT_EQ(a(), 7);
    EXPECT_EQ(undo->steps(), "a,a@2");
    reg().updateShadowPreset();
    edit("a", 8);
    reg().exchangeShadowPreset();
    EXPECT_EQ(a(), 7);
}

TEST_F(RegistryProgramsTest, NamesReachProgramAndListeners)
{
    struct CListener : CAudioParamRegistryListener
    {
        void onProgramsChanged(CAudioParamRegistry& registry, const CAudioParamRegistryListener* sender) override
        {
            log += registry.getProgramName(registry.getCurrentProgram()).toUtf8() + (sender == this ? "! " : " ");
        }
        std::string log;
    } listener;
    start();
    reg().addListener(listener);
    reg().renamePreset(0, "Warm", &listener);
    EXPECT_EQ(shown(), "Warm");
    reg().renamePreset(1, "Other");
    EXPECT_EQ(reg().getProgramName(1).toUtf8(), "mast:Other");
    at("title").setText(0, 0, "By hand");
    EXPECT_EQ(reg().getProgramName(0).toUtf8(), "mast:By hand");
    EXPECT_EQ(listener.log, "mast:Warm! mast:Warm mast:By hand ");
    reg().setCurrentProgram(1, &listener);
    EXPECT_EQ(reg().getProgramName(0).toUtf8(), "mast:By hand");
    reg().removeListener(listener);
    reg().renamePreset(0, "Last");
    EXPECT_EQ(listener.log, "mast:Warm! mast:Warm mast:By hand mast:Other! ");
    EXPECT_EQ(reg().getProgramName(2).toUtf8(), "");
}

TEST_F(RegistryProgramsTest, NamesComeBackWithTheirSteps)
{
    start();
    reg().renamePreset(0, "Warm");
    reg().activateFactoryPreset(1);
    reg().activateDefaultPreset();
    EXPECT_EQ(undo->steps(), "Program name change,ROM preset activate,Master reset@3");
    const char* const titles[] = {"First", "Warm", "Second", "Default"};
    for (const int position : {3, 2, 1, 0, 3, 1})
    {
        undo->setPosition(position);
        EXPECT_EQ(shown(), titles[position]) << position;
        EXPECT_EQ(reg().getProgramName(0).toUtf8(), "mast:" + std::string(titles[position])) << position;
    }
    reg().setCurrentProgram(1);
    EXPECT_EQ(reg().getProgramName(0).toUtf8(), "mast:Warm");
}

TEST_F(RegistryProgramsTest, TheUsersDefaultsLastOverARestart)
{
    CByteArray bytes = bytesOf(preset("mast:Mine", {{"a", block({{5}, {6}})}, {"size", block({{7}})}}));
    CLocalData::instance().write("default-preset", bytes.data(), bytes.size(), CAudioPreset::fileId);
    start();
    EXPECT_EQ(a(), 5);
    EXPECT_EQ(at("size").getValue(0, 0), 7);
    EXPECT_EQ(reg().getProgramName(0).toUtf8(), "mast:Mine");
    edit("a", 9);
    at("size").setValue(0, 0, 3);
    reg().activateDefaultPreset();
    EXPECT_EQ(values("a"), (CGroups{{5}, {6}, {}, {}}));
    EXPECT_EQ(at("size").getValue(0, 0), 3) << "no part of presets";
    EXPECT_EQ(undo->steps(), "a,Master reset@2");

    // Another instance stores a new one.
    bytes = bytesOf(preset("mast:Mine", {{"a", block({{8}})}}));
    CLocalData::instance().write("default-preset", bytes.data(), bytes.size(), CAudioPreset::fileId);
    EXPECT_EQ(a(), 5);
    reg().update();
    at("a").reset(0, everyIndex);
    EXPECT_EQ(a(), 8);
    CLocalData::instance().write("default-preset", "?", 1, CAudioPreset::fileId);
    reg().activateDefaultPreset();
    EXPECT_EQ(a(), 8);
}

TEST_F(RegistryTest, EditsByHandTurnTheModeNameToUser)
{
    start();
    CAudioParamRegistry::markUser(at("fx.click"), 1, nullptr);
    CAudioParamRegistry::markUser(at("fx.mode"), 1, nullptr);
    CAudioParamRegistry::markUser(at("a"), 1, nullptr);
    EXPECT_EQ(at("fx.mode").getText(1, 0).toUtf8(), "Plain");
    auto record = undo->createRecord("edit");
    CAudioParamRegistry::markUser(at("fx.f"), 1, record.get());
    undo->submit(std::move(record));
    EXPECT_EQ(at("fx.mode").getText(1, 0).toUtf8(), "User");
    EXPECT_EQ(at("fx.mode").getText(0, 0).toUtf8(), "Plain");
    undo->setPosition(0);
    EXPECT_EQ(at("fx.mode").getText(1, 0).toUtf8(), "Plain");
    CAudioParamRegistry::markUser(at("fx.f"), allGroups, nullptr);
    EXPECT_EQ(at("fx.mode").getText(3, 0).toUtf8(), "User");
}

TEST_F(RegistryTest, ABadRemapStopsTheLoad)
{
    for (const char* remap : {"plugin", "a=b=c", "plugin=audio x="})
    {
        start(remap);
        const std::string bad = std::string(remap).substr(std::string(remap).find(' ') + 1);
        EXPECT_NE(tree->loadFailure().find("Invalid remapping string '" + bad + "' defined."), std::string::npos)
            << tree->loadFailure();
        tree.reset();
    }
}

TEST(Registry, RoutingPresetsFitWhatIsAllowed)
{
    struct CCase
    {
        std::vector<std::pair<std::string, CByteArray>> entries;
        bool usesMidSide;
        bool usesSidechain;
    };
    const CCase cases[] = {
        {{}, false, false},
        {{{"ms-pairs", block({{0, 0.4}, {1}})}}, false, false},
        {{{"ms-pairs", block({{0, 0.6}})}}, true, false},
        {{{"sidechain", block({{0, 1.2, 2}})}}, false, false},
        {{{"sidechain", block({{2, 3}})}}, false, true},
        {{{"sidechain-mute", block({{0}, {0, 1}})}, {"ms-pairs", block({{1, 1}})}}, true, true},
        {{{"ms-pairs", block({{1}}, 1, 1, 1)}, {"sidechain", {1, 2, 3}}}, false, false},
    };
    for (const CCase& c : cases)
        for (const bool ms : {false, true})
            for (const bool side : {false, true})
                EXPECT_EQ(CAudioParamRegistry::isRoutingCompatible(preset("x:y", c.entries), ms, side),
                          (ms || !c.usesMidSide) && (side || !c.usesSidechain))
                    << &c - cases;
}

}
}
