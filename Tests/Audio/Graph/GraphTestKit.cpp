// SPDX-License-Identifier: GPL-3.0-or-later
#include "GraphTestKit.h"

#include "Audio/Graph/GraphCreators.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/ParameterCreators.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kor::test
{

namespace
{

class CGainModule : public CTestModule
{
public:
    void process(const double* in, double* out, int count) override
    {
        for (int i = 0; i < count; ++i)
            out[i] = in[i] * value;
    }
};

class CDelayModule : public CTestModule
{
public:
    int latency() const override { return static_cast<int>(value); }
    void prepare() override
    {
        CTestModule::prepare();
        line.resize(4096);
    }
    void reset() override
    {
        CTestModule::reset();
        std::fill(line.begin(), line.end(), 0.0);
    }
    void process(const double* in, double* out, int count) override
    {
        for (int i = 0; i < count; ++i)
        {
            line[at % line.size()] = in[i];
            out[i] = line[(at - static_cast<std::size_t>(latency())) % line.size()];
            ++at;
        }
    }

private:
    CSignal line;
    std::size_t at = 8192;
};

class CMemoryModule : public CTestModule
{
public:
    void reset() override
    {
        CTestModule::reset();
        last = 0.0;
    }
    void process(const double* in, double* out, int count) override
    {
        for (int i = 0; i < count; ++i)
            out[i] = last = in[i] + value * last;
    }

private:
    double last = 0.0;
};

class CPortsModule : public CAudioModule
{
public:
    void processPorts(std::span<const double* const> in, double* out, int count) override
    {
        for (int i = 0; i < count; ++i)
        {
            double sum = 0.0;
            double weight = 1.0;
            for (const double* port : in)
            {
                sum += port != nullptr ? weight * port[i] : 0.0;
                weight *= 10.0;
            }
            out[i] = sum;
        }
    }
};

class CPassModule : public CTestModule
{
public:
    int passThroughPort() const override { return static_cast<int>(value); }
};

class CMaxModule : public CTestModule
{
public:
    bool sharesOutput() const override { return true; }
    void processChannels(std::span<const double* const> in, std::span<double* const> out, int count) override
    {
        for (int i = 0; i < count; ++i)
        {
            double largest = in[0][i];
            for (const double* samples : in)
                largest = std::max(largest, samples[i]);
            out[0][i] = largest * value;
        }
    }
};

class CUnboundModule : public CAudioModule
{
public:
    void registerParams() override { registerParam(7); }
};

template <class Module>
class CTestDef : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override
    {
        return std::make_unique<CAudioProcessTerminal<Module>>();
    }
};

/// Fails to start.
class CBrokenProcess : public CAudioProcessBase
{
public:
    CError init() override { return KOR_FAIL("broken on purpose"); }
};

class CBrokenDef : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override { return std::make_unique<CBrokenProcess>(); }
};

class CTimerDef : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override { return std::make_unique<CTimerProcess>(); }
};

/// A terminal definition that makes a container.
class CWrongDef : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override { return std::make_unique<CAudioProcess>(); }
};

void addTypes()
{
    for (const CCreatorRow& row : parameterCreators())
        addTestType(row);
    for (const CCreatorRow& row : graphCreators())
        addTestType(row);
    addTestType(creatorRow<CTestDef<CGainModule>>("test:gain"));
    addTestType(creatorRow<CTestDef<CDelayModule>>("test:delay"));
    addTestType(creatorRow<CTestDef<CMemoryModule>>("test:memory"));
    addTestType(creatorRow<CTestDef<CPortsModule>>("test:ports"));
    addTestType(creatorRow<CTestDef<CPassModule>>("test:pass"));
    addTestType(creatorRow<CTestDef<CMaxModule>>("test:max"));
    addTestType(creatorRow<CTestDef<CUnboundModule>>("test:unbound"));
    addTestType(creatorRow<CBrokenDef>("test:broken"));
    addTestType(creatorRow<CTimerDef>("test:timer"));
    addTestType(creatorRow<CWrongDef>("test:wrong"));
}

std::unique_ptr<CTestTree> treeOf(CTreeNode main)
{
    addTypes();
    main.name = "main";
    CTreeNode shared;
    shared.children = {node("core:object", "cvt", {}, {node("audio:cvt-real", "real")}), std::move(main)};
    return std::make_unique<CTestTree>(shared, CTreeNode{});
}

}

CTreeNode node(const char* tag, const char* name, CAttrs attrs, std::vector<CTreeNode> children)
{
    return {tag, name, std::move(attrs), std::move(children), {}};
}

CTreeNode process(const char* name, CAttrs attrs, std::vector<CTreeNode> children)
{
    return node("audio:process-def", name, std::move(attrs), std::move(children));
}

CTreeNode autoProcess(const char* name, std::vector<CTreeNode> children)
{
    return process(name, {{"is-auto-links", "true"}}, std::move(children));
}

CTreeNode link(const char* src, const char* dst, const char* bypassStateIds)
{
    static int count = 0;
    const std::string name = "link" + std::to_string(count++);
    return node("audio:process-link", name.c_str(), {{"src", src}, {"dst", dst}, {"bypass-state-id", bypassStateIds}});
}

CTreeNode state(int id, const char* param, CAttrs attrs)
{
    attrs.push_back({"id", std::to_string(id)});
    attrs.push_back({"param", param});
    const std::string name = "state" + std::to_string(id);
    return node("audio:process-bypass-state", name.c_str(), std::move(attrs));
}

