// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

// Turns Ctrl-C, a hang-up and a polite kill into a flag that long work asks between two steps, so that it can clean up
// behind itself. A second Ctrl-C ends the program at once, as if this class were not there.
class CInterrupt
{
public:
    static void install();
    static bool isAsked() noexcept;
};

}
