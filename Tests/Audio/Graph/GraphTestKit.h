// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDef.h"
#include "Support/CRunningGraph.h"
#include "Support/GraphNodes.h"

#include <string>
#include <vector>

namespace kor::test
{

// Nodes of the tests. With a module: test:gain (out = in x parameter `gain`, slot 0),
// test:soft (the same, and can be neutral), test:delay (by the parameter `samples`, slot 0, reported as latency),
// test:memory (out = in + gain x last out), test:ports (out = in0 + 10 in1 + 100 in2), test:pass (passes the port in
// parameter `port`, slot 0, as it stands), test:max (with is-terminal-whole: all channels get the largest of their
// samples, times `gain`, in one buffer; with gain 0 each keeps its own), test:unbound (asks for slot 7, which it does
// not have). Without a module: test:broken (fails to start), test:wrong (makes a container of a definition that is
// none), test:timer (see CTimerProcess). These have their parameter in slot 0:
CTreeNode gain(const char* name, double value = 1.0, CAttrs attrs = {}, CAttrs slotAttrs = {});
CTreeNode delay(const char* name, int samples, CAttrs attrs = {});
CTreeNode memory(const char* name, double feedback, CAttrs attrs = {}, CAttrs slotAttrs = {});

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

// A graph of a test: the definition is the child `main` of a shared tree. A failure of the tree fails the test.
class CGraphBench : public CRunningGraph
{
public:
    explicit CGraphBench(CTreeNode main);
};

/// Load failure of a definition tree, or the message of its creation as a node, or "" when all is well.
std::string failureOf(const CTreeNode& main);

}
