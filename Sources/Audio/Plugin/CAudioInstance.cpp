// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioInstance.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Core/CApplication.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Core/CWriteSeqBuffer.h"
#include "Other/Interface/CAudioInterfaceBase.h"
#include "Other/Interface/CAudioVizCollector.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

constexpr std::string_view mainPrefix = "plugin.modMain.";

}

CAudioInstance::CAudioInstance() = default;

CAudioInstance::~CAudioInstance()
{
    if (clients != nullptr)
        clients->close();                           // nobody changes anything from here on
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
    KOR_TRY(product.read(*project));

    KOR_TRY(root->findObjectChecked(env, "plugin.audio-env"));
    KOR_TRY(root->findObjectChecked(params, "plugin.param-collector"));
    KOR_TRY(root->findObjectChecked(vizCollector, "plugin.viz-collector"));
    KOR_TRY(root->findObjectChecked(master, "plugin.param-registry"));
    KOR_TRY(root->findObjectChecked(clients, "plugin.interface-base"));
    clients->setInternalChannelCount(product.channels);
    clients->setGroupCount(product.groups);
    params->setEnvironment(*env);
    params->setGroupCount(product.groups);

    CAudioProcessDefBase* mainProcess = nullptr;
    KOR_TRY(root->findObjectChecked(mainProcess, "shared::audio.modMain"));

    graphHost = std::make_unique<CAudioGraphHost>(*params, *env);
    graphHost->context().viz = vizCollector;
    graphHost->setBlockStart([viz = vizCollector] { viz->frameUpdate(); });
    KOR_TRY(graphHost->create(*mainProcess, "plugin.modMain"));
    bands = findParam("modMorvaEQ.eq-params.band-count");
    if (bands == nullptr || !bands->hasInfo())
        return KOR_FAIL("There is no parameter 'band-count'.");
    params->collectorReady();
    return {};
}

CError CAudioInstance::start(int inputs, int outputs, double rate)
{
    CError failure = graphHost->setLayout(defaultGrouping(inputs), rate);
    clients->setIoChannelCounts(inputs, outputs, 0);
    clients->setSampleRate(rate);
    clients->startViz();
    clients->clearClients();
    KOR_TRY(std::move(failure));
    return {};
}

void CAudioInstance::stop()
{
    graphHost->stop();
    vizCollector->clearPending();
    clients->stopViz();
}

CError CAudioInstance::saveState(COutputStream& stream)
{
    CWriteSeqBuffer body;
    KOR_TRY(master->acquirePreset(CAudioPresetSource::session, -1, everyIndex, body));
    const CByteArray bytes = body.getContents();
    KOR_TRY(stream.writeCompressedData(bytes.data(), static_cast<std::int64_t>(bytes.size()), CAudioPreset::fileId));
    return {};
}

CError CAudioInstance::loadState(CInputStream& stream)
{
    CByteArray body;
    KOR_TRY(stream.readCompressedData(body, CAudioPreset::fileId));
    CMemoryReader reader(body);
    KOR_TRY(master->activatePreset(reader, CAudioPresetScope::storableAndPersistent, everyIndex,
                                   CAudioPresetUndo::none));
    return {};
}

CAudioParamRegistry* CAudioInstance::findRegistry(const CStringBuf& id) const
{
    for (CObject* object : master->parent()->children())
        if (auto* const registry = dynamic_cast<CAudioParamRegistry*>(object); registry != nullptr && registry->id() == id)
            return registry;
    return nullptr;
}

std::vector<int> CAudioInstance::defaultGrouping(int count) const
{
    std::vector<int> result(static_cast<std::size_t>(count), 0);
    std::copy_n(product.grouping.begin(), std::min(result.size(), product.grouping.size()), result.begin());
    return result;
}

int CAudioInstance::bandCount(int group) const
{
    return static_cast<int>(std::lround(bands->getValue(group, 0)));
}

int CAudioInstance::maxBandCount() const
{
    return static_cast<int>(std::lround(bands->info().maxValue(0)));
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
