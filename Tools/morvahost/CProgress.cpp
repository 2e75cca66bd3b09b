// SPDX-License-Identifier: GPL-3.0-or-later
#include "CProgress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace kor
{

CProgress::CProgress(const char* what)
    : label(what != nullptr ? what : ""), isTerminal(what != nullptr && ::isatty(STDERR_FILENO) != 0), start(std::chrono::steady_clock::now()),
      lastDrawn(start)
{
}

CProgress::~CProgress()
{
    if (isDrawn)
        std::fputs("\r\033[K", stderr);
}

void CProgress::show(double share)
{
    if (!isTerminal)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastDrawn < std::chrono::milliseconds(100))
        return;
    lastDrawn = now;
    isDrawn = true;
    constexpr int width = 30;
    const int filled = static_cast<int>(std::clamp(share, 0.0, 1.0) * width);
    std::string bar(static_cast<std::size_t>(filled), '#');
    bar.resize(width, '.');
    const double passed = std::chrono::duration<double>(now - start).count();
    const double left = share > 0.0 ? passed * (1.0 - share) / share : 0.0;
    std::fprintf(stderr, "\r%s [%s] %3.0f %%, %.0f s left\033[K", label.c_str(), bar.c_str(), share * 100.0, left);
    std::fflush(stderr);
}

}
