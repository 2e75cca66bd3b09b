// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/VST/CComponentFace.h"

#include <pluginterfaces/vst/ivstaudioprocessor.h>
#include <public.sdk/source/vst/vstbus.h>
#include <public.sdk/source/vst/vsteditcontroller.h>

namespace kor
{

// An effect whose processor and controller are one object, on the SDK's controller: the busses, and what every such
// effect answers alike. Belongs to the host's threads as the SDK says; busses change while nothing is processed.
class CSingleComponentEffect : public Steinberg::Vst::EditController,
                               public CComponentFace,
                               public Steinberg::Vst::IAudioProcessor,
                               public Steinberg::Vst::IProcessContextRequirements
{
public:
    CSingleComponentEffect();

    // Of processor and controller in one.
    Steinberg::tresult PLUGIN_API initialize(Steinberg::FUnknown* context) override;
    Steinberg::tresult PLUGIN_API terminate() override;

    // Controller.
    Steinberg::tresult PLUGIN_API getParameterInfo(Steinberg::int32 index,
                                                   Steinberg::Vst::ParameterInfo& info) override;

    // Component.
    Steinberg::tresult PLUGIN_API getControllerClassId(Steinberg::TUID) override { return Steinberg::kNotImplemented; }
    Steinberg::tresult PLUGIN_API setIoMode(Steinberg::Vst::IoMode) override { return Steinberg::kNotImplemented; }
    Steinberg::tresult PLUGIN_API getRoutingInfo(Steinberg::Vst::RoutingInfo&, Steinberg::Vst::RoutingInfo&) override
    {
        return Steinberg::kNotImplemented;
    }
    Steinberg::int32 PLUGIN_API getBusCount(Steinberg::Vst::MediaType type,
                                            Steinberg::Vst::BusDirection direction) override;
    Steinberg::tresult PLUGIN_API getBusInfo(Steinberg::Vst::MediaType type, Steinberg::Vst::BusDirection direction,
                                             Steinberg::int32 index, Steinberg::Vst::BusInfo& info) override;
    Steinberg::tresult PLUGIN_API activateBus(Steinberg::Vst::MediaType type, Steinberg::Vst::BusDirection direction,
                                              Steinberg::int32 index, Steinberg::TBool state) override;

    // Processor.
    Steinberg::tresult PLUGIN_API getBusArrangement(Steinberg::Vst::BusDirection direction, Steinberg::int32 index,
                                                    Steinberg::Vst::SpeakerArrangement& arrangement) override;

    /// Nothing of the host's transport is wanted.
    Steinberg::uint32 PLUGIN_API getProcessContextRequirements() override { return 0; }

    DEFINE_INTERFACES
        DEF_INTERFACE(Steinberg::Vst::IComponent)
        DEF_INTERFACE(Steinberg::Vst::IAudioProcessor)
        DEF_INTERFACE(Steinberg::Vst::IProcessContextRequirements)
    END_DEFINE_INTERFACES(EditController)
    REFCOUNT_METHODS(EditController)

protected:
    enum class Use
    {
        main,                                       // active by default
        side
    };
    void addAudioBus(Steinberg::Vst::BusDirection direction, const Steinberg::Vst::TChar* name,
                     Steinberg::Vst::SpeakerArrangement arrangement, Use use);
    void addEventInput(const Steinberg::Vst::TChar* name, Steinberg::int32 channels);
    void removeAudioBusses();

private:
    Steinberg::Vst::BusList* findBusses(Steinberg::Vst::MediaType type,
                                        Steinberg::Vst::BusDirection direction) noexcept;
    Steinberg::Vst::Bus* findBus(Steinberg::Vst::MediaType type, Steinberg::Vst::BusDirection direction,
                                 Steinberg::int32 index) noexcept;

    Steinberg::Vst::BusList audioInputs;
    Steinberg::Vst::BusList audioOutputs;
    Steinberg::Vst::BusList eventInputs;
    Steinberg::Vst::BusList eventOutputs;
    bool isInitialised = false;
};

}
