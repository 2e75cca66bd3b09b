// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModResamplerDef.h"

#include "Audio/Processes/CModResampler.h"

namespace kor
{

CError CModResamplerDef::init()
{
    KOR_TRY(CAudioProcessDefBase::init());
    samplesUp = getAttrBool("is-upsampler");
    KOR_TRY(find(stageDef, samplesUp ? "shared::audio.modUpsamplerInterpolator"
                                     : "shared::audio.modDownsamplerDecimator"));
    KOR_TRY(find(steepDef, "shared::audio.modResamplerFilterSteep"));
    KOR_TRY(find(softDef, "shared::audio.modResamplerFilterSoft"));
    return {};
}

CError CModResamplerDef::find(const CAudioProcessDefBase*& out, const char* path)
{
    out = dynamic_cast<const CAudioProcessDefBase*>(findObject(path));
    if (out == nullptr)
        return KOR_FAIL("The process definition '%1' was not found.", path);
    return {};
}

std::unique_ptr<CAudioProcessBase> CModResamplerDef::createObject() const
{
    return std::make_unique<CModResampler>();
}

void CModResamplerDef::visitChildDefs(const CStringBuf& nodeName, const CChildVisitor& visit) const
{
    visit(*stageDef, stageName(nodeName));
    visit(*steepDef, filterName(nodeName));
    visit(*softDef, filterName(nodeName));
}

}
