// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModMorvaEnvEQModule.h"

namespace kor
{

/// The detectors of a dynamic band. Channels behind a fully linked leveler have the same inputs and so the same
/// position: it is computed once for all of them. Others run two at a time.
class CModMorvaEnvEQ : public CAudioProcessTerminal<CModMorvaEnvEQModule>
{
protected:
    void processSteady(std::span<const CAudioModuleRun> steadyRuns, int count) override;
};

}
