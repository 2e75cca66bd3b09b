// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CApplication.h"
#include "Core/CMemoryReader.h"
#include "Core/CNotifyServer.h"
#include "Core/CObject.h"
#include "Core/CTreeReader.h"
#include "../Tests/Support/CTreeBytes.h"

#include <benchmark/benchmark.h>

namespace kor
{
namespace
{

using test::CTreeBytes;
using test::CTreeNode;

/// A type with as many handlers as a control of the window has.
class CKnob : public CObject
{
public:
    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        for (int i = 0; i < 30; ++i)
            info.addAttr("handled-attribute-"_s + CStringBuf::fromInt(i), attrMethod<&CKnob::onAttr>);
    }

    CError onAttr(CAttrValue& value)
    {
        sum += value.asDouble();
        return {};
    }

    double sum = 0.0;
};

// A control as the window's tree has it: 9 attributes, of them 4 with handlers, 2 expansions, one live link; two
// plain children with 4 attributes each.
CTreeNode control(int index)
{
    CTreeNode node{"bench:knob",
                   "knob-" + std::to_string(index % 40),
                   {{"handled-attribute-3", std::to_string(index)},
                    {"handled-attribute-7", "0.25"},
                    {"handled-attribute-12", "true"},
                    {"handled-attribute-20", "{/ui.style scale?1.0}"},
                    {"is-blocked", "{*/^ is-blocked}"},
                    {"image-set", "{/ui.style button-image-set}"},
                    {"placement", "parent-left,top,center"},
                    {"is-hidden", "false"},
                    {"hint", "Sets how far this control reaches: [B]" + std::to_string(index % 100) + "[/B]"}},
                   {}};
    for (const char* name : {"param-data", "state-data"})
        node.children.push_back({"core:object",
                                 name,
                                 {{"param", "eq-params.gain-" + std::to_string(index % 100)},
                                  {"element", std::to_string(index % 32)},
                                  {"target", "{/^ full-name}"},
                                  {"use-mouse", "1"}},
                                 {}});
    return node;
}

// About 5,000 objects in panels of 30 controls.
CTreeNode window()
{
    CTreeNode ui{"core:object", "ui", {{"is-blocked", "false"}}, {}};
    ui.children.push_back({"core:object", "style", {{"scale", "1.25"}, {"button-image-set", "RealisticButton"}}, {}});
    int index = 0;
    for (int panel = 0; panel < 55; ++panel)
    {
        CTreeNode frame{"core:object", "panel-" + std::to_string(panel), {{"is-blocked", "{*ui is-blocked}"}}, {}};
        for (int i = 0; i < 30; ++i)
            frame.children.push_back(control(index++));
        ui.children.push_back(frame);
    }
    CTreeNode root;
    root.children.push_back(ui);
    return root;
}

int countObjects(const CObject& object)
{
    int count = 1;
    for (const CObject* child : object.children())
        count += countObjects(*child);
    return count;
}

void prepareProcess()
{
    if (CApplication::getSharedRoot() != nullptr)
        return;
    const auto addType = [](const CStringBuf& tag, CObjectCreator creator, CClassInit init)
    {
        CCreatorTable::registerCreator(tag, creator, init).ignore();
    };
    const CObjectCreator plain = []() -> CObject* { return new CObject; };
    addType("core:object", plain, &CObject::initClass);
    addType("bench:knob", []() -> CObject* { return new CKnob; }, &CKnob::initClass);
    // The real table has about 145 rows.
    for (int i = 0; i < 145; ++i)
        addType("ui:filler-"_s + CStringBuf::fromInt(i), plain, &CObject::initClass);
    CApplication::initSharedObject("").ignore();
}

void startTree(benchmark::State& state, const std::vector<unsigned char>& bytes, int instances)
{
    prepareProcess();
    int objects = 0;
    for (auto _ : state)
    {
        CNotifyServer server;
        auto* root = new CObject;
        root->makeRoot(&server);
        CMemoryReader reader(bytes.data(), bytes.size());
        if (CError failure = CTreeReader::load(*root, reader, true))
            state.SkipWithError(failure.text().c_str());
        CObject* made = nullptr;
        for (int i = 0; i < instances; ++i)
            if (CError failure = root->createChild(made, "panel", "panel", true))
                state.SkipWithError(failure.text().c_str());
        state.PauseTiming();
        objects = countObjects(*root);
        CObject::destroy(root);
        state.ResumeTiming();
    }
    state.counters["objects"] = objects;
}

void compiledTree(benchmark::State& state)
{
    startTree(state, CTreeBytes::of(window()), 0);
}

// The same objects from templates: each panel is made at run time.
void templateInstances(benchmark::State& state)
{
    CTreeNode tree = window();
    CTreeNode panel = tree.children[0].children[1];
    tree.children[0].children.resize(1);
    panel.base = "core:object";
    panel.name = "panel";
    panel.tag = "template";
    tree.children.push_back(panel);
    startTree(state, CTreeBytes::of(tree), 55);
}

void destroyTree(benchmark::State& state)
{
    prepareProcess();
    const std::vector<unsigned char> bytes = CTreeBytes::of(window());
    for (auto _ : state)
    {
        state.PauseTiming();
        CNotifyServer server;
        auto* root = new CObject;
        root->makeRoot(&server);
        CMemoryReader reader(bytes.data(), bytes.size());
        CTreeReader::load(*root, reader, true).ignore();
        state.ResumeTiming();
        CObject::destroy(root);
    }
}

BENCHMARK(compiledTree)->Unit(benchmark::kMillisecond);
BENCHMARK(templateInstances)->Unit(benchmark::kMillisecond);
BENCHMARK(destroyTree)->Unit(benchmark::kMillisecond);

}
}
