// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Graph/CAudioProcess.h"
#include "Audio/Graph/CAudioProcessDef.h"
#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Support/CTestTree.h"

#include <memory>
#include <string>
#include <vector>

namespace kor::test
{

using CAttrs = std::vector<std::pair<std::string, std::string>>;

// Definition trees as tests write them. Node types with a module: test:gain (out = in x parameter `gain`, slot 0),
// test:delay (by the parameter `samples`, slot 0, reported as latency), test:memory (out = in + gain x last out),
// test:ports (out = in0 + 10 in1 + 100 in2), test:pass (passes the port in parameter `port`, slot 0, as it stands),
// test:max (with is-terminal-whole: all channels get the largest of their samples, times `gain`, in one buffer),
// test:unbound (asks for slot 7, which it does not have). Without a module: test:broken (fails to start), test:wrong
// (makes a container of a definition that is none), test:timer (see CTimerProcess).
CTreeNode node(const char* tag, const char* name, CAttrs attrs = {}, std::vector<CTreeNode> children = {});
CTreeNode process(const char* name, CAttrs attrs, std::vector<CTreeNode> children);
CTreeNode autoProcess(const char* name, std::vector<CTreeNode> children);
CTreeNode link(const char* src, const char* dst, const char* bypassStateIds = "");
CTreeNode state(int id, const char* param, CAttrs attrs = {});
CTreeNode param(const char* name, double defaultValue = 0.0, CAttrs attrs = {});
CTreeNode alloc(const char* paramName, int index, CAttrs attrs = {});

/// A node of a test type with its parameter in slot 0.
CTreeNode gain(const char* name, double value = 1.0, CAttrs attrs = {}, CAttrs allocAttrs = {});
CTreeNode delay(const char* name, int samples, CAttrs attrs = {});
CTreeNode memory(const char* name, double feedback, CAttrs attrs = {}, CAttrs allocAttrs = {});

/// What happened to test modules since the last clear.
struct CModuleLog
{
    int made = 0;
    int updates = 0;
    int resets = 0;
    int prepares = 0;
    void clear() { *this = {}; }
};
CModuleLog& moduleLog();

/// Base of the test modules with one parameter.
class CTestModule : public CAudioModule
{
public:
    CTestModule() { ++moduleLog().made; }
    void prepare() override { ++moduleLog().prepares; }
    void reset() override { ++moduleLog().resets; }
    void registerParams() override { slot = registerParam(0); }
    bool update() override
    {
        ++moduleLog().updates;
        const double next = paramValue(slot);
        const bool hasChanged = next != value;
        value = next;
        return hasChanged;
    }
    bool hasSameSettings(const CAudioModule& current) const override
    {
        return value == static_cast<const CTestModule&>(current).value;
    }

    double value = 0.0;

private:
    const CAudioParamStorage* slot = nullptr;
};

/// Passes its input on; once started, a countdown has update() called in every block.
class CTimerProcess : public CAudioProcessBase
{
public:
    void update() override
    {
        ++updates;
        hasEnded |= flag;
    }
    void count(double seconds) { startTimer(seconds, flag); }

    int updates = 0;
    bool hasEnded = false;

private:
    bool flag = false;
};

using CSignal = std::vector<double>;
using CSignals = std::vector<CSignal>; // by channel

// A graph of a test: the definition is the child `main` of a shared tree, the running node is called "main".
class CGraphBench
{
public:
    /// Makes the tree and the node; a failure of the tree fails the test.
    explicit CGraphBench(CTreeNode main, int groupCount = 8);
    ~CGraphBench();

    /// A layout whose channels have these groups. Fails the test when the graph cannot be made.
    void start(std::vector<int> groups, double rate = 48000.0);

    /// Processes in blocks of `block` samples (0: all at once) and returns what comes out.
    CSignals run(const CSignals& in, int block = 0);
    CSignal run(const CSignal& in, int block = 0) { return run(CSignals{in}, block).front(); }

    /// Sets a parameter below "main." as a thread other than the audio thread would; effective at the next slice.
    void set(const char* name, double value, int group = 0, int element = 0);

    CAudioProcess& process() { return static_cast<CAudioProcess&>(*host.rootProcess()); }

    /// The running node of a dotted path below main; null when there is none.
    CAudioProcessBase* find(const char* path);
    CAudioProcessTerminalBase& terminal(const char* path);

    std::unique_ptr<CTestTree> tree;
    CAudioEnv env;
    CAudioParamCollector collector;
    CAudioGraphHost host{collector, env};
    CError createError;
};

/// Load failure of a definition tree, or the message of its creation as a node, or "" when all is well.
std::string failureOf(const CTreeNode& main);

/// Generated noise in -1..1; equal seeds give equal samples.
CSignal noise(int count, unsigned seed);
CSignal constant(int count, double value);
CSignal impulse(int count, int at = 0);

/// The largest difference of two signals of one length.
double difference(const CSignal& a, const CSignal& b);

}