CTreeNode param(const char* name, double defaultValue, CAttrs attrs)
{
    attrs.insert(attrs.end(), {{"converter", "shared::cvt.real"},
                               {"min-values", "-5000"},
                               {"max-values", "5000"},
                               {"def-values", CStringBuf::fromDouble(defaultValue).toUtf8()}});
    return node("audio:param", name, std::move(attrs));
}

CTreeNode alloc(const char* paramName, int index, CAttrs attrs)
{
    attrs.insert(attrs.end(), {{"param-name", paramName}, {"index", std::to_string(index)}});
    const std::string name = std::string("alloc-") + paramName;
    return node("audio:param-alloc", name.c_str(), std::move(attrs));
}

CTreeNode gain(const char* name, double value, CAttrs attrs, CAttrs allocAttrs)
{
    return node("test:gain", name, std::move(attrs),
                {param("gain", value, {{"is-global", "true"}}), alloc("gain", 0, std::move(allocAttrs))});
}

CTreeNode delay(const char* name, int samples, CAttrs attrs)
{
    return node("test:delay", name, std::move(attrs),
                {param("samples", samples, {{"is-global", "true"}}), alloc("samples", 0)});
}

CTreeNode memory(const char* name, double feedback, CAttrs attrs, CAttrs allocAttrs)
{
    return node("test:memory", name, std::move(attrs),
                {param("gain", feedback, {{"is-global", "true"}}), alloc("gain", 0, std::move(allocAttrs))});
}

CModuleLog& moduleLog()
{
    static CModuleLog log;
    return log;
}

CGraphBench::CGraphBench(CTreeNode main, int groupCount) : tree(treeOf(std::move(main)))
{
    EXPECT_EQ(tree->loadFailure(), "");
    collector.setEnvironment(env);
    collector.setGroupCount(groupCount);
    const auto* definition = dynamic_cast<const CAudioProcessDefBase*>(tree->shared().findObject("main"));
    EXPECT_NE(definition, nullptr);
    if (definition != nullptr)
        createError = host.create(*definition, "main");
}

CGraphBench::~CGraphBench() = default;

void CGraphBench::start(std::vector<int> groups, double rate)
{
    ASSERT_TRUE(succeeded(createError));
    env.isProcessing = true;
    ASSERT_TRUE(succeeded(host.setLayout(groups, rate)));
}

CSignals CGraphBench::run(const CSignals& in, int block)
{
    const int frames = static_cast<int>(in.front().size());
    const int step = block > 0 ? block : std::max(frames, 1);
    CSignals out(static_cast<std::size_t>(host.outputCount()), CSignal(in.front().size()));
    for (int offset = 0; offset < frames; offset += step)
    {
        std::vector<const double*> from;
        std::vector<double*> to;
        for (const CSignal& channel : in)
            from.push_back(channel.data() + offset);
        for (CSignal& channel : out)
            to.push_back(channel.data() + offset);
        host.process(from.data(), to.data(), static_cast<int>(to.size()), std::min(step, frames - offset));
    }
    return out;
}

void CGraphBench::set(const char* name, double value, int group, int element)
{
    CAudioParam* param = collector.findParam(CStringBuf("main.") + name);
    ASSERT_NE(param, nullptr) << name;
    param->setValue(group, element, value);
}

CAudioProcessBase* CGraphBench::find(const char* path)
{
    CArray<CStringBuf> steps;
    CStringBuf(path).split(steps, u'.', true);
    CAudioProcessBase* found = host.rootProcess();
    for (const CStringBuf& step : steps)
    {
        const auto* container = dynamic_cast<CAudioProcess*>(found);
        found = container != nullptr ? container->findChild(step) : nullptr;
    }
    return found;
}

CAudioProcessTerminalBase& CGraphBench::terminal(const char* path)
{
    return dynamic_cast<CAudioProcessTerminalBase&>(*find(path));
}

std::string failureOf(const CTreeNode& main)
{
    addTypes();
    CTreeNode root;
    root.children = {main};
    CTestTree tree(root);
    if (!tree.loadFailure().empty())
        return tree.loadFailure();
    CAudioEnv env;
    CAudioParamCollector collector;
    collector.setEnvironment(env);
    CAudioGraphHost host(collector, env);
    const auto* definition = dynamic_cast<const CAudioProcessDefBase*>(tree.find(main.name.c_str()));
    if (definition == nullptr)
        return "";
    if (CError error = host.create(*definition, "main"))
        return error.text();
    const int group = 0;
    CError error = host.setLayout({&group, 1}, 48000.0);
    return error.text();
}

CSignal noise(int count, unsigned seed)
{
    CSignal result;
    std::uint32_t value = seed;
    for (int i = 0; i < count; ++i)
    {
        value = value * 1664525u + 1013904223u;
        result.push_back(value / 2147483648.0 - 1.0);
    }
    return result;
}

CSignal constant(int count, double value)
{
    return CSignal(static_cast<std::size_t>(count), value);
}

CSignal impulse(int count, int at)
{
    CSignal result = constant(count, 0.0);
    result[static_cast<std::size_t>(at)] = 1.0;
    return result;
}

double difference(const CSignal& a, const CSignal& b)
{
    if (a.size() != b.size())
        return INFINITY;
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        const double distance = std::abs(a[i] - b[i]);
        largest = std::isnan(distance) ? INFINITY : std::max(largest, distance);
    }
    return largest;
}

}
