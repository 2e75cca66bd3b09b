// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioInstance.h"

#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Core/CApplication.h"
#include "Core/CObject.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr int maxChannels = 16;
constexpr std::string_view mainPrefix = "plugin.modMain.";

}

CAudioInstance::CAudioInstance() = default;

CAudioInstance::~CAudioInstance()
{
    graphHost.reset();                              // its nodes look into the tree until they are gone
    if (root != nullptr)
        CApplication::destroyRootObject(root);
}

CError CAudioInstance::create()
{
    if (!CApplication::exists())
        return KOR_FAIL("No application object created.");
    KOR_TRY(CApplication::initRootObject(root, gEmptyString));

    CObject* audio = nullptr;
    KOR_TRY(root->findObjectChecked(audio, "shared::audio"));
    CObject* plugin = nullptr;
    KOR_TRY(root->createChild(plugin, audio->getAttrString("plugin-tag"), "plugin", true));
    CObject* project = nullptr;
    KOR_TRY(root->findObjectChecked(project, "shared::project"));
    KOR_TRY(readProject(*project));

    KOR_TRY(root->findObjectChecked(env, "plugin.audio-env"));
    KOR_TRY(root->findObjectChecked(params, "plugin.param-collector"));
    params->setEnvironment(*env);
    params->setGroupCount(groups);

    CAudioProcessDefBase* mainProcess = nullptr;
    KOR_TRY(root->findObjectChecked(mainProcess, "shared::audio.modMain"));
    CAudioProcessDefBase* equalizer = nullptr;
    KOR_TRY(root->findObjectChecked(equalizer, "shared::audio.modMain.modMorvaEQ"));
    bands = static_cast<int>(equalizer->processDefs().size());

    graphHost = std::make_unique<CAudioGraphHost>(*params, *env);
    return graphHost->create(*mainProcess, "plugin.modMain");
}

CError CAudioInstance::readProject(CObject& project)
{
    channels = project.getAttrInt("plugin-intchannel-count");
    if (channels <= 0 || channels > maxChannels)
        return KOR_FAIL("Invalid 'plugin-intchannel-count' attribute value.");
    groups = project.getAttrInt("plugin-group-count");
    if (groups <= 0 || groups > maxChannels)
        return KOR_FAIL("Invalid 'plugin-group-count' attribute value.");

    CArray<CStringBuf> pieces;
    project.getAttrString("def-grouping").split(pieces, ',', true);
    for (const CStringBuf& piece : pieces)
    {
        bool ok = false;
        const int group = piece.trimmed().toInt(ok);
        if (!ok || group < 0 || group >= groups)
            return KOR_FAIL("Invalid 'def-grouping' attribute value.");
        grouping.push_back(group);
    }
    return {};
}

std::vector<int> CAudioInstance::defaultGrouping(int count) const
{
    std::vector<int> result(static_cast<std::size_t>(count), 0);
    std::copy_n(grouping.begin(), std::min(result.size(), grouping.size()), result.begin());
    return result;
}

CAudioParam* CAudioInstance::findParam(const CStringBuf& key) const
{
    return params->findParam(CStringBuf(mainPrefix) + key);
}

std::vector<CStringBuf> CAudioInstance::paramKeys() const
{
    std::vector<CStringBuf> keys;
    const CStringBuf prefix(mainPrefix);
    params->forEachParam(
        [&](CAudioParam& param)
        {
            if (param.hasInfo() && param.fullName().startsWith(prefix))
                keys.push_back(param.fullName().substr(prefix.length()));
        });
    return keys;
}

}
