// SPDX-License-Identifier: GPL-3.0-or-later
#include "CNodeBench.h"

namespace kor::test
{

namespace
{

class CEchoModule : public CAudioModule
{
public:
    void registerParams() override { slot = registerParam(0); }
    void reset() override { last = 0.0; }
    bool update() override
    {
        const double next = paramValue(slot);
        const bool hasChanged = next != gain;
        gain = next;
        return hasChanged;
    }
    void process(const double* in, double* out, int count) override
    {
        for (int i = 0; i < count; ++i)
            out[i] = last = gain * in[i] + 0.5 * last;
    }

private:
    const CAudioParamStorage* slot = nullptr;
    double gain = 0.0;
    double last = 0.0;
};

/// Cannot be started.
class CRefusingProcess : public CAudioProcessBase
{
public:
    CError init() override { return KOR_FAIL("refuses to start"); }
};

template <class Process>
class CDefOf : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override { return std::make_unique<Process>(); }
};

CTreeNode rootOf(std::vector<CTreeNode> nodes, CAttrs attrs)
{
    addAllTypes();
    addTestType(creatorRow<CDefOf<CAudioProcessTerminal<CEchoModule>>>("test:echo"));
    addTestType(creatorRow<CDefOf<CRefusingProcess>>("test:refusing"));
    CTreeNode root;
    root.children = {process("main", std::move(attrs), std::move(nodes))};
    return root;
}

CTreeNode sharedNodes()
{
    CTreeNode shared;
    shared.children = {converters()};
    return shared;
}

}

CTreeNode routingNode(const char* tag, const char* name, CAttrs attrs, CAttrs params)
{
    CTreeNode made = node(tag, name, std::move(attrs));
    int index = 0;
    for (const auto& [list, defaults] : params)
    {
        made.children.push_back(
            param(list.c_str(), defaults, {{"is-global", "true"}, {"is-single-group", "true"}}));
        made.children.push_back(slot(list.c_str(), index++, {{"use-all-elements", "true"}}));
    }
    return made;
}

CTreeNode routerNode(const char* name, bool isOutput, const char* routing, const char* grouping)
{
    return routingNode("audio:modRouter", name, {{"is-output", isOutput ? "true" : "false"}},
                       {{"routing", routing}, {"grouping", grouping}});
}

CTreeNode coderNode(const char* name, const char* pairs, int mode)
{
    return routingNode("audio:modMSCoder", name, {},
                       {{"pairs", pairs}, {"mode", std::to_string(mode)}, {"bypass", "0"}});
}

CTreeNode echoNode(const char* name, const char* gains, CAttrs attrs)
{
    return node("test:echo", name, std::move(attrs), {param("gain", gains), slot("gain", 0)});
}

CSignal plainEcho(const CSignal& in, double gain)
{
    CSignal out;
    double last = 0.0;
    for (const double x : in)
        out.push_back(last = gain * x + 0.5 * last);
    return out;
}

CNodeBench::CNodeBench(std::vector<CTreeNode> nodes, CAttrs attrs)
    : CRunningGraph(sharedNodes(), rootOf(std::move(nodes), std::move(attrs)))
{
}

}
