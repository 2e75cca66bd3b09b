// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <string>

namespace kor
{

// One line on a terminal that tells how far long work is; nothing at all when stderr is no terminal.
class CProgress
{
public:
    /// what: what is done, null to show nothing.
    explicit CProgress(const char* what);

    /// Wipes the line, so that a message or the result can stand in its place.
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    /// share: 0 to 1. Cheap enough for every block: draws at most ten times a second.
    void show(double share);

private:
    std::string label;
    bool isTerminal;
    bool isDrawn = false;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point lastDrawn;
};

}
