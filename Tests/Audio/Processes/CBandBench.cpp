// SPDX-License-Identifier: GPL-3.0-or-later
#include "CBandBench.h"

namespace kor::test
{

namespace
{

using CParamRows = std::vector<std::pair<const char*, const char*>>; // name, default

// The parameters take slots in their order.
CTreeNode nodeOf(const char* tag, const char* name, const CParamRows& params, CAttrs attrs = {})
{
    CTreeNode made = node(tag, name, std::move(attrs));
    int index = 0;
    for (const auto& [param, value] : params)
    {
        made.children.push_back(node("audio:param", param,
                                     {{"converter", "/cvt.real"}, {"min-values", "-5000"}, {"max-values", "30000"},
                                      {"def-values", value}}));
        made.children.push_back(slot(param, index++));
    }
    return made;
}

CTreeNode leveler(const char* name, double linking)
{
    return nodeOf("audio:modLeveler", name, {{"mode", "0"}, {"mix", "0"}, {"linking", std::to_string(linking).c_str()}},
                  {{"is-terminal-whole", "true"}, {"is-smooth-update", "true"}});
}

std::vector<CTreeNode> bandNodes(double linking)
{
    return {nodeOf("audio:modFilterIIR", "modFilter", {{"index", "0"}, {"freq", "1000"}, {"gain", "1"}, {"bw", "1"}},
                   {{"gen-array", "shared::audio.morvafilters"}}),
            nodeOf("audio:modAbs", "modAbsIn", {}),
            nodeOf("audio:modAbs", "modAbsFlt", {}),
            leveler("modLevelerIn", linking),
            leveler("modLevelerFlt", linking),
            nodeOf("audio:modMorvaEnvEQ", "modEnv",
                   {{"invert", "0"},
                    {"attack", "0.005"},
                    {"release", "0.1"},
                    {"dyn", "1"},
                    {"env-attack", "0.001"},
                    {"env-release", "0.1"}}),
            nodeOf("audio:modSignalMix", "modSignalMix", {{"gain", "1"}, {"db-mult", "1"}, {"db-mult2", "0"}},
                   {{"is-smooth-update", "true"}})};
}

CTreeNode treeOf(std::vector<CTreeNode> nodes, const CBandBench::CLinks& links)
{
    for (const auto& [from, to] : links)
        nodes.push_back(link(from, to));
    CTreeNode root;
    root.children = {converters(), process("main", {}, std::move(nodes))};
    return root;
}

}

CBandBench CBandBench::band(const char* outputNode, double linking)
{
    return CBandBench(bandNodes(linking), {{"*", "modFilter"},
                                           {"*", "modAbsIn"},
                                           {"modAbsIn", "modLevelerIn"},
                                           {"modFilter", "modAbsFlt"},
                                           {"modAbsFlt", "modLevelerFlt"},
                                           {"modLevelerFlt", "modEnv/0"},
                                           {"modLevelerIn", "modEnv/1"},
                                           {"modFilter", "modSignalMix/0"},
                                           {"*", "modSignalMix/1"},
                                           {"modEnv", "modSignalMix/2"},
                                           {outputNode, "*"}});
}

CBandBench CBandBench::node(const char* name, const CLinks& links)
{
    std::vector<CTreeNode> nodes = bandNodes(1.0);
    std::erase_if(nodes, [name](const CTreeNode& made) { return made.name != name; });
    return CBandBench(std::move(nodes), links);
}

CBandBench::CBandBench(std::vector<CTreeNode> nodes, const CLinks& links)
{
    addTestResource("test-band", CTreeBytes::of(treeOf(std::move(nodes), links)));
    createError = CApplication::initRootObject(root, "test-band");
    if (!createError)
        make(dynamic_cast<const CAudioProcessDefBase&>(*root->findObject("main")));
}

void CBandBench::setBand(const nlohmann::json& in)
{
    set("modFilter.index", in.at("mode"));
    for (const char* name : {"freq", "gain", "bw"})
        set(std::string("modFilter.") + name, in.at(name));
    set("modEnv.invert", in.at("invert").get<bool>() ? 1.0 : 0.0);
    for (const char* name : {"attack", "release", "dyn"})
        set(std::string("modEnv.") + name, in.at(name));
    set("modEnv.env-attack", in.at("env_attack"));
    set("modEnv.env-release", in.at("env_release"));
    restart();
}

}
