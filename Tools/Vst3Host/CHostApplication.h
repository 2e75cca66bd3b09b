// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"
#include "Vst3Host/CHostRunLoop.h"

#include "pluginterfaces/vst/ivsthostapplication.h"
#include "pluginterfaces/vst/ivstpluginterfacesupport.h"

#include <string>

namespace kor
{

// What plug-ins see of the program that they live in: its name, messages for their two halves, the event loop. One for
// all plug-ins of a program; it has to outlive them.
class CHostApplication
    : public CHostObject<Steinberg::Vst::IHostApplication, Steinberg::Vst::IPlugInterfaceSupport>
{
public:
    explicit CHostApplication(std::string programName = "morvahost") : name(std::move(programName)) {}

    /// Also gives the event loop.
    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID wanted, void** object) override;

    Steinberg::tresult PLUGIN_API getName(Steinberg::Vst::String128 text) override;
    Steinberg::tresult PLUGIN_API createInstance(Steinberg::TUID classId, Steinberg::TUID interfaceId,
                                                 void** object) override;
    Steinberg::tresult PLUGIN_API isPlugInterfaceSupported(const Steinberg::TUID wanted) override;

    CHostRunLoop& runLoop() noexcept { return loop; }

private:
    std::string name;
    CHostRunLoop loop;
};

}
