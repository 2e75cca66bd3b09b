// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace kor::test
{

/// What a finished program left.
struct CRun
{
    int code = -1;              // exit code; -1 when a signal ended it
    std::string out;
    std::string err;

    /// Lines on stderr.
    int errorLines() const;
};

/// Runs the morvahost of this build with arguments, without input, and waits for its end. `whileRunning`, when given,
/// is called once with the process id.
CRun runHost(const std::vector<std::string>& arguments, const std::function<void(pid_t)>& whileRunning = {});

}
