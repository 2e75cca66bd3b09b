// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CLog.h"

#include "Core/CError.h"
#include "Platform/CLock.h"
#include "Platform/CSystemFile.h"

#include <algorithm>
#include <string>

namespace kor
{

namespace
{

struct CLogState
{
    CLock lock;
    CLogListener* listener = nullptr;
    bool isInListener = false;
    std::string path;
    bool isStarted = false;                         // the file has been emptied by this process
    CStringBuf suffix;
};

CLogState& logState()
{
    static CLogState& state = *new CLogState;       // never destroyed: lines may come from other destructors
    return state;
}

void writeToFile(CLogState& log, std::string line)
{
    // Names and texts may come from files: one entry stays one line.
    std::replace_if(line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
    line += "\r\n";
    // Opened for each line: a log that a user moves or deletes while the host runs comes back, and no handle is held.
    CSystemFile file;
    if (file.open(log.path, log.isStarted ? CSystemFile::Mode::append : CSystemFile::Mode::create) != 0)
        return;
    log.isStarted = true;
    std::size_t done = 0;
    file.write(line.data(), line.size(), done);
}

}

void CLog::write(const CStringBuf& text, const CStringBuf& fullName)
{
    CLogState& log = logState();
    CLockHolder hold(log.lock);
    CStringBuf line = text;
    if (!fullName.isEmpty())
    {
        line.append(" // ");
        line.append(fullName);
    }
    line.append(log.suffix);
    if (!log.path.empty())
        writeToFile(log, line.toUtf8());
    // A listener that logs again must not be called without end.
    if (log.listener != nullptr && !log.isInListener)
    {
        log.isInListener = true;
        log.listener->onLogLine(line);
        log.isInListener = false;
    }
}

void CLog::writeError(CError error)
{
    for (int i = 0, count = error.lineCount(); i < count; ++i)
        write(CStringBuf::fromUtf8(error.line(i)));
}

void CLog::setListener(CLogListener* listener)
{
    CLogState& log = logState();
    CLockHolder hold(log.lock);
    log.listener = listener;
}

void CLog::setFile(const CStringBuf& path)
{
    CLogState& log = logState();
    CLockHolder hold(log.lock);
    std::string utf8 = path.toUtf8();
    if (utf8 != log.path)
        log.isStarted = false;
    log.path = std::move(utf8);
}

void CLog::setSuffix(const CStringBuf& suffix)
{
    CLogState& log = logState();
    CLockHolder hold(log.lock);
    log.suffix = suffix;
}

}
