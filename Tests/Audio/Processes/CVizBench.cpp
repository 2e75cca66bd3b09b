// SPDX-License-Identifier: GPL-3.0-or-later
#include "CVizBench.h"

#include "Audio/Graph/CAudioGraphContext.h"

namespace kor::test
{

namespace
{

CTreeNode valuesOf(CTreeNode made, std::initializer_list<std::pair<const char*, double>> values)
{
    int index = 0;
    for (const auto& [name, value] : values)
    {
        made.children.push_back(param(name, value));
        made.children.push_back(slot(name, index++));
    }
    return made;
}

}

CVizBench::CVizBench(std::vector<CTreeNode> nodes, CAttrs attrs, double framesPerSecond)
{
    addAllTypes();
    addTestType(creatorRow<CAudioVizCollector>("audio:viz-collector"));
    CTreeNode shared;
    shared.children = {converters(),
                       node("core:object", "audio", {}, {param("param-enable-viz", 0.0,
                                                               {{"is-global", "true"},
                                                                {"is-single-group", "true"},
                                                                {"is-single-element", "true"}})})};
    CTreeNode root;
    root.children = {node("audio:audio-env", "env", {{"viz-fps", std::to_string(framesPerSecond)}}),
                     node("audio:param-collector", "params"),
                     node("audio:viz-collector", "viz", {{"env", "^env"}, {"param-collector", "^params"}}),
                     process("main", std::move(attrs), std::move(nodes))};
    tree = std::make_unique<CTestTree>(shared, root);
    EXPECT_EQ(tree->loadFailure(), "");
    env = dynamic_cast<CAudioEnv*>(tree->find("env"));
    params = dynamic_cast<CAudioParamCollector*>(tree->find("params"));
    viz.collector = dynamic_cast<CAudioVizCollector*>(tree->find("viz"));
    viz.prefix = "main.";
    params->setEnvironment(*env);
    params->setGroupCount(8);
    host = std::make_unique<CAudioGraphHost>(*params, *env);
    host->context().viz = viz.collector;
    EXPECT_TRUE(succeeded(host->create(dynamic_cast<const CAudioProcessDefBase&>(tree->at("main")), "main")));
}

void CVizBench::start(const std::vector<int>& groups, double rateHz)
{
    env->isProcessing = true;
    ASSERT_TRUE(succeeded(host->setLayout(groups, rateHz)));
}

CSignals CVizBench::run(const CSignals& in, const std::vector<int>& blocks)
{
    const int frames = static_cast<int>(in.front().size());
    CSignals out(in.size(), CSignal(static_cast<std::size_t>(frames)));
    std::size_t turn = 0;
    for (int at = 0; at < frames; ++turn)
    {
        const int count = std::min(blocks[turn % blocks.size()], frames - at);
        std::vector<const double*> from;
        std::vector<double*> to;
        for (std::size_t c = 0; c < in.size(); ++c)
        {
            from.push_back(in[c].data() + at);
            to.push_back(out[c].data() + at);
        }
        viz.collector->frameUpdate();
        host->process(from.data(), to.data(), static_cast<int>(to.size()), count);
        viz.read();
        at += count;
    }
    return out;
}

void CVizBench::set(const std::string& name, double value, int group)
{
    CAudioParam* found = params->findParam(CStringBuf("main." + name));
    ASSERT_NE(found, nullptr) << name;
    found->setValue(group, 0, value);
}

std::vector<std::string> CVizBench::running() const
{
    std::vector<std::string> names;
    host->rootProcess()->visitRunning([&](CAudioProcessBase& one) { names.push_back(one.name().substr(5).toUtf8()); });
    return names;
}

CTreeNode meterNode(const char* name, const CMeterKind& kind, const CMeterSettings& settings, CAttrs attrs)
{
    const auto text = [](bool value) { return std::string(value ? "true" : "false"); };
    attrs.insert(attrs.end(), {{"is-diff", text(kind.isDiff)},
                               {"is-compression", text(kind.isCompression)},
                               {"is-inverted", text(kind.isInverted)},
                               {"is-outoforder", "true"}});
    return valuesOf(node("audio:modMeter", name, std::move(attrs)),
                    {{"peak-time", settings.peakTime},
                     {"rms-time", settings.rmsTime},
                     {"gain", settings.gain},
                     {"bias-time", settings.biasTime},
                     {"use-bias", settings.useBias},
                     {"release", settings.release},
                     {"peak-gain", settings.peakGain},
                     {"rms-time2", settings.rmsTime2},
                     {"release2", settings.release2},
                     {"use-time2", settings.useTime2}});
}

CTreeNode spectrumNode(const char* name, const CSpectrumSettings& settings, CAttrs attrs)
{
    attrs.insert(attrs.end(), {{"is-outoforder", "true"}, {"is-stacked", "true"}});
    return valuesOf(node("audio:modSpectrum", name, std::move(attrs)),
                    {{"block-size", settings.blockSize},
                     {"overlap", settings.overlap},
                     {"avg-time", settings.averageTime},
                     {"type", static_cast<int>(settings.type)},
                     {"reset", 0.0},
                     {"sec-type", static_cast<int>(settings.secondType)},
                     {"sec-enable", settings.hasSecond}});
}

CTreeNode vizState(int id, const char* slotName)
{
    CTreeNode made = state(id, (std::string(slotName) + "-enable").c_str(), {{"is-inverted", "true"}});
    made.name = "process-bypass-state-viz";
    return made;
}

}
