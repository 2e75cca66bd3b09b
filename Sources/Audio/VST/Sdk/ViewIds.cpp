// SPDX-License-Identifier: GPL-3.0-or-later

// Ids of the interfaces between a window and its host. The SDK's headers declare them; none of its sources defines
// them.

#include <pluginterfaces/gui/iplugview.h>
#include <pluginterfaces/gui/iplugviewcontentscalesupport.h>

namespace Steinberg
{

DEF_CLASS_IID(IPlugView)
DEF_CLASS_IID(IPlugFrame)
DEF_CLASS_IID(IPlugViewContentScaleSupport)

namespace Linux
{

DEF_CLASS_IID(IRunLoop)
DEF_CLASS_IID(IEventHandler)
DEF_CLASS_IID(ITimerHandler)

}

}
