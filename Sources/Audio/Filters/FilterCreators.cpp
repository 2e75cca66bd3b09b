// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/FilterCreators.h"

#include "Audio/Filters/CAudioFilterBypassGen.h"
#include "Audio/Filters/CAudioFilterFIRLPGen.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterGenArrayItem.h"
#include "Audio/Filters/CAudioFilterHBFGen.h"
#include "Audio/Filters/CAudioFilterLPHP1Gen.h"
#include "Audio/Filters/CAudioFilterMagnusGen.h"
#include "Audio/Filters/CAudioFilterRBJGen.h"
#include "Audio/Filters/CAudioFilterSerialGen.h"
#include "Audio/Filters/CAudioFilterSerialGenItem.h"

namespace kor
{

std::span<const CCreatorRow> filterCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CAudioFilterBypassGen>("audio:fltgen-bypass"),
        creatorRow<CAudioFilterRBJGen>("audio:fltgen-rbj"),
        creatorRow<CAudioFilterMagnusGen>("audio:fltgen-magnus"),
        creatorRow<CAudioFilterLPHP1Gen>("audio:fltgen-lphp1"),
        creatorRow<CAudioFilterHBFGen>("audio:fltgen-hbf"),
        creatorRow<CAudioFilterFIRLPGen>("audio:fltgen-firlp"),
        creatorRow<CAudioFilterSerialGen>("audio:fltgen-serial"),
        creatorRow<CAudioFilterSerialGenItem>("audio:fltgen-serial-item"),
        creatorRow<CAudioFilterGenArray>("audio:fltgen-array"),
        creatorRow<CAudioFilterGenArrayItem>("audio:fltgen-array-item"),
    };
    return rows;
}

}
