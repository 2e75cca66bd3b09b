// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/ProcessCreators.h"

#include "Audio/Processes/CModAbsDef.h"
#include "Audio/Processes/CModBypassDef.h"
#include "Audio/Processes/CModDecimatorDef.h"
#include "Audio/Processes/CModDenormNoiseDef.h"
#include "Audio/Processes/CModFilterFIRDef.h"
#include "Audio/Processes/CModFilterIIRDef.h"
#include "Audio/Processes/CModGainDef.h"
#include "Audio/Processes/CModInterpolatorDef.h"
#include "Audio/Processes/CModLatencyUniformerDef.h"
#include "Audio/Processes/CModLevelerDef.h"
#include "Audio/Processes/CModMetaTubeDef.h"
#include "Audio/Processes/CModMeterDef.h"
#include "Audio/Processes/CModMorvaEnvEQDef.h"
#include "Audio/Processes/CModMSCoderDef.h"
#include "Audio/Processes/CModProcessSwitchDef.h"
#include "Audio/Processes/CModResamplerDef.h"
#include "Audio/Processes/CModRouterDef.h"
#include "Audio/Processes/CModSignalMixDef.h"
#include "Audio/Processes/CModSpectrumDef.h"

namespace kor
{

std::span<const CCreatorRow> processCreators()
{
    static const CCreatorRow rows[] = {
        creatorRow<CModFilterIIRDef>("audio:modFilterIIR"),
        creatorRow<CModFilterFIRDef>("audio:modFilterFIR"),
        creatorRow<CModAbsDef>("audio:modAbs"),
        creatorRow<CModLevelerDef>("audio:modLeveler"),
        creatorRow<CModMorvaEnvEQDef>("audio:modMorvaEnvEQ"),
        creatorRow<CModSignalMixDef>("audio:modSignalMix"),
        creatorRow<CModMetaTubeDef>("audio:modMetaTube"),
        creatorRow<CModMeterDef>("audio:modMeter"),
        creatorRow<CModSpectrumDef>("audio:modSpectrum"),
        creatorRow<CModBypassDef>("audio:modBypass"),
        creatorRow<CModGainDef>("audio:modGain"),
        creatorRow<CModDenormNoiseDef>("audio:modDenormNoise"),
        creatorRow<CModMSCoderDef>("audio:modMSCoder"),
        creatorRow<CModProcessSwitchDef>("audio:modProcessSwitch"),
        creatorRow<CModRouterDef>("audio:modRouter"),
        creatorRow<CModDecimatorDef>("audio:modDecimator"),
        creatorRow<CModInterpolatorDef>("audio:modInterpolator"),
        creatorRow<CModLatencyUniformerDef>("audio:modLatencyUniformer"),
        creatorRow<CModResamplerDef>("audio:modResampler"),
    };
    return rows;
}

}
