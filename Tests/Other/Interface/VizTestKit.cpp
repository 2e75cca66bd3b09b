// SPDX-License-Identifier: GPL-3.0-or-later
#include "VizTestKit.h"

namespace kor::test
{

CVizTree::CVizTree()
{
    for (const CCreatorRow& row : parameterCreators())
        addTestType(row);
    addTestType(creatorRow<CAudioVizCollector>("audio:viz-collector"));
    const auto param = [](const char* name, const char* max, const char* def, bool isSingle, bool isText)
    {
        CTreeNode node{"audio:param", name, {{"min-values", "0"}, {"max-values", max}, {"def-values", def},
                                             {"is-global", "true"}, {"is-single-group", isSingle ? "true" : "false"},
                                             {"converter", isText ? "shared::audio.cvt.text" : "shared::audio.cvt.real"}}};
        if (isText)
            node.attrs.emplace_back("data-type", "string");
        return node;
    };
    CTreeNode shared;
    shared.children = {{"core:object", "audio", {}, {
        {"core:object", "cvt", {}, {{"audio:cvt-real", "real"}, {"audio:cvt-text", "text"}}},
        param("param-enable-viz", "1", "0", true, false), param("export", "48", "0", false, false),
        param("color", "16", "0", false, false), param("name", "0", "Unnamed", true, true),
        param("groups", "0", "G1,G2", true, true)}}};
    tree = std::make_unique<CTestTree>(shared, CTreeNode());
}

CAudioParamDef& CVizTree::def(const char* name)
{
    return dynamic_cast<CAudioParamDef&>(tree->at((std::string("shared::audio.") + name).c_str()));
}

double CVizContent::value(std::size_t i) const
{
    if (i >= items.size())
        return -1.0;
    const CAudioVizDataPtr& data = items[i].data;
    if (const auto* meter = data.as<CAudioVizDataMeter>())
        return meter->value;
    const auto* spectrum = data.as<CAudioVizDataSpectrum>();
    return spectrum != nullptr && !spectrum->values.empty() ? spectrum->values.front() : -1.0;
}

CVizInstance::CVizInstance(CVizTree& tree, const char* name)
{
    CAttrMap wiring;
    wiring["env"].setString("^env");
    wiring["param-collector"].setString("^params");
    wiring["export-slot-param"].setString("export");
    wiring["export-color-param"].setString("color");
    EXPECT_TRUE(succeeded(tree.root().createChild(parent, "core:object", name, false)));
    EXPECT_TRUE(succeeded(parent->createChild(env, "audio:audio-env", "env", false)));
    EXPECT_TRUE(succeeded(parent->createChild(params, "audio:param-collector", "params", false)));
    params->setEnvironment(*env);
    params->setGroupCount(8);
    EXPECT_TRUE(succeeded(parent->createChild(viz, "audio:viz-collector", "viz", false, nullptr, &wiring)));
    params->defineParam("export", tree.def("export"));
    params->defineParam("color", tree.def("color"));
    params->defineParam("plugin.modMain.instance-name", tree.def("name"));
    params->defineParam("plugin.modMain.io-params.group-names", tree.def("groups"));
    params->getParam("plugin.modMain.modSpectrum-enable");          // as a bypass state asks for it
    env->isProcessing = true;
    params->collectorReady();
    params->findParam("plugin.modMain.instance-name")->setText(0, 0, name);
}

CVizInstance::~CVizInstance()
{
    CObject::destroy(parent);
}

void CVizInstance::run(double seconds)
{
    env->time += seconds;
    viz->frameUpdate();
    params->flush();
}

void CVizInstance::set(const char* param, int group, int element, double value)
{
    params->findParam(param)->setValue(group, element, value);
}

void CVizInstance::postMeter(double value, int group, const CStringBuf& slotName)
{
    CAudioVizSlot& slot = viz->getSlot(slotName);
    auto meter = viz->makeMeter(slot);
    meter->group = group;
    meter->time = env->time;
    meter->value = value;
    viz->post(slot, std::move(meter));
}

void CVizInstance::postSpectrum(double value, int group, int valueCount, const CStringBuf& slotName)
{
    CAudioVizSlot& slot = viz->getSlot(slotName);
    auto spectrum = viz->makeSpectrum(slot, valueCount);
    std::ranges::fill(spectrum->values, value);
    spectrum->group = group;
    spectrum->time = env->time;
    spectrum->blockSize = 2 * (valueCount - 1);
    viz->post(slot, std::move(spectrum));
}

double CVizInstance::enabled(const CStringBuf& slot)
{
    CAudioParam* const param = params->findParam(slot + "-enable");
    if (param == nullptr)
        return -1.0;
    CAudioParamListener node;
    CAudioParamStorage values;
    param->addListener(node, values, 0, 0);
    return values.getValue(0, 0);
}

CVizContent CVizInstance::fetch()
{
    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(viz->writeVizData(out)));
    return readVizStream(out.getContents());
}

std::string CVizInstance::exportNames()
{
    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(viz->writeExportSlotNames(out)));
    const CByteArray bytes = out.getContents();
    CMemoryReader reader(bytes);
    std::int32_t count = -1;
    EXPECT_TRUE(succeeded(reader.readInt(count)));
    std::string all;
    for (; count > 0; --count)
    {
        std::int32_t index = -1;
        CStringBuf text;
        EXPECT_TRUE(succeeded(reader.readInt(index)));
        EXPECT_TRUE(succeeded(reader.readString(text)));
        all += std::to_string(index) + "=" + text.toUtf8() + ";";
    }
    EXPECT_EQ(reader.remaining(), 0);
    return all;
}

CVizContent readVizStream(const CByteArray& bytes)
{
    CVizContent content;
    CMemoryReader reader(bytes);
    EXPECT_TRUE(succeeded(reader.readDouble(content.time)));
    for (;;)
    {
        std::int32_t count = 0;
        const bool isRead = static_cast<bool>(succeeded(reader.readInt(count)));
        EXPECT_TRUE(isRead);
        if (!isRead || count <= 0)
            break;
        CStringBuf name;
        EXPECT_TRUE(succeeded(reader.readString(name)));
        for (; count > 0; --count)
        {
            CVizContent::CItem item{name.toUtf8(), {}};
            const auto read = succeeded(CAudioVizData::readAny(reader, item.data));
            EXPECT_TRUE(read);
            if (!read)
                return content;
            content.items.push_back(std::move(item));
        }
    }
    EXPECT_EQ(reader.remaining(), 0);
    return content;
}

}
