// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterStageKind.h"

namespace kor
{

// Where a generator finds how its sections run: the table of stage kinds. The kinds are constant, so that one workspace
// serves all instances of the process and needs no lock.
class CDCDAWFilterWorkspace
{
public:
    /// The workspace of the process. Any thread.
    static const CDCDAWFilterWorkspace& instance() noexcept;

    /// The kind of an id, null for an id that no kind has. Any thread.
    const CAudioFilterStageKind* kind(int id) const noexcept;
};

}
