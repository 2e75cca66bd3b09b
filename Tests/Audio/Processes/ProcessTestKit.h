// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Support/CTestTree.h"

#include <vector>

namespace kor::test
{

using CSignal = std::vector<double>;

/// Generated noise in -1..1; equal seeds give equal samples.
CSignal noise(std::size_t count, unsigned seed = 1);
CSignal sine(std::size_t count, double frequencyHz, double rateHz);
double largestValue(const CSignal& signal);

/// Largest difference between neighbours, from sample `from` on.
double largestStep(const CSignal& signal, std::size_t from = 0);
double difference(const CSignal& a, const CSignal& b, std::size_t from = 0);

/// Registers the types of all rooms up to the processes.
void addAllTypes();

// The product's own shared tree, for a test; it goes with the object.
class CProductTree
{
public:
    CProductTree();
    ~CProductTree();
    CProductTree(const CProductTree&) = delete;
    CProductTree& operator=(const CProductTree&) = delete;

    const CAudioFilterGen& generator(const std::string& name);       // of audio.flt
    const CAudioFilterGenArray& bandTypes();
    CObject& at(const char* path);
};

// A running graph: processes one channel, or several with the same input, in blocks.
class CRunningGraph
{
public:
    CRunningGraph(const CAudioProcessDefBase& definition, const char* name);

    /// Fails the test when the graph cannot be made.
    void start(double rateHz, int channels = 1);

    /// Takes what has been set and starts anew with it: no crossfade, and no memory, of priming either.
    void restart();

    /// The first output channel for one signal on all inputs. block 0: all at once.
    CSignal run(const CSignal& in, std::size_t block = 512);

    /// Sets a value below the graph's name; effective at the next block.
    void set(const char* name, double value, int element = 0);

    CAudioEnv env;
    CAudioParamCollector collector;
    CAudioGraphHost host{collector, env};
    int channelCount = 1;

private:
    std::string fullName;
    CError createError;
};

// The product's chain of bands, of which the first is set.
class CBandChain
{
public:
    explicit CBandChain(double rateHz, int channels = 1);

    void setMode(int mode) { graph.set("modMorvaEQ.eq-params.mode", mode); }
    void setFrequency(double hz) { graph.set("modMorvaEQ.eq-params.freq", hz); }
    void setGain(double gain) { graph.set("modMorvaEQ.eq-params.gain", gain); }
    void setBandwidth(double octaves) { graph.set("modMorvaEQ.eq-params.bw", octaves); }
    void setBand(int mode, double hz, double gain, double octaves);
    CSignal run(const CSignal& in, std::size_t block = 512) { return graph.run(in, block); }

    CProductTree tree;
    CRunningGraph graph;
};

}
