// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Support/Signals.h"
#include "Vst3Host/CHostApplication.h"
#include "Vst3Host/CHostStream.h"
#include "Vst3Host/CVst3Plugin.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kor::test
{

/// The built bundle, loaded once for the program, with data folders of its own and without noise against denormals.
CVst3Module& builtModule();
CHostApplication& hostApplication();

// One effect of the bundle, as a host holds it. Not copied; belongs to one thread at a time.
class CTestEffect
{
public:
    CTestEffect();

    CVst3Plugin* operator->() { return &plugin; }
    Steinberg::Vst::IAudioProcessor& processor() { return plugin.processor(); }
    Steinberg::Vst::IComponent& component() { return plugin.component(); }
    Steinberg::Vst::IEditController& controller() { return *plugin.controller(); }

    /// By title; the test fails when there is none.
    const CVst3Parameter& parameter(const char* title);
    double value(const char* title) { return plugin.value(parameter(title)); }

    /// All values, in the order of parameters.
    std::vector<double> values();
    std::vector<char> state();

    /// Sets a few bands that anybody would hear, one of them a dynamic one.
    void dial();

    Steinberg::tresult setup(double rateHz, Steinberg::int32 sampleSize = Steinberg::Vst::kSample64,
                             Steinberg::int32 mode = Steinberg::Vst::kRealtime);
    bool setLayout(std::vector<int> inputs, std::vector<int> outputs);
    void start(); // active, and blocks come
    void stop();

    CVst3Plugin plugin{hostApplication()};
};

// A block in doubles or floats, whose fields a test may spoil before it goes to a plug-in. Outputs start as garbage.
class CTestBlock
{
public:
    CTestBlock(int inputs, int outputs, int frames, Steinberg::int32 sampleSize = Steinberg::Vst::kSample64);
    CTestBlock(const CTestBlock&) = delete;
    CTestBlock& operator=(const CTestBlock&) = delete;

    void setInput(int channel, int frame, double value);
    void fill(unsigned seed); // inputs with noise
    double output(int channel, int frame) const;
    bool isSilent() const; // all outputs are exact zeros

    static constexpr double garbage = 7.0;

    Steinberg::Vst::ProcessData data;
    Steinberg::Vst::AudioBusBuffers inputBus;
    Steinberg::Vst::AudioBusBuffers outputBus;
    CParameterChanges changes;

private:
    struct CSide
    {
        std::vector<std::vector<double>> doubles;
        std::vector<std::vector<float>> floats;
        std::vector<void*> pointers;
        void prepare(int channels, int frames, bool isDouble, double value);
    };
    CSide in;
    CSide out;
    bool isDouble;
};

/// Channels' noise through the effect in blocks of `block`; what comes out. The effect runs.
CSignals runNoise(CTestEffect& effect, int channels, int total, int block, unsigned seed = 1);

}
