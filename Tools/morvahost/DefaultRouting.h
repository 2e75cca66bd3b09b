// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

class CAudioInstance;

/// Routes channel by channel, as nobody has to say: of `inputs` incoming channels, those that the equalizer has room for
/// go in, each comes out in its own place, and a single one comes out in all `outputs`; all are of group 0. As the plug-in
/// does for a host.
void routeByDefault(const CAudioInstance& instance, int inputs, int outputs);

}
