// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/ProcessCreators.h"

#include "Audio/Processes/CModFilterFIRDef.h"
#include "Audio/Processes/CModFilterIIRDef.h"

namespace kor
{

std::span<const CCreatorRow> processCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CModFilterIIRDef>("audio:modFilterIIR"),
        creatorRow<CModFilterFIRDef>("audio:modFilterFIR"),
    };
    return rows;
}

}
