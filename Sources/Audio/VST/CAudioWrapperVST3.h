// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Plugin/CAudioWrapper.h"
#include "Audio/VST/CSingleComponentEffect.h"
#include "Platform/CLock.h"

#include <pluginterfaces/vst/ivstunits.h>

#include <atomic>

namespace kor
{

class CAudioWrapperVST3ProgramParameter;
class CSharedParameter;

// The plug-in as a VST 3 effect: processor, controller and program list in one object. It translates the host's calls
// and keeps nothing of its own but what the interface shows: busses and parameter objects. Hosts break the rules about
// threads and order of calls, so every call is safe in any state. There is no window: hosts show their own controls.
class CAudioWrapperVST3 : public CSingleComponentEffect, public Steinberg::Vst::IUnitInfo, public CAudioWrapper
{
public:
    CAudioWrapperVST3() = default;
    ~CAudioWrapperVST3() override;

    Steinberg::tresult PLUGIN_API initialize(Steinberg::FUnknown* context) override;
    Steinberg::tresult PLUGIN_API terminate() override;
    Steinberg::tresult PLUGIN_API notify(Steinberg::Vst::IMessage* message) override;

    // Component.
    Steinberg::tresult PLUGIN_API setActive(Steinberg::TBool state) override;

    // Processor.
    Steinberg::tresult PLUGIN_API setBusArrangements(Steinberg::Vst::SpeakerArrangement* inputs,
                                                     Steinberg::int32 numIns,
                                                     Steinberg::Vst::SpeakerArrangement* outputs,
                                                     Steinberg::int32 numOuts) override;
    Steinberg::tresult PLUGIN_API canProcessSampleSize(Steinberg::int32 size) override;
    Steinberg::uint32 PLUGIN_API getLatencySamples() override;
    Steinberg::tresult PLUGIN_API setupProcessing(Steinberg::Vst::ProcessSetup& setup) override;
    Steinberg::tresult PLUGIN_API setProcessing(Steinberg::TBool state) override;
    Steinberg::tresult PLUGIN_API process(Steinberg::Vst::ProcessData& data) override;
    Steinberg::uint32 PLUGIN_API getTailSamples() override;

    // Controller.
    Steinberg::tresult PLUGIN_API setComponentHandler(Steinberg::Vst::IComponentHandler* handler) override;
    Steinberg::tresult PLUGIN_API getParamStringByValue(Steinberg::Vst::ParamID id, Steinberg::Vst::ParamValue value,
                                                        Steinberg::Vst::String128 text) override;
    Steinberg::tresult PLUGIN_API getParamValueByString(Steinberg::Vst::ParamID id, Steinberg::Vst::TChar* text,
                                                        Steinberg::Vst::ParamValue& value) override;
    Steinberg::Vst::ParamValue PLUGIN_API getParamNormalized(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API setParamNormalized(Steinberg::Vst::ParamID id,
                                                     Steinberg::Vst::ParamValue value) override;
    Steinberg::IPlugView* PLUGIN_API createView(Steinberg::FIDString name) override;

    // Units and programs.
    Steinberg::int32 PLUGIN_API getUnitCount() override { return 1; }
    Steinberg::tresult PLUGIN_API getUnitInfo(Steinberg::int32 index, Steinberg::Vst::UnitInfo& info) override;
    Steinberg::int32 PLUGIN_API getProgramListCount() override { return 1; }
    Steinberg::tresult PLUGIN_API getProgramListInfo(Steinberg::int32 index,
                                                     Steinberg::Vst::ProgramListInfo& info) override;
    Steinberg::tresult PLUGIN_API getProgramName(Steinberg::Vst::ProgramListID list, Steinberg::int32 index,
                                                 Steinberg::Vst::String128 name) override;
    Steinberg::tresult PLUGIN_API getProgramInfo(Steinberg::Vst::ProgramListID, Steinberg::int32,
                                                 Steinberg::Vst::CString, Steinberg::Vst::String128) override
    {
        return Steinberg::kResultFalse;
    }
    Steinberg::tresult PLUGIN_API hasProgramPitchNames(Steinberg::Vst::ProgramListID, Steinberg::int32) override
    {
        return Steinberg::kResultFalse;
    }
    Steinberg::tresult PLUGIN_API getProgramPitchName(Steinberg::Vst::ProgramListID, Steinberg::int32, Steinberg::int16,
                                                      Steinberg::Vst::String128) override
    {
        return Steinberg::kResultFalse;
    }
    Steinberg::Vst::UnitID PLUGIN_API getSelectedUnit() override { return Steinberg::Vst::kRootUnitId; }
    Steinberg::tresult PLUGIN_API selectUnit(Steinberg::Vst::UnitID id) override
    {
        return id == Steinberg::Vst::kRootUnitId ? Steinberg::kResultOk : Steinberg::kResultFalse;
    }
    Steinberg::tresult PLUGIN_API getUnitByBus(Steinberg::Vst::MediaType, Steinberg::Vst::BusDirection,
                                               Steinberg::int32, Steinberg::int32, Steinberg::Vst::UnitID&) override
    {
        return Steinberg::kResultFalse;
    }
    Steinberg::tresult PLUGIN_API setUnitProgramData(Steinberg::int32, Steinberg::int32, Steinberg::IBStream*) override
    {
        return Steinberg::kResultFalse;
    }

    DEFINE_INTERFACES
        DEF_INTERFACE(Steinberg::Vst::IUnitInfo)
    END_DEFINE_INTERFACES(CSingleComponentEffect)
    REFCOUNT_METHODS(CSingleComponentEffect)

protected:
    Steinberg::tresult loadComponent(Steinberg::IBStream* stream) override;
    Steinberg::tresult saveComponent(Steinberg::IBStream* stream) override;

private:
    using EditController::beginEdit;
    using EditController::endEdit;

    // The bridge: what the plug-in has to tell the host.
    void sendValue(int index, double normalized) override;
    void showValue(int index, double normalized) override;
    void beginEdit(int index) override;
    void endEdit(int index) override;
    void programChanged(bool isByHost) override;

    void addParameters();
    void addBusses();
    CSharedParameter* parameter(Steinberg::Vst::ParamID id) const;
    Steinberg::IPtr<Steinberg::Vst::IComponentHandler> host() const;

    mutable CLock handlerLock;                      // a leaf: of the SDK's pointer to the host's handler
    CAudioWrapperVST3ProgramParameter* programs = nullptr;  // among the parameters
    std::atomic<int> rowCount{0};                   // 0 until the wrapper is ready
};

}
