// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CHostMessage.h"

#include "Vst3Host/CHostAttributeList.h"

namespace kor
{

CHostMessage::CHostMessage() : attributes(new CHostAttributeList, false) {}

}
