// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Support/CRunningGraph.h"

namespace kor::test
{

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

/// Band types beyond this have filters of their own; those up to here are the plain bell in different dynamic bands.
constexpr int plainBell = 4;

// The product's graph with the first band set, without dynamics and without the noise that is added to every signal:
// the first channels go through the filter of a band type and nothing else.
class CBandChain
{
public:
    explicit CBandChain(double rateHz, int channels = 1);

    void setMode(int mode) { graph.set("modMorvaEQ.eq-params.mode", mode); }
    void setFrequency(double hz) { graph.set("modMorvaEQ.eq-params.freq", hz); }
    void setGain(double gain) { graph.set("modMorvaEQ.eq-params.gain", gain); }
    void setBandwidth(double octaves) { graph.set("modMorvaEQ.eq-params.bw", octaves); }
    void setBand(int mode, double hz, double gain, double octaves);
    CSignal run(const CSignal& in, int block = 0) { return graph.run(in, block); }

    CProductTree tree;
    CRunningGraph graph;
};

}
