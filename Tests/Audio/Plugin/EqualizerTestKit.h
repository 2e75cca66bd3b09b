// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Graph/CAudioProcessBase.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Support/Signals.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kor::test
{

/// Starts what all instances need, once in a program, with data folders of its own.
void startApplication();

// The product itself: an instance with every parameter at its default, of an application that the program starts once
// with data folders of its own.
class CTestEqualizer
{
public:
    CTestEqualizer();

    /// A parameter below the main process, in its real unit; effective at the next block.
    void set(const std::string& key, double value, int group = 0, int element = 0);
    void setAll(const std::string& key, const std::vector<double>& elements, int group = 0);

    /// Makes band `element` of a group one of this type, frequency, linear gain and bandwidth in octaves.
    void setBand(int group, int element, int mode, double hz, double gain, double octaves = 1.0);

    /// Channels in and out, each routed to the internal channel of its number.
    void routeStraight(int channels);

    void start(int channels, double rateHz = 48000.0);

    /// Processes in blocks of `block` samples; as many channels come out as go in.
    CSignals run(const CSignals& in, int block = 512);

    /// The same samples on every channel; the first one's result.
    CSignal run(const CSignal& in, int block = 512);

    int latency() const { return instance.graph().latency(); }

    /// A running node by its name below the main process, the first that is found; null when there is none.
    CAudioProcessBase* find(const std::string& path) const;

    CAudioInstance instance;

private:
    int channelCount = 0;
};

/// A parameter that decides what the graph consists of or computes, with values worth trying.
struct CKnob
{
    const char* key;
    int groups;                                     // 1 for a parameter that is not per group
    int elements;
    std::vector<double> values;
};
const std::vector<CKnob>& equalizerKnobs();

/// Different noise on each channel.
CSignals noises(int channels, std::size_t count, unsigned seed);

/// Both are running. They take the same noise until all that came before has died away; from then on they must agree.
void expectSameSound(CTestEqualizer& a, CTestEqualizer& b, int channels);

}
