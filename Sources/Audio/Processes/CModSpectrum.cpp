// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModSpectrum.h"

namespace kor
{

void CModSpectrum::listen(const CStretch& stretch)
{
    for (std::size_t c = 0; c < stretch.modules.size(); ++c)
    {
        CModSpectrumModule& module = static_cast<CModSpectrumModule&>(*stretch.modules[c]);
        module.listen(stretch.inputs[c * stretch.portCount], stretch.count);
    }
}

}
