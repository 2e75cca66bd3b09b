// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"

namespace kor
{

// What a junction is when it stands alone, outside of any container: it passes its input on.
class CModNode : public CAudioProcessBase
{
};

}
