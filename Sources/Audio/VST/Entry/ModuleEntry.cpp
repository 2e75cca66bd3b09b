// SPDX-License-Identifier: GPL-3.0-or-later

// The three functions that a host calls by name, and the only ones that the module shows.

#include "Audio/VST/CPluginModule.h"
#include "Core/CLog.h"

#include <MorvaResources.h>
#include <pluginterfaces/base/ipluginbase.h>

#define MORVA_EXPORT extern "C" __attribute__((visibility("default")))

MORVA_EXPORT bool ModuleEntry(void* libraryHandle);
MORVA_EXPORT bool ModuleExit();
MORVA_EXPORT Steinberg::IPluginFactory* PLUGIN_API GetPluginFactory();

bool ModuleEntry(void*)
{
    kor::CPluginModule::start(morvaResources);
    return true;
}

// Instances may outlive this call, and what belongs to no instance serves the next load: nothing is freed.
bool ModuleExit()
{
    kor::CLog::write("The host leaves the module.");
    return true;
}

Steinberg::IPluginFactory* PLUGIN_API GetPluginFactory()
{
    return kor::CPluginModule::getFactory(morvaResources);
}
