// SPDX-License-Identifier: GPL-3.0-or-later
#include "ProcessTestKit.h"

#include "Audio/Filters/FilterCreators.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Graph/GraphCreators.h"
#include "Audio/Parameters/ParameterCreators.h"
#include "Audio/Processes/ProcessCreators.h"
#include "MorvaResources.h"

namespace kor::test
{

void addAllTypes()
{
    addTestType(creatorRow<CObject>("core:object"));
    for (const auto& rows : {parameterCreators(), filterCreators(), graphCreators(), processCreators()})
        for (const CCreatorRow& row : rows)
            addTestType(row);
}

CProductTree::CProductTree()
{
    addAllTypes();
    CResourceTable::add(morvaResources);
    EXPECT_TRUE(succeeded(CApplication::initSharedObject("SharedData.xml")));
}

CProductTree::~CProductTree()
{
    CApplication::destroySharedObjectForTests();
}

CObject& CProductTree::at(const char* path)
{
    CObject* found = CApplication::getSharedRoot()->findObject(path);
    EXPECT_NE(found, nullptr) << path;
    return *found;
}

const CAudioFilterGen& CProductTree::generator(const std::string& name)
{
    return dynamic_cast<const CAudioFilterGen&>(at(("audio.flt." + name).c_str()));
}

const CAudioFilterGenArray& CProductTree::bandTypes()
{
    return dynamic_cast<const CAudioFilterGenArray&>(at("audio.morvafilters"));
}

CBandChain::CBandChain(double rateHz, int channels)
    : graph(dynamic_cast<const CAudioProcessDefBase&>(tree.at("audio.modMain")), "plugin.modMain")
{
    graph.startAt(rateHz, channels);
    graph.set("denorm-enable", 0.0);
    graph.set("modMorvaEQ.eq-params.dyn", 0.0);
    graph.restart();
}

void CBandChain::setBand(int mode, double hz, double gain, double octaves)
{
    setMode(mode);
    setFrequency(hz);
    setGain(gain);
    setBandwidth(octaves);
}

}
