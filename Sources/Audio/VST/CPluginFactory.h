// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Plugin/CPluginProject.h"

#include <pluginterfaces/base/ipluginbase.h>

#include <atomic>

namespace kor
{

// What a host asks first: who made the plug-in, which class there is, and new objects of it. Any thread. The host's
// count of references is kept for it alone: the module's only factory stays until the process ends.
class CPluginFactory final : public Steinberg::IPluginFactory3
{
public:
    /// Fails when the product's id is none.
    CError init(CPluginProject description);

    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID id, void** object) override;
    Steinberg::uint32 PLUGIN_API addRef() override;
    Steinberg::uint32 PLUGIN_API release() override;

    Steinberg::tresult PLUGIN_API getFactoryInfo(Steinberg::PFactoryInfo* info) override;
    Steinberg::int32 PLUGIN_API countClasses() override { return 1; }
    Steinberg::tresult PLUGIN_API getClassInfo(Steinberg::int32 index, Steinberg::PClassInfo* info) override;
    Steinberg::tresult PLUGIN_API createInstance(Steinberg::FIDString classId, Steinberg::FIDString interfaceId,
                                                 void** object) override;
    Steinberg::tresult PLUGIN_API getClassInfo2(Steinberg::int32 index, Steinberg::PClassInfo2* info) override;
    Steinberg::tresult PLUGIN_API getClassInfoUnicode(Steinberg::int32 index, Steinberg::PClassInfoW* info) override;

    /// Nothing of the host's is needed before an object is initialised, which brings it too.
    Steinberg::tresult PLUGIN_API setHostContext(Steinberg::FUnknown*) override { return Steinberg::kResultOk; }

private:
    CPluginProject project;
    Steinberg::TUID classId{};
    std::atomic<Steinberg::uint32> references{1};
};

}
