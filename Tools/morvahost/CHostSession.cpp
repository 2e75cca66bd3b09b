// SPDX-License-Identifier: GPL-3.0-or-later
#include "CHostSession.h"

#include "MorvaResources.h"

#include "Audio/Plugin/AudioCreators.h"
#include "Core/CApplication.h"

namespace kor
{

CHostSession::~CHostSession()
{
    equalizer.reset();
    if (CApplication::exists())
        CApplication::finishApplication();
}

CError CHostSession::start()
{
    CApplicationSetup setup;
    setup.creators = allCreators();
    setup.resources = morvaResources;
    KOR_TRY(CApplication::initApplication(setup));
    equalizer = std::make_unique<CAudioInstance>();
    return equalizer->create();
}

}
