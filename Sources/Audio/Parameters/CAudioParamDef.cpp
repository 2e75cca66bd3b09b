// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamDef.h"

namespace kor
{

CError CAudioParamDef::init()
{
    KOR_TRY(CObject::init());
    KOR_TRY(paramInfo.read(*this));
    return {};
}

}
