// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CParamAssignments.h"

#include "Core/CError.h"

#include <string>

namespace kor
{

// A settings store of one run's own, in a folder for its length. The equalizer, loaded after it has been placed, finds
// there what all its instances share, and nothing of the user's: a run depends on its command line alone.
class CRunStore
{
public:
    CRunStore() = default;

    /// Removes the folder.
    ~CRunStore();
    CRunStore(const CRunStore&) = delete;
    CRunStore& operator=(const CRunStore&) = delete;

    /// Makes the folder and points this program's user data to it. Before the application starts and while no other
    /// thread runs: it changes the environment.
    CError place();

    /// Writes those of the resolved settings whose parameters all instances share. Before the equalizer is loaded.
    void keep(const CParamAssignments& settings) const;

    /// True for a parameter whose value all instances share.
    static bool isShared(std::string_view key);

private:
    std::string folder;
};

}
