// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/ParameterCreators.h"

#include "Audio/Converters/CAudioParamConverterBW.h"
#include "Audio/Converters/CAudioParamConverterEnum.h"
#include "Audio/Converters/CAudioParamConverterFreq.h"
#include "Audio/Converters/CAudioParamConverterGain.h"
#include "Audio/Converters/CAudioParamConverterPercent.h"
#include "Audio/Converters/CAudioParamConverterRatio.h"
#include "Audio/Converters/CAudioParamConverterReal.h"
#include "Audio/Converters/CAudioParamConverterText.h"
#include "Audio/Converters/CAudioParamConverterTime.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParamAllocDef.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/CAudioParamFilterBypassGroupSolo.h"
#include "Audio/Parameters/CAudioParamFilterBypassMS.h"
#include "Audio/Parameters/CAudioParamFilterBypassOS.h"
#include "Audio/Parameters/CAudioParamFilterDef.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Parameters/CAudioParamRemapDef.h"

namespace kor
{

std::span<const CCreatorRow> parameterCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CAudioEnv>("audio:audio-env"),
        creatorRow<CAudioParamConverterBW>("audio:cvt-bw"),
        creatorRow<CAudioParamConverterEnum>("audio:cvt-enum"),
        creatorRow<CAudioParamConverterFreq>("audio:cvt-freq"),
        creatorRow<CAudioParamConverterGain>("audio:cvt-gain"),
        creatorRow<CAudioParamConverterPercent>("audio:cvt-percent"),
        creatorRow<CAudioParamConverterRatio>("audio:cvt-ratio"),
        creatorRow<CAudioParamConverterReal>("audio:cvt-real"),
        creatorRow<CAudioParamConverterText>("audio:cvt-text"),
        creatorRow<CAudioParamConverterTime>("audio:cvt-time"),
        creatorRow<CAudioParamDef>("audio:param"),
        creatorRow<CAudioParamAllocDef>("audio:param-alloc"),
        creatorRow<CAudioParamCollector>("audio:param-collector"),
        creatorRow<CAudioParamFilterDefOf<CAudioParamFilterBypassGroupSolo>>("audio:param-filter-bypass-group-solo"),
        creatorRow<CAudioParamFilterDefOf<CAudioParamFilterBypassMS>>("audio:param-filter-bypass-ms"),
        creatorRow<CAudioParamFilterDefOf<CAudioParamFilterBypassOS>>("audio:param-filter-bypass-os"),
        creatorRow<CAudioParamRegistry>("audio:param-registry"),
        creatorRow<CAudioParamRemapDef>("audio:param-remap"),
    };
    return rows;
}

}
