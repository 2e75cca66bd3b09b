// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CResourceTable.h"

namespace Steinberg
{
class IPluginFactory;
}

namespace kor
{

// The loaded module: starts the application and owns the factory, both once in a process, whichever of the host's calls
// comes first and on whichever thread.
class CPluginModule
{
public:
    /// resources: the product's content, ended by a null block. Failures are logged; a later call tries nothing again.
    static void start(const CResourceEntry* resources);

    /// The factory with a reference added for the caller; null when the application or the product's id is at fault.
    static Steinberg::IPluginFactory* getFactory(const CResourceEntry* resources);
};

}
