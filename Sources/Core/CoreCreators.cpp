// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CoreCreators.h"

#include "Core/CObject.h"

namespace kor
{

std::span<const CCreatorRow> coreCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CObject>("core:object"),
    };
    return rows;
}

}
