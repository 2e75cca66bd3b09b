// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <pluginterfaces/vst/ivstparameterchanges.h>

namespace kor
{

class CAudioWrapper;

/// Hands a block's parameter changes to the wrapper: of each parameter at most 32 points, evenly spaced, and always the
/// last, since it holds after the block. Parameters that are no rows are left alone. Null is no changes. Audio thread.
void takeEvents(Steinberg::Vst::IParameterChanges* changes, int rowCount, CAudioWrapper& wrapper) noexcept;

}
