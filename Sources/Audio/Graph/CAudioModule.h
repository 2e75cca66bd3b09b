// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <span>

namespace kor
{

class CAudioGraphContext;
class CAudioParamStorage;
class CAudioProcessDefBase;
class CAudioProcessTerminalBase;

// Worker of a terminal node: the signal processing of one channel (or of all, with is-terminal-whole), with its state.
// It reads parameter values only in update(); in between it knows samples and settings. All calls come on the audio
// thread, between two blocks or, for the process operations, within one. A module is made once and used again: what
// prepare() allocates must serve until the rate changes.
class CAudioModule
{
public:
    CAudioModule() = default;
    CAudioModule(const CAudioModule&) = delete;
    CAudioModule& operator=(const CAudioModule&) = delete;
    virtual ~CAudioModule() = default;

    /// Called once before first use, with channel, group, element and sampleRate set and the parameters registered.
    /// May allocate. The rate of a module never changes afterwards: another rate gets other modules.
    virtual void prepare() {}

    /// Clears the signal state and keeps the settings.
    virtual void reset() {}

    /// Parameter values may have changed: reads them. Returns whether the module's settings changed; a module that is
    /// new reports true if its settings left their initial state.
    virtual bool update() { return false; }

    // A node may come into a graph which sounds, or leave it. If its modules have settings under which they change
    // nothing, the terminal fades from these to the real ones, or the other way; others come and go at once.
    virtual bool canBeNeutral() const { return false; }

    /// Takes these settings, in the place of update().
    virtual void startNeutral() {}

    /// Fetches the slots by registerParam; called once, before prepare().
    virtual void registerParams() {}

    /// Processes `count` samples (1 to 512, more behind an upsampler). `in` and `out` are either the same or apart.
    virtual void process(const double* in, double* out, int count);

    /// For modules with several input ports: one pointer per port of the node, null where the port has no such channel
    /// (port 0 always has). `out` may be in[0], and is apart from the others. Default: process(in[0], out, count).
    virtual void processPorts(std::span<const double* const> in, double* out, int count);

    /// For is-terminal-whole: all channels of port 0 at once, in rising channel number. out[c] may be in[c]. When
    /// sharesOutput() is true all entries of `out` are one buffer, apart from all inputs.
    /// Default: process(in[c], out[c], count) for every channel.
    virtual void processChannels(std::span<const double* const> in, std::span<double* const> out, int count);

    /// Samples by which the module delays its signal.
    virtual int latency() const { return 0; }

    /// The input port whose buffer is the output as it stands, without any processing; -1 when the module computes.
    /// May change only in update(). A port without a link gives silence.
    virtual int passThroughPort() const { return -1; }

    /// With is-terminal-whole: one result serves all channels.
    virtual bool sharesOutput() const { return false; }

    /// Asked after update() of a module that is to take over from `current`, which is of the same class: true when
    /// both would sound the same from now on, so that no crossfade is needed.
    virtual bool hasSameSettings(const CAudioModule& current) const;

    // Set by the terminal before registerParams().
    int channel = 0; // channel number, 0 to 15; 0 with is-terminal-whole
    int group = 0; // whose values the module reads
    int element = 0;
    double sampleRate = 44100.0; // hertz, of the node's input

protected:
    /// The values of slot number `slot` (attribute `index` of the node's audio:param-alloc). Stays valid while the
    /// module lives. An unknown number is reported as "regModuleParam error %i" and gives null.
    const CAudioParamStorage* registerParam(int slot);

    /// Value of a slot at this module's group and element; `fallback` for a null slot.
    double paramValue(const CAudioParamStorage* slot, double fallback = 0.0) const;

    /// In update(): a change of this slot for the module's group has come since the last one, equal to the old value or
    /// not.
    bool hasArrived(int slot) const;

    /// True when a link leads to an input port of the node. Its state in update() stays until the next one.
    bool isPortConnected(int port) const;

    /// The full name of the node that the module belongs to, and what the node shares with all others.
    const CStringBuf& nodeName() const;
    CAudioGraphContext& context() const;

    /// The definition of the node that the module belongs to.
    const CAudioProcessDefBase& definition() const;

    /// Reports a failure through the application; processing goes on.
    void report(CError error) const;

private:
    friend class CAudioProcessTerminalBase;
    CAudioProcessTerminalBase* owner = nullptr;
};

}
