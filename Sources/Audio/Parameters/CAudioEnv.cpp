// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioEnv.h"

namespace kor
{

void CAudioEnv::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
}

CError CAudioEnv::init()
{
    KOR_TRY(CObject::init());
    const double fps = getAttrDouble("viz-fps");
    if (fps > 0)
        vizFps = fps;
    return {};
}

}
