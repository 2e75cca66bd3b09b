// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CPluginModule.h"

#include "Audio/Plugin/AudioCreators.h"
#include "Audio/VST/CPluginFactory.h"
#include "Core/CApplication.h"
#include "Core/CLog.h"
#include "Core/CObject.h"
#include "Core/CRoundingGuard.h"

#include <memory>

namespace kor
{

namespace
{

CError startApplication(const CResourceEntry* resources)
{
    CApplicationSetup setup;
    setup.creators = allCreators();
    setup.resources = resources;
    KOR_TRY(CApplication::initApplication(setup));
    return {};
}

CError makeFactory(const CResourceEntry* resources, std::unique_ptr<CPluginFactory>& factory)
{
    KOR_TRY(startApplication(resources));
    CObject* const shared = CApplication::getSharedRoot();
    if (shared == nullptr)
        return KOR_FAIL("No shared object created.");
    CObject* project = nullptr;
    KOR_TRY(shared->findObjectChecked(project, "project"));
    CPluginProject description;
    KOR_TRY(description.read(*project));
    auto made = std::make_unique<CPluginFactory>();
    KOR_TRY(made->init(std::move(description)));
    factory = std::move(made);
    return {};
}

/// Never destroyed: hosts may hold the factory until the process ends.
CPluginFactory* onlyFactory(const CResourceEntry* resources)
{
    static CPluginFactory* const only = [resources]
    {
        std::unique_ptr<CPluginFactory> made;
        if (CError failure = makeFactory(resources, made))
            CLog::writeError(std::move(failure));
        return made.release();
    }();
    return only;
}

}

void CPluginModule::start(const CResourceEntry* resources)
{
    const CRoundingGuard rounding;
    onlyFactory(resources);
}

Steinberg::IPluginFactory* CPluginModule::getFactory(const CResourceEntry* resources)
{
    const CRoundingGuard rounding;
    CPluginFactory* const factory = onlyFactory(resources);
    if (factory != nullptr)
        factory->addRef();
    return factory;
}

}
