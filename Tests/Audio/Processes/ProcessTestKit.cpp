// SPDX-License-Identifier: GPL-3.0-or-later
#include "ProcessTestKit.h"

#include "Audio/Filters/FilterCreators.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Graph/GraphCreators.h"
#include "Audio/Parameters/ParameterCreators.h"
#include "Audio/Processes/ProcessCreators.h"
#include "MorvaResources.h"
#include "Support/ReferenceCases.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kor::test
{

CSignal noise(std::size_t count, unsigned seed)
{
    return referenceSignal({{"type", "lcg"}, {"seed", seed}, {"segments", {{count, 1.0, 0.0}}}});
}

CSignal sine(std::size_t count, double frequencyHz, double rateHz)
{
    CSignal signal(count);
    for (std::size_t i = 0; i < count; ++i)
        signal[i] = std::sin(2.0 * std::numbers::pi * frequencyHz * static_cast<double>(i) / rateHz);
    return signal;
}

double largestValue(const CSignal& signal)
{
    double largest = 0.0;
    for (const double x : signal)
        largest = std::isfinite(x) ? std::max(largest, std::abs(x)) : INFINITY;
    return largest;
}

double largestStep(const CSignal& signal, std::size_t from)
{
    double largest = 0.0;
    for (std::size_t i = std::max<std::size_t>(from, 1); i < signal.size(); ++i)
        largest = std::max(largest, std::abs(signal[i] - signal[i - 1]));
    return largest;
}

double difference(const CSignal& a, const CSignal& b, std::size_t from)
{
    double largest = a.size() == b.size() ? 0.0 : INFINITY;
    for (std::size_t i = from; i < std::min(a.size(), b.size()); ++i)
        largest = std::max(largest, std::isfinite(a[i] - b[i]) ? std::abs(a[i] - b[i]) : INFINITY);
    return largest;
}

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

CRunningGraph::CRunningGraph(const CAudioProcessDefBase& definition, const char* name) : fullName(name)
{
    collector.setEnvironment(env);
    collector.setGroupCount(8);
    createError = host.create(definition, name);
}

void CRunningGraph::start(double rateHz, int channels)
{
    ASSERT_TRUE(succeeded(createError));
    channelCount = channels;
    env.isProcessing = true;
    const std::vector<int> groups(static_cast<std::size_t>(channels), 0);
    ASSERT_TRUE(succeeded(host.setLayout(groups, rateHz)));
}

void CRunningGraph::restart()
{
    host.prime();
    host.stop();
}

CSignal CRunningGraph::run(const CSignal& in, std::size_t block)
{
    CSignal out(in.size());
    if (block == 0)
        block = in.size();
    for (std::size_t at = 0; at < in.size(); at += block)
    {
        const std::vector<const double*> from(static_cast<std::size_t>(channelCount), in.data() + at);
        std::vector<double*> to(static_cast<std::size_t>(channelCount), nullptr);
        to[0] = out.data() + at;
        host.process(from.data(), to.data(), channelCount, static_cast<int>(std::min(block, in.size() - at)));
    }
    return out;
}

void CRunningGraph::set(const char* name, double value, int element)
{
    CAudioParam* param = collector.findParam(CStringBuf(fullName + "." + name));
    ASSERT_NE(param, nullptr) << name;
    param->setValue(0, element, value);
}

CBandChain::CBandChain(double rateHz, int channels)
    : graph(dynamic_cast<const CAudioProcessDefBase&>(tree.at("audio.modMain")), "plugin.modMain")
{
    graph.start(rateHz, channels);
}

void CBandChain::setBand(int mode, double hz, double gain, double octaves)
{
    setMode(mode);
    setFrequency(hz);
    setGain(gain);
    setBandwidth(octaves);
}

}
