// SPDX-License-Identifier: GPL-3.0-or-later
#include "GraphTestKit.h"

#include "Audio/Graph/GraphCreators.h"
#include "Audio/Parameters/ParameterCreators.h"

#include <algorithm>

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

class CSoftModule : public CGainModule
{
public:
    bool canBeNeutral() const override { return true; }
    void startNeutral() override { value = 1.0; }
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
    bool sharesOutput() const override { return value != 0.0; }
    int passThroughPort() const override { return value != 0.0 ? -1 : 0; }
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

/// Fails to start.
class CBrokenProcess : public CAudioProcessBase
{
public:
    CError init() override { return KOR_FAIL("broken on purpose"); }
};

/// A definition that makes any process, which need not be one of its own kind.
template <class Process>
class CDefOf : public CAudioProcessDefBase
{
public:
    std::unique_ptr<CAudioProcessBase> createObject() const override { return std::make_unique<Process>(); }
};

template <class Module>
using CTestDef = CDefOf<CAudioProcessTerminal<Module>>;

void addTypes()
{
    for (const CCreatorRow& row : parameterCreators())
        addTestType(row);
    for (const CCreatorRow& row : graphCreators())
        addTestType(row);
    addTestType(creatorRow<CTestDef<CGainModule>>("test:gain"));
    addTestType(creatorRow<CTestDef<CSoftModule>>("test:soft"));
    addTestType(creatorRow<CTestDef<CDelayModule>>("test:delay"));
    addTestType(creatorRow<CTestDef<CMemoryModule>>("test:memory"));
    addTestType(creatorRow<CTestDef<CPortsModule>>("test:ports"));
    addTestType(creatorRow<CTestDef<CPassModule>>("test:pass"));
    addTestType(creatorRow<CTestDef<CMaxModule>>("test:max"));
    addTestType(creatorRow<CTestDef<CUnboundModule>>("test:unbound"));
    addTestType(creatorRow<CDefOf<CBrokenProcess>>("test:broken"));
    addTestType(creatorRow<CDefOf<CTimerProcess>>("test:timer"));
    addTestType(creatorRow<CDefOf<CAudioProcess>>("test:wrong"));
}

CTreeNode sharedOf(CTreeNode main)
{
    addTypes();
    main.name = "main";
    CTreeNode shared;
    shared.children = {converters(), std::move(main)};
    return shared;
}

}

CTreeNode gain(const char* name, double value, CAttrs attrs, CAttrs slotAttrs)
{
    return node("test:gain", name, std::move(attrs),
                {globalParam("gain", value), slot("gain", 0, std::move(slotAttrs))});
}

CTreeNode delay(const char* name, int samples, CAttrs attrs)
{
    return node("test:delay", name, std::move(attrs),
                {globalParam("samples", samples), slot("samples", 0)});
}

CTreeNode memory(const char* name, double feedback, CAttrs attrs, CAttrs slotAttrs)
{
    return node("test:memory", name, std::move(attrs),
                {globalParam("gain", feedback), slot("gain", 0, std::move(slotAttrs))});
}

CModuleLog& moduleLog()
{
    static CModuleLog log;
    return log;
}

CGraphBench::CGraphBench(CTreeNode main) : CRunningGraph(sharedOf(std::move(main)), {})
{
    EXPECT_EQ(tree->loadFailure(), "");
}

std::string failureOf(const CTreeNode& main)
{
    addTypes();
    CTreeNode root;
    root.children = {main};
    CRunningGraph graph({}, root);
    if (!graph.failure().empty() || graph.host.rootProcess() == nullptr)
        return graph.failure();
    const int group = 0;
    return graph.host.setLayout({&group, 1}, 48000.0).text();
}

}
