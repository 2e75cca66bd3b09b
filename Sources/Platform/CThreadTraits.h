// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace kor
{

// What a thread can ask of the system for itself. Both are wishes: a system that refuses leaves the thread as it is.
class CThreadTraits
{
public:
    /// The name that debuggers and system monitors show for the calling thread; cut to what the system takes.
    static void setName(const std::string& utf8);

    /// Puts the calling thread ahead of all threads of normal priority.
    static void setHighPriority();
};

}
