// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessBase.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Graph/CAudioProcessMB.h"
#include "Audio/Graph/CAudioProcessStack.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamAllocDef.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamDef.h"

#include <algorithm>

namespace kor
{

CAudioProcessBase::CAudioProcessBase() = default;

CAudioProcessBase::~CAudioProcessBase() = default;

CError CAudioProcessBase::createProcess(std::unique_ptr<CAudioProcessBase>& out, const CAudioProcessDefBase& definition,
                                        CAudioGraphContext& context, const CAudioProcessPlace& place)
{
    const CAudioProcessTraits& traits = definition.traits();
    const bool wantsStack = traits.isStacked && !place.isInStack;
    const bool wantsMultiband = traits.isMultiband && !place.isInMultiband && !wantsStack;
    const bool isWrapper = wantsStack || wantsMultiband;
    std::unique_ptr<CAudioProcessBase> made;
    if (wantsStack)
        made = std::make_unique<CAudioProcessStack>();
    else if (wantsMultiband)
        made = std::make_unique<CAudioProcessMB>();
    else
        made = definition.createObject();
    CAudioProcessBase& node = *made;
    node.nameText = place.name;
    node.def = &definition;
    node.graph = &context;
    node.parentProcess = place.parent;
    node.groupIndex = place.group;
    node.elementIndex = place.element + (isWrapper || place.isInMultiband ? 0 : traits.stackIndexShift);
    node.isGroupInstance = place.standsForGroup;
    node.isJoining = place.joinsRunning;
    node.inputSide = std::make_unique<CAudioInputs>(context.pool);
    node.inputSide->isWeighted = traits.isWeightedInput;
    node.inputSide->isComp = traits.isCompInput;
    node.addOutput();
    if (!isWrapper)
        node.bindAllocs();
    if (CError error = node.start())
        return error;
    out = std::move(made);
    return {};
}

CError CAudioProcessBase::start()
{
    beforeInit();
    KOR_TRY(init());
    return {};
}

CError CAudioProcessBase::createRootProcess(std::unique_ptr<CAudioProcessBase>& out,
                                            const CAudioProcessDefBase& definition, CAudioGraphContext& context,
                                            const CStringBuf& name)
{
    context.enterDefinitions(definition, name);
    CAudioProcessPlace place;
    place.name = name;
    std::unique_ptr<CAudioProcessBase> made;
    if (CError error = createProcess(made, definition, context, place))
        return error;
    if (CError error = context.paramFilters.make(definition, name, context))
        return error;
    out = std::move(made);
    return {};
}

CError CAudioProcessBase::init()
{
    return {};
}

void CAudioProcessBase::bindAllocs()
{
    for (const CAudioParamAllocDef* alloc : def->paramAllocs())
    {
        const CStringBuf fullName = def->expandName(alloc->paramName(), nameText);
        const CStringBuf resolved = graph->resolve(fullName);
        const auto& own = def->paramDefs();
        const auto defined = std::ranges::find(own, alloc->paramName(), &CAudioProcessDefBase::CNamedParam::name);

        auto slot = std::make_unique<CAudioParamSlot>();
        slot->name = alloc->paramName();
        slot->index = alloc->index();
        slot->alloc = alloc;
        slot->param = resolved == fullName && defined != own.end()
                          ? &graph->collector.defineParam(fullName, *defined->definition)
                          : &graph->paramOf(resolved);
        slot->boundGroup = alloc->useAllGroups() ? everyIndex : groupToFollow(*slot->param);
        slot->param->addListener(*this, slot->values, slot->boundGroup,
                                 alloc->useAllElements() ? everyIndex : elementIndex);
        paramSlots.push_back(std::move(slot));
    }
}

// What has one value for all groups, or may turn out to when somebody defines it, concerns the instances of all groups.
int CAudioProcessBase::groupToFollow(const CAudioParam& param) const
{
    const bool isOfItsGroup = isGroupInstance && param.hasInfo() && !param.info().isSingleGroup;
    return isOfItsGroup ? groupIndex : everyIndex;
}

CAudioParamSlot& CAudioProcessBase::bindParam(const CStringBuf& relativeName)
{
    auto slot = std::make_unique<CAudioParamSlot>();
    slot->name = relativeName;
    slot->param = &graph->paramOf(graph->resolve(def->expandName(relativeName, nameText)));
    slot->boundGroup = groupToFollow(*slot->param);
    slot->param->addListener(*this, slot->values, slot->boundGroup, everyIndex);
    paramSlots.push_back(std::move(slot));
    return *paramSlots.back();
}

CAudioParamSlot* CAudioProcessBase::findSlot(int index) noexcept
{
    const auto found = std::ranges::find_if(paramSlots, [index](const auto& slot)
                                            { return slot->alloc != nullptr && slot->index == index; });
    return found != paramSlots.end() ? found->get() : nullptr;
}

CAudioOutput& CAudioProcessBase::addOutput()
{
    outputSide.push_back(std::make_unique<CAudioOutput>(this));
    return *outputSide.back();
}

void CAudioProcessBase::report(CError error)
{
    graph->report(std::move(error));
}

void CAudioProcessBase::reset()
{
    inputSide->reset();
}

void CAudioProcessBase::update()
{
}

void CAudioProcessBase::process()
{
    prepareInputs();
    const auto channels = inputs().port(0).channels();
    for (std::size_t c = 0; c < channels.size(); ++c)
        output().buffer(c) = std::move(channels[c].buffer);
    deliverOutputs();
}

void CAudioProcessBase::disconnectAll()
{
    for (std::size_t i = 0; i < inputSide->portCount(); ++i)
        inputSide->port(i).disconnectAll();
    for (const auto& out : outputSide)
        out->disconnectAll();
}

void CAudioProcessBase::takeParamChanges()
{
    takeChanges(
        [this](const CAudioParamRecord& record)
        {
            const CAudioParamRequest& request = record.request();
            // A single-group parameter bears on all channels, whatever their group.
            const bool isForAll = request.isSingleGroup || request.group == allGroups;
            const std::uint32_t mask = isForAll ? ~0u : 1u << (static_cast<unsigned>(request.group) & 31u);
            for (const auto& slot : paramSlots)
            {
                if (slot->param != request.param)
                    continue;
                CAudioParamRequest wanted = request;
                if (request.group == allGroups && slot->boundGroup != everyIndex)
                    wanted.group = slot->boundGroup; // the lists of other groups are empty here, and stay so
                slot->values.applyChange(wanted);
                slot->changeMask |= mask;
            }
        });
}

void CAudioProcessBase::prepareInputs()
{
    steadyMark = 0;
    change = inputSide->refresh();
    if (!isConfigured)
    {
        change.channels = change.rate = change.latency = true;
        for (const auto& slot : paramSlots)
            slot->changeMask = ~0u;
    }

    const bool hasTimers = !timers.empty() || timerEnded;
    if (change.any() || hasChanges() || hasTimers || needsUpdate())
    {
        takeParamChanges();
        timerEnded = false;
        update();
        describeOutputs();
        for (const auto& slot : paramSlots)
            slot->changeMask = 0;
        change = {};
        isConfigured = true;
    }

    for (const auto& out : outputSide)
        out->blockLength = inputSide->blockLength();
    inputSide->mix();
}

void CAudioProcessBase::describeOutputs()
{
    CAudioChannel list[maxPortChannels];
    std::size_t count = 0;
    for (const CAudioPortChannel& channel : inputSide->port(0).channels())
    {
        list[count] = channel.channel;
        list[count].latency = inputSide->latency() + addedLatency();
        ++count;
    }
    output().configure({list, count}, inputSide->sampleRate(), inputSide->blockCapacity());
}

void CAudioProcessBase::takeOutputs(CAudioInputs& result)
{
    for (std::size_t port = 0; port < outputCount(); ++port)
    {
        CAudioChannel list[maxPortChannels];
        std::size_t count = 0;
        const bool isThere = port < result.portCount();
        const auto channels = isThere ? result.port(port).channels() : std::span<CAudioPortChannel>();
        for (const CAudioPortChannel& channel : channels)
            list[count++] = channel.channel;

        CAudioOutput& out = output(port);
        out.configure({list, count}, result.sampleRate(), result.blockCapacity());
        out.blockLength = result.blockLength();
        for (std::size_t c = 0; c < channels.size(); ++c)
            out.buffer(c) = std::move(channels[c].buffer);
    }
}

bool CAudioProcessBase::isSteady()
{
    if (!isConfigured || (hasChanges() && !settlesChanges()))
        return false;
    if (!timers.empty() || timerEnded || !inputSide->isSettled() || needsUpdate())
        return false;
    const std::uint64_t mark = graph->collector.deliveryCount() + graph->vizRounds();
    if (steadyMark != mark)
    {
        if (!checkSteady())
            return false;
        steadyMark = mark;
    }
    return true;
}

bool CAudioProcessBase::isStraight() const
{
    const auto isSame = [](const CAudioPortChannel& in, const CAudioChannel& out)
    { return in.channel.number == out.number && in.channel.group == out.group && in.channel.latency == out.latency; };
    return std::ranges::equal(inputs().port(0).channels(), outputSide[0]->channels(), isSame) &&
           inputs().sampleRate() == outputSide[0]->sampleRate();
}

void CAudioProcessBase::processSteadily()
{
    inputSide->refresh(); // brings the block's length, nothing else
    inputSide->mix();
    const auto channels = inputSide->port(0).channels();
    const double* in[maxPortChannels];
    double* out[maxPortChannels];
    for (std::size_t c = 0; c < channels.size(); ++c)
    {
        CAudioBufferRef& given = channels[c].buffer;
        CAudioBufferRef& result = output().buffer(c);
        in[c] = given.samples();
        if (given.useCount() == 1)
            result = std::move(given);
        else
            result = graph->pool.take(std::max(inputSide->blockCapacity(), inputSide->blockLength()));
        out[c] = result.samples();
    }
    output().blockLength = inputSide->blockLength();
    if (!channels.empty() && output().blockLength > 0)
        runSteady({{in, channels.size()}, 1, {out, channels.size()}, output().blockLength});
    deliverOutputs();
}

void CAudioProcessBase::deliverOutputs()
{
    inputSide->releaseBuffers();
    for (const auto& out : outputSide)
        out->deliver();
    runTimers();
}

void CAudioProcessBase::startTimer(double seconds, bool& flag)
{
    const auto same = std::ranges::find(timers, &flag, &CTimer::flag);
    if (same != timers.end())
        same->secondsLeft = std::max(same->secondsLeft, seconds);
    else
        timers.push_back({seconds, &flag});
}

// Behind the block's work, so that a countdown that was started in its update covers that block too.
void CAudioProcessBase::runTimers()
{
    if (timers.empty())
        return;
    const double seconds = inputSide->blockLength() / inputSide->sampleRate();
    std::erase_if(timers,
                  [this, seconds](CTimer& timer)
                  {
                      timer.secondsLeft -= seconds;
                      if (timer.secondsLeft > 0.0)
                          return false;
                      *timer.flag = true;
                      timerEnded = true;
                      return true;
                  });
}

}
