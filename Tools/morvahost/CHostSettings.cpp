// SPDX-License-Identifier: GPL-3.0-or-later
#include "CHostSettings.h"

#include "CStateFile.h"

#include <cstdio>

namespace kor
{

void CHostSettings::note(const std::string& text)
{
    std::fprintf(stderr, "morvahost: note: %s\n", text.c_str());
}

CError CHostSettings::read(const COptions& options)
{
    KOR_TRY(list.parse(options.texts(setOption.name)));
    return CStateFile::check(options);
}

CError CHostSettings::give(const COptions& options, CAudioInstance& instance)
{
    KOR_TRY(CStateFile::load(options, instance));
    list.give(instance);
    for (const std::string& text : list.notes())
        note(text);
    return {};
}

}
