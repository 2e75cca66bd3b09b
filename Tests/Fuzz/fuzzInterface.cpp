// SPDX-License-Identifier: GPL-3.0-or-later
// What a client sends to an instance.
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Core/CWriteSeqBuffer.h"
#include "Fuzz/FuzzTargets.h"
#include "Other/Interface/CAudioInterfaceClient.h"
#include "Other/Interface/CInterfaceClientTree.h"
#include "Other/Interface/CParamInterfaceBaseConnector.h"
#include "Platform/CEventLoop.h"
#include "Support/InterfaceMessages.h"

namespace kor::test
{
namespace
{

// One instance with a client for all runs: what a message leaves behind meets the next one.
struct CServed
{
    CAudioInstance instance;
    CInterfaceClientTree client;
    CParamInterfaceBaseConnector* connector = nullptr;
    std::size_t paramCount = 0;

    std::size_t countParams() const
    {
        std::size_t count = 0;
        instance.collector().forEachParam([&](CAudioParam&) { ++count; });
        return count;
    }
};

CServed& served()
{
    static CServed& all = *[]
    {
        auto* const made = new CServed;
        require(!made->instance.create() && !made->client.create(made->instance.tree()),
                "there is an instance with a client");
        require(!made->instance.tree().findObjectChecked(made->connector, "plugin.interface-base-connector"),
                "there is a connector");
        made->paramCount = made->countParams();
        return made;
    }();
    return all;
}

CAudioPreset present()
{
    CWriteSeqBuffer out;
    require(!served().instance.registry().acquirePreset(CAudioPresetSource::session, -1, everyIndex, out),
            "it is captured");
    const CByteArray bytes = out.getContents();
    CMemoryReader reader(bytes);
    CAudioPreset preset;
    require(!preset.load(reader), "a captured preset loads");
    return preset;
}

}

int fuzzInterface(const unsigned char* data, std::size_t size)
{
    startForFuzzing();
    CServed& all = served();
    const CError failure = all.connector->processClientData({data, size});
    // The client takes whatever the message led to; where that was too much at once, it asks for everything anew.
    for (int i = 0; i < 3; ++i)
        CEventLoop::ofThisThread()->dispatch();
    require(all.client.waitingBytes() == 0, "the client has read all");
    require(all.countParams() <= all.paramCount + 200, "messages do not make parameters at will");
    return failure ? 0 : 1;
}

std::vector<std::string> interfaceSeeds()
{
    startForFuzzing();
    std::vector<std::string> seeds;
    for (const CNamedMessage& message : clientMessages({}, present()))
        seeds.emplace_back(message.block.begin(), message.block.end());
    return seeds;
}

}
