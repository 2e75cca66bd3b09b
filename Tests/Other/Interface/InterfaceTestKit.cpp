// SPDX-License-Identifier: GPL-3.0-or-later
#include "InterfaceTestKit.h"

#include "Audio/Parameters/CAudioParamDataItemString.h"
#include "Audio/Plugin/AudioCreators.h"
#include "Core/CApplication.h"
#include "Core/CResourceTable.h"
#include "Core/CWriteSeqBuffer.h"
#include "MorvaResources.h"
#include "Platform/CEventLoop.h"
#include "Support/CFreshDataFolders.h"

#include <cmath>

namespace kor::test
{

namespace
{
const std::string mainPrefix = "plugin.modMain.";
}

CProductTree::CProductTree()
{
    static const CFreshDataFolders folders;
    static const bool isStarted = []
    {
        CApplicationSetup setup{};
        setup.sharedTree = "";
        EXPECT_TRUE(succeeded(CApplication::initApplication(setup)));
        CApplication::destroySharedObjectForTests();
        for (const CCreatorRow& row : allCreators())
            addTestType(row);
        CResourceTable::add(morvaResources);
        return true;
    }();
    EXPECT_TRUE(isStarted);
    EXPECT_TRUE(succeeded(CApplication::initSharedObject("SharedData.xml")));
}

CProductTree::~CProductTree()
{
    CApplication::destroySharedObjectForTests();
}

void CNotingCopy::onParamInfo(const CAudioParamInfo& info, const CAudioParamRequest* defaults)
{
    notes += defaults != nullptr ? "info " : "none ";
    CParamCopy::onParamInfo(info, defaults);
}

void CNotingCopy::onParamChange(const CAudioParamRequest& change)
{
    notes += std::to_string(change.group) + ":" + std::to_string(change.firstElement) + "+" +
             std::to_string(change.elementCount) + (change.cut ? "| " : " ");
    CParamCopy::onParamChange(change);
}

void CNotingRegistry::onRegistryNames(CAudioPresetSource source, const CStringBuf& registryId, int current,
                                      const CArray<CStringBuf>& names)
{
    id = registryId.toUtf8();
    program = current;
    (source == CAudioPresetSource::factory ? factory : session) = names;
}

void CNotingRegistry::onRegistryPreset(std::uint32_t requestId, CAudioPreset preset)
{
    answers.push_back(requestId);
    lastPreset = std::move(preset);
}

void CNotingRegistry::onRegistryBank(std::uint32_t requestId, CAudioPresetBank bank)
{
    answers.push_back(requestId);
    lastBank = std::move(bank);
}

CTestClient::CTestClient(CAudioInstance& instance)
{
    EXPECT_TRUE(succeeded(tree.create(instance.tree())));
    dispatch();
}

std::uint32_t CTestClient::listen(CNotingCopy& copy, const std::string& name)
{
    std::uint32_t id = 0;
    const std::string full = name.starts_with("plugin.") ? name : mainPrefix + name;
    EXPECT_TRUE(succeeded(tree.client().listenParam(id, CStringBuf(full), copy)));
    return id;
}

namespace
{
CAudioInstance& created(CAudioInstance& instance)
{
    EXPECT_TRUE(succeeded(instance.create()));
    return instance;
}
}

CInterfaceFixture::CInterfaceFixture() : client(created(instance))
{
    EXPECT_TRUE(succeeded(instance.tree().findObjectChecked(connector, "plugin.interface-base-connector")));
}

CAudioParam& CInterfaceFixture::param(const std::string& key) const
{
    return *instance.findParam(CStringBuf(key));
}

std::string CInterfaceFixture::process(const CByteArray& block) const
{
    return connector->processClientData(block).message();
}

void dispatch()
{
    CEventLoop::ofThisThread()->dispatch();
}

CAudioParamRequest changeOf(int group, int element, const double& value)
{
    CAudioParamRequest request;
    request.group = group;
    request.firstElement = element;
    request.values = &value;
    return request;
}

CTextChange::CTextChange(int group, int element, const CStringBuf& text)
    : id(items.add(new CAudioParamDataItemString(text)))
{
    request.group = group;
    request.firstElement = element;
    request.type = CAudioParamType::string;
    request.values = &id;
    request.items = &items;
}

std::string difference(const CParamCopy& copy, const CAudioParam& param)
{
    CLockHolder hold(param.lock());
    const auto at = [&](const char* what, int g = 0, int e = 0)
    { return param.fullName().toUtf8() + ": " + what + " at " + std::to_string(g) + "," + std::to_string(e) + "; "; };
    if (!(copy.info() == param.info()))
        return at("definition");
    const auto compare = [&](const CAudioParamStorage& a, const CAudioParamStorage& b, int g) -> std::string
    {
        if (a.elementCount(g) != b.elementCount(g))
            return at("element count", g, a.elementCount(g));
        for (int e = 0; e <= a.elementCount(g); ++e)
        {
            const bool isEqual = param.info().type == CAudioParamType::real ? a.getValue(g, e) == b.getValue(g, e)
                                 : param.info().type == CAudioParamType::string
                                     ? a.getText(g, e) == b.getText(g, e)
                                     : std::ranges::equal(a.getRaw(g, e), b.getRaw(g, e));
            if (!isEqual)
                return at("value", g, e);
        }
        return "";
    };
    std::string found;
    for (int g = 0; g < param.values().groupCount(); ++g)
        found += compare(copy.values(), param.values(), g);
    if (const std::string defaults = compare(copy.defaults(), param.defaultValues(), 0); !defaults.empty())
        found += "default " + defaults;
    return found;
}

std::string stateOf(CAudioInstance& instance)
{
    CWriteSeqBuffer out;
    CError failure;
    const auto note = [&](CError error) { EXPECT_TRUE(succeeded(error)); };
    instance.collector().forEachParam(
        [&](CAudioParam& param)
        {
            CLockHolder hold(param.lock());
            note(out.writeString(param.fullName()));
            note(param.values().save(out, everyIndex));
            note(param.defaultValues().save(out, everyIndex));
        });
    note(out.writeInt(instance.registry().getCurrentProgram()));
    for (const CStringBuf& name : instance.registry().getPresetNames(CAudioPresetSource::session))
        note(out.writeString(name));
    CArray<CStringBuf> labels;
    int position = 0;
    instance.interfaceBase().getHistory(labels, position);
    for (const CStringBuf& label : labels)
        note(out.writeString(label));
    note(out.writeInt(position));
    const CByteArray bytes = out.getContents();
    return {bytes.begin(), bytes.end()};
}

}
