// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CVst3Plugin.h"

#include <string>

namespace kor
{

/// What `info` tells of a plug-in: who made it, what a host can connect, what it costs in time. rateHz: that it is
/// active with.
std::string pluginAsText(const CVst3Module& module, const CVst3Plugin& plugin, double rateHz);
std::string pluginAsJson(const CVst3Module& module, const CVst3Plugin& plugin, double rateHz);

/// What `params` tells: a line or an object for each parameter, with the value that it has now.
std::string parametersAsText(const CVst3Plugin& plugin);
std::string parametersAsJson(const CVst3Plugin& plugin);

}
