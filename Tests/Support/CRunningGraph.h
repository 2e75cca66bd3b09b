// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Graph/CAudioPort.h"
#include "Audio/Graph/CAudioProcess.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Support/CRealtimeGuard.h"
#include "Support/CTestTree.h"
#include "Support/Signals.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>

namespace kor::test
{

// A running graph of one definition, with an environment and parameters of its own.
class CRunningGraph
{
public:
    explicit CRunningGraph(int groupCount = 8)
    {
        collector.setEnvironment(env);
        collector.setGroupCount(groupCount);
    }
    CRunningGraph(const CAudioProcessDefBase& definition, const char* name) : CRunningGraph()
    {
        make(definition, name);
    }

    /// Of the child `main` of one of these trees; failure() tells how that went.
    CRunningGraph(const CTreeNode& shared, const CTreeNode& root, int groupCount = 8) : CRunningGraph(groupCount)
    {
        tree = std::make_unique<CTestTree>(shared, root);
        CObject* main = tree->find("main");
        if (main == nullptr)
            main = tree->shared().findObject("main");
        if (const auto* definition = dynamic_cast<const CAudioProcessDefBase*>(main))
            make(*definition);
    }
    virtual ~CRunningGraph() = default;

    /// Message of the tree's loading or of the node's creation; empty when all is well.
    std::string failure() const
    {
        return tree != nullptr && !tree->loadFailure().empty() ? tree->loadFailure() : createError.text();
    }

    void make(const CAudioProcessDefBase& definition, const char* name = "main")
    {
        fullName = name;
        createError = host.create(definition, name);
    }

    /// A layout whose channels have these groups, primed and at rest. Fails the test when the graph cannot be made.
    void start(const std::vector<int>& groups, double rateHz = 48000.0)
    {
        ASSERT_EQ(failure(), "");
        channelCount = groups.size();
        env.isProcessing = true;
        ASSERT_TRUE(succeeded(host.setLayout(groups, rateHz)));
    }

    /// Channels of one group.
    void startAt(double rateHz, std::size_t channels = 1) { start(std::vector<int>(channels, 0), rateHz); }

    /// Takes what has been set and starts anew with it: no crossfade, and no memory, of priming either.
    void restart()
    {
        host.prime();
        host.stop();
    }

    /// What comes out: a signal per channel number up to the highest that the graph produces at the end of the first
    /// block. block 0: all at once.
    CSignals run(const CSignals& in, int block = 0)
    {
        const int frames = static_cast<int>(in.front().size());
        const int step = block > 0 ? block : 512; // as the host cuts what it gets at once
        CSignals out;
        for (int at = 0; at < frames; at += step)
        {
            const int count = std::min(step, frames - at);
            std::vector<const double*> from;
            for (const CSignal& channel : in)
                from.push_back(channel.data() + at);
            from.resize(maxPortChannels);
            if (at == 0) // only now it shows which channels come out
                out.assign(maxPortChannels, CSignal(static_cast<std::size_t>(count)));
            std::vector<double*> to;
            for (CSignal& channel : out)
                to.push_back(channel.data() + at);
            host.process(from.data(), to.data(), static_cast<int>(to.size()), count);
            if (at == 0)
            {
                out.resize(static_cast<std::size_t>(host.outputCount()));
                for (CSignal& channel : out)
                    channel.resize(static_cast<std::size_t>(frames));
            }
        }
        return out;
    }

    /// The first output for one signal on all channels.
    CSignal run(const CSignal& in, int block = 0) { return run(CSignals(channelCount, in), block).front(); }

    /// Sets a value below the graph's name as another thread would; effective at the next slice.
    void set(const std::string& name, double value, int group = 0, int element = 0)
    {
        CAudioParam* param = collector.findParam(CStringBuf(fullName + "." + name));
        ASSERT_NE(param, nullptr) << name;
        param->setValue(group, element, value);
    }

    void setList(const char* name, const std::vector<double>& values)
    {
        for (std::size_t element = 0; element < values.size(); ++element)
            set(name, values[element], 0, static_cast<int>(element));
    }

    /// What the real-time guard counts over blocks of noise of all lengths, behind `warmUp` of them. `change` is called
    /// ahead of every block, unguarded, and tells whether the block counts.
    std::size_t faults(int blocks, int warmUp, const std::function<bool(int)>& change = {})
    {
        const CSignal in = noise(512, 5);
        CSignals out(maxPortChannels, CSignal(in.size()));
        const std::vector<const double*> from(maxPortChannels, in.data());
        std::vector<double*> to;
        for (CSignal& channel : out)
            to.push_back(channel.data());
        std::size_t count = 0;
        for (int block = 0; block < warmUp + blocks; ++block)
        {
            const bool counts = !change || change(block);
            const CRealtimeGuard guard;
            host.process(from.data(), to.data(), maxPortChannels, block % 2 == 0 ? 512 : 1 + block * 37 % 512);
            if (block >= warmUp && counts)
                count += guard.faults();
        }
        for (const CSignal& channel : out)
            EXPECT_LT(largestValue(channel), 1e6);
        return count;
    }

    /// Channels that the graph puts out, as of the last block.
    std::vector<CAudioChannel> channels()
    {
        const auto list = host.rootProcess()->output().channels();
        return {list.begin(), list.end()};
    }

    CAudioProcess& process() { return dynamic_cast<CAudioProcess&>(*host.rootProcess()); }

    /// The running node of a dotted path below the graph's own; null when there is none.
    CAudioProcessBase* find(const char* path)
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
    CAudioProcessTerminalBase& terminal(const char* path)
    {
        return dynamic_cast<CAudioProcessTerminalBase&>(*find(path));
    }

    std::unique_ptr<CTestTree> tree;                // of a test's own; outlives the host
    CAudioEnv env;
    CAudioParamCollector collector;
    CAudioGraphHost host{collector, env};
    CError createError;

private:
    std::string fullName = "main";
    std::size_t channelCount = 1;
};

}
