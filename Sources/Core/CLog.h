// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

namespace kor
{

class CError;

/// Receives every line of the log, on whichever thread wrote it.
class CLogListener
{
public:
    virtual ~CLogListener() = default;
    virtual void onLogLine(const CStringBuf& line) = 0;
};

// The log of the process: one level, lines go to a listener if one is installed and to a file if a path is set. Each
// line ends with CR LF in the file; the first write of a process truncates it. Any thread but the audio thread.
class CLog
{
public:
    /// Writes `text`, followed by " // " and `fullName` when that is not empty.
    static void write(const CStringBuf& text, const CStringBuf& fullName = gEmptyString);

    /// Writes a failure line by line and drops it.
    static void writeError(CError error);

    /// Null removes the listener. The listener must outlive its installation.
    static void setListener(CLogListener* listener);

    /// Empty turns the file off.
    static void setFile(const CStringBuf& path);

    /// Text added to every line of this process; empty by default.
    static void setSuffix(const CStringBuf& suffix);
};

}
