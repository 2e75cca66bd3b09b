// SPDX-License-Identifier: GPL-3.0-or-later
#include "CRunStore.h"

#include "Audio/Plugin/SharedSettings.h"
#include "Core/CApplicationData.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace kor
{

CRunStore::~CRunStore()
{
    std::error_code ignored;
    if (!folder.empty())
        std::filesystem::remove_all(folder, ignored);
}

CError CRunStore::place()
{
    const char* const base = std::getenv("TMPDIR");
    std::string made = std::string(base != nullptr && *base != 0 ? base : "/tmp") + "/morvahost-XXXXXX";
    if (::mkdtemp(made.data()) == nullptr)
        return KOR_FAIL("unable to make the folder '%1': %2", made, std::strerror(errno));
    folder = made;
    ::setenv("XDG_DATA_HOME", folder.c_str(), 1);
    return {};
}

void CRunStore::keep(const CParamAssignments& settings) const
{
    for (const auto& [key, setting] : sharedSettings)
        if (const CParamSetting* const given = settings.find(key))
            CGlobalData::instance().writeText(setting, CStringBuf::fromDouble(given->number()));
}

bool CRunStore::isShared(std::string_view key)
{
    return std::any_of(std::begin(sharedSettings), std::end(sharedSettings),
                       [&](const auto& row) { return key == row.param; });
}

}
