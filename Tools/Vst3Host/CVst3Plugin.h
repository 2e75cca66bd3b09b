// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CBusBuffers.h"
#include "Vst3Host/CComponentHandler.h"
#include "Vst3Host/CEventList.h"
#include "Vst3Host/CParameterChanges.h"
#include "Vst3Host/CVst3Module.h"

#include "pluginterfaces/vst/ivstmessage.h"
#include "pluginterfaces/vst/ivstprocesscontext.h"

#include <span>
#include <string_view>

namespace kor
{

class CHostApplication;

/// A parameter as a plug-in shows it to hosts.
struct CVst3Parameter
{
    Steinberg::Vst::ParamID id = 0;
    std::string title;
    std::string units;
    double defaultValue = 0.0;          // normalised
    int stepCount = 0;
    int flags = 0;                      // Steinberg::Vst::ParameterInfo::ParameterFlags
};

struct CVst3Bus
{
    std::string name;
    int channels = 0;
    bool isAudio = false;
    bool isInput = false;
    bool isMain = false;
    bool isDefaultActive = false;
};

/// How blocks will come.
struct CVst3Setup
{
    double sampleRate = 48000.0;
    int maxBlock = 512;                 // samples of the largest block
    bool isDouble = false;              // samples are doubles, else floats
    bool isOffline = false;             // rendered faster or slower than real time, as an export is
};

// One instance of an effect, driven the way hosts do, whether it is one object or a processor and a controller that are
// connected. Calls come in the order open, setLayout, activate, process..., deactivate, close; parameters and states at any
// time between open and close. One thread at a time, which need not be the same for process.
class CVst3Plugin
{
public:
    /// The application must outlive the object.
    explicit CVst3Plugin(CHostApplication& application);
    ~CVst3Plugin();
    CVst3Plugin(const CVst3Plugin&) = delete;
    CVst3Plugin& operator=(const CVst3Plugin&) = delete;

    /// Creates and initialises an instance of a class; the module must stay open until close(). After a failure the
    /// object is closed.
    CError open(const CVst3Module& module, const CVst3Class& effect);
    void close();

    const std::string& name() const noexcept { return about.name; }
    const CVst3Class& effectClass() const noexcept { return about; }
    bool isSingleObject() const noexcept { return isOneObject; }

    // The two faces; the latter is null for a plug-in without a controller.
    Steinberg::Vst::IComponent& component() const noexcept { return *processorSide; }
    Steinberg::Vst::IAudioProcessor& processor() const noexcept { return *audio; }
    Steinberg::Vst::IEditController* controller() const noexcept { return controllerSide; }
    CComponentHandler& handler() noexcept { return ear; }

    std::vector<CVst3Bus> buses() const;

    /// Names of the programs of the first list; empty without programs.
    std::vector<std::string> programs() const;

    /// As they were when the plug-in was opened, in the plug-in's order.
    const std::vector<CVst3Parameter>& parameters() const noexcept { return paramList; }

    /// By title, the exact one first, else without regard to case; null when there is none.
    const CVst3Parameter* findParameter(std::string_view title) const;

    /// The parameter that chooses the program; null when there is none.
    const CVst3Parameter* programParameter() const;

    /// A value as the plug-in writes it, without its unit; empty when it does not say.
    std::string textOfValue(const CVst3Parameter& parameter, double normalised) const;

    /// The plug-in's reading of a text that a user typed; fails when it does not understand.
    CError valueOfText(const CVst3Parameter& parameter, const std::string& text, double& normalised) const;

    double value(const CVst3Parameter& parameter) const;

    /// Gives both faces a value, as a host does when the user moves a generic control: the controller at once, the
    /// processor with the next block.
    void setValue(const CVst3Parameter& parameter, double normalised);

    /// The processor's state. Fails when the plug-in refuses.
    CError getState(std::vector<char>& state) const;

    /// Gives a state to the processor and, where that is another object, to the controller.
    CError setState(std::span<const char> state);

    /// Asks for channels of the main buses, 0 or more; other buses keep what they have. Fails with the plug-in's
    /// refusal. Not while active.
    CError setLayout(int inputs, int outputs);

    /// Everything from the set-up to the first block. Fails when the plug-in refuses the samples' format or the set-up.
    CError activate(const CVst3Setup& setup);
    void deactivate();
    bool isActive() const noexcept { return isRunning; }

    /// In samples, as the plug-in says now.
    int latency() const { return static_cast<int>(audio->getLatencySamples()); }
    Steinberg::uint32 tail() const { return audio->getTailSamples(); }

    /// Changes of the block to come; process() takes them away.
    CParameterChanges& changes() noexcept { return incoming; }

    /// Processes `frames` samples, 0 to the set-up's largest block. A pointer for each channel of the main bus, to
    /// floats or doubles as set up; missing or null ones are silence and nowhere. False when the plug-in reports a
    /// failure. Neither allocates nor waits by itself.
    bool process(std::span<void* const> inputs, std::span<void* const> outputs, int frames);

    /// Hands changes over without any samples or buses, as hosts do while the transport stands.
    bool flush();

    /// The steady clock of the song, in samples from the first block; only the host moves it.
    Steinberg::int64 position() const noexcept { return context.projectTimeSamples; }

private:
    CError openController(const CVst3Module& module);
    void connectHalves(bool isJoining);
    void readParameters();
    std::vector<int> channelsOfBuses(Steinberg::Vst::BusDirection direction) const;
    void activateBuses(bool isOn);
    bool call(int frames, bool hasBuses);

    CHostApplication& host;
    CComponentHandler ear;
    CVst3Class about;
    Steinberg::IPtr<Steinberg::Vst::IComponent> processorSide;
    Steinberg::IPtr<Steinberg::Vst::IAudioProcessor> audio;
    Steinberg::IPtr<Steinberg::Vst::IEditController> controllerSide;
    bool isOneObject = false;
    bool isConnected = false;
    bool isRunning = false;
    CVst3Setup how;
    std::vector<CVst3Parameter> paramList;
    CParameterChanges incoming;
    CParameterChanges outgoing;
    CEventList eventsIn;
    CEventList eventsOut;
    CBusBuffers inputBuses;
    CBusBuffers outputBuses;
    Steinberg::Vst::ProcessContext context = {};
};

}
