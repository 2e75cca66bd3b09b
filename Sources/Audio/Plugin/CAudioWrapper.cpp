// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioWrapper.h"

#include "Audio/Graph/CAudioGraphContext.h"
#include "Audio/Graph/CAudioGraphHost.h"
#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/CAudioDirectValue.h"
#include "Audio/Plugin/CAudioExtParamList.h"
#include "Audio/Plugin/CAudioHostCall.h"
#include "Audio/Plugin/CAudioHostEvents.h"
#include "Audio/Plugin/CAudioRoutingDefaults.h"
#include "Audio/Plugin/CGlobalParam.h"
#include "Audio/Plugin/CHostOversampling.h"
#include "Audio/Plugin/CProgramChangeBridge.h"
#include "Audio/Plugin/CWinSizeParamListener.h"
#include "Audio/Plugin/SharedSettings.h"
#include "Core/CApplicationData.h"
#include "Core/CLog.h"
#include "Core/CObject.h"
#include "Other/Interface/CAudioInterfaceBase.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Platform/CEventLoop.h"
#include "Platform/CLoopSignal.h"

#include <array>
#include <cmath>
#include <vector>

namespace kor
{

namespace
{

constexpr int maxChannels = CAudioWrapper::maxChannels;
constexpr int sliceSize = CAudioGraphHost::sliceSize;
constexpr int mostSoundlessCalls = 16;

void convert(const void* from, CAudioSampleFormat format, int offset, int count, double* to)
{
    if (format == CAudioSampleFormat::float64)
        std::copy_n(static_cast<const double*>(from) + offset, count, to);
    else
        std::copy_n(static_cast<const float*>(from) + offset, count, to);
}

void convert(const double* from, CAudioSampleFormat format, int offset, int count, void* to)
{
    if (format == CAudioSampleFormat::float64)
        std::copy_n(from, count, static_cast<double*>(to) + offset);
    else
        std::transform(from, from + count, static_cast<float*>(to) + offset,
                       [](double sample) { return static_cast<float>(sample); });
}

void silence(const CAudioHostBlock& block)
{
    if (block.frames <= 0)
        return;
    const std::size_t size = block.format == CAudioSampleFormat::float64 ? sizeof(double) : sizeof(float);
    for (int c = 0; block.outputs != nullptr && c < block.outputCount; ++c)
    {
        if (block.outputs[c] != nullptr)
            std::fill_n(static_cast<char*>(block.outputs[c]), static_cast<std::size_t>(block.frames) * size, '\0');
    }
}

/// A setting of the global store that is a number; `otherwise` when there is none.
int storedNumber(const char* key, int otherwise)
{
    bool isNumber = false;
    const double value = CGlobalData::instance().readText(key).value_or(CStringBuf()).toDouble(isNumber);
    return isNumber && std::abs(value) < 1000.0 ? static_cast<int>(std::lround(value)) : otherwise;
}

}

struct CAudioWrapper::CImplementation
{
    explicit CImplementation(CAudioWrapper& wrapper) : owner(wrapper) {}

    CError init();
    CError bindGlobals();
    CError findParam(CAudioParam*& param, const char* key) const;
    CAudioGraphHost& graph() const noexcept { return equalizer.graph(); }
    CAudioEnv& env() const noexcept { return equalizer.environment(); }
    void takeChannels(const CAudioHostBlock& block) noexcept;
    bool takeLayout();
    void takeMode() noexcept;
    void prime();
    void beginSlice();
    void run(const CAudioHostBlock& block);
    void runSlice(const CAudioHostBlock& block, int position, int count);
    void dispatch(int position);
    void noteNews() noexcept;
    void fitRouting(CAudioParamUndoContext* undo);

    CAudioWrapper& owner;
    CAudioInstance equalizer;
    CAudioExtParamList* rows = nullptr;
    CAudioParam* latencyNote = nullptr;
    CAudioDirectValue hostOffline;
    CAudioDirectValue hostMode;
    CAudioRoutingDefaults routing;
    std::unique_ptr<CProgramChangeBridge> programs;
    std::unique_ptr<CWinSizeParamListener> windowSize;
    std::unique_ptr<CLoopSignal> news;              // there is something to settle
    std::vector<std::unique_ptr<CGlobalParam>> globals;
    int offlineLevel = 1;

    // Under the environment's lock.
    CAudioHostChannels channels;
    double rate = 44100.0;
    CArray<CStringBuf> labels;
    bool isArranged = false;                        // the host has said what its channels are

    std::atomic<bool> isLayoutStale{true};
    std::atomic<bool> isOffline{false};
    std::atomic<bool> isActive{false};
    std::atomic<bool> isLatencyNews{false};         // changed, and the host has not asked since
    std::atomic<bool> isLatencyAsked{false};
    std::atomic<bool> isLayoutNews{false};          // clients have not been told

    // Of whoever runs the graph, under its lock.
    CLock graphLock{CLockRank::instance};
    CAudioHostEvents events{eventCapacity};
    CAudioHostChannels running{0, 0, 0};
    double runningRate = 0.0;
    int runningOffline = -1;                        // none of the two is known yet
    int runningMode = -1;
    int soundlessCalls = 0;
    std::array<std::array<double, sliceSize>, maxChannels> inputs;
    std::array<std::array<double, sliceSize>, maxChannels> outputs;

    CLock settling{CLockRank::instance};
};

CAudioWrapper::CAudioWrapper() : impl(std::make_unique<CImplementation>(*this)) {}

CAudioWrapper::~CAudioWrapper()
{
    if (impl->rows != nullptr)
        impl->rows->setBridge(nullptr);
}

CError CAudioWrapper::init()
{
    KOR_TRY(impl->init());
    return {};
}

CError CAudioWrapper::CImplementation::init()
{
    KOR_TRY(equalizer.create());
    CObject& tree = equalizer.tree();
    KOR_TRY(tree.findObjectChecked(rows, "plugin.ext-param-list"));
    KOR_TRY(routing.init(equalizer));
    const CPluginProject& project = equalizer.project();
    programs = std::make_unique<CProgramChangeBridge>(equalizer.registry(), owner);
    CAudioParam* offline = nullptr;
    CAudioParam* mode = nullptr;
    CAudioParam* size = nullptr;
    KOR_TRY(findParam(latencyNote, "host-latency-change"));
    KOR_TRY(findParam(offline, "host-offline"));
    KOR_TRY(findParam(mode, "host-oversampling-mode"));
    KOR_TRY(findParam(size, "main-window-size"));
    hostOffline.setUp(equalizer.collector(), *offline, 0, 0);
    hostMode.setUp(equalizer.collector(), *mode, 0, 0);
    windowSize = std::make_unique<CWinSizeParamListener>(
        *size, CWinSizeParamListener::CSize{project.minWindowWidth, project.minWindowHeight});
    news = std::make_unique<CLoopSignal>(
        CEventLoop::ofThisThread(), [](void* wrapper) { static_cast<CAudioWrapper*>(wrapper)->settle(); }, &owner);
    KOR_TRY(bindGlobals());
    offlineLevel = storedNumber("oversampling-level", 1);
    equalizer.collector().reserveDelivered(2 * eventCapacity);    // a row's and what follows from it
    equalizer.interfaceBase().setLabelImport(
        [this](CAudioParamUndoContext& undo)
        {
            CArray<CStringBuf> names;
            {
                CLockHolder hold(env().lock);
                names = labels;
            }
            routing.importLabels(names, &undo);
        });
    if (project.usesRouting)
        equalizer.registry().setRoutingHandler([this](CAudioParamUndoContext* undo) { fitRouting(undo); });
    rows->setBridge(&owner);
    return {};
}

CError CAudioWrapper::CImplementation::findParam(CAudioParam*& param, const char* key) const
{
    param = equalizer.findParam(key);
    if (param == nullptr || !param->hasInfo())
        return KOR_FAIL("There is no parameter '%1'.", key);
    return {};
}

CError CAudioWrapper::CImplementation::bindGlobals()
{
    for (const CSharedSetting& row : sharedSettings)
    {
        CAudioParam* param = nullptr;
        KOR_TRY(findParam(param, row.param));
        globals.push_back(std::make_unique<CGlobalParam>(*param, row.key));
        globals.back()->start([this] { noteNews(); });
    }
    return {};
}

bool CAudioWrapper::isInitialised() const noexcept
{
    return impl->rows != nullptr;
}

CAudioInstance& CAudioWrapper::instance() const noexcept
{
    return impl->equalizer;
}

CAudioExtParamList& CAudioWrapper::extParams() const noexcept
{
    return *impl->rows;
}

CError CAudioWrapper::setSampleRate(double hertz)
{
    if (!(hertz >= CAudioGraphHost::lowestRate && hertz <= CAudioGraphHost::highestRate))
        return KOR_FAIL("Invalid sample rate %1 Hz: %2 to %3 Hz are possible.", hertz, CAudioGraphHost::lowestRate,
                        CAudioGraphHost::highestRate);
    settle();
    {
        CLockHolder hold(impl->env().lock);
        if (impl->rate == hertz)
            return {};
        impl->rate = hertz;
        impl->isLayoutStale = true;
    }
    impl->equalizer.interfaceBase().setSampleRate(hertz);
    return {};
}

void CAudioWrapper::setArrangement(const CAudioHostChannels& channels, CArray<CStringBuf> labels)
{
    const CAudioHostCall call;
    settle();
    {
        CLockHolder hold(impl->env().lock);
        impl->labels = std::move(labels);
        impl->isArranged = true;
        if (!(impl->channels == channels))
        {
            impl->channels = channels;
            impl->isLayoutStale = true;
        }
    }
    if (impl->equalizer.project().usesRouting)
        impl->fitRouting(nullptr);
}

void CAudioWrapper::CImplementation::fitRouting(CAudioParamUndoContext* undo)
{
    CAudioHostChannels counts;
    CArray<CStringBuf> names;
    {
        CLockHolder hold(env().lock);
        if (!isArranged)
            return;
        counts = channels;
        names = labels;
    }
    routing.channelsChanged(counts.inputs, counts.outputs, names, undo);
}

void CAudioWrapper::activate()
{
    settle();
    {
        CLockHolder hold(impl->graphLock);
        impl->rows->prepare();
        impl->prime();
        impl->graph().stop();
        impl->isActive = true;
    }
    settle();
}

void CAudioWrapper::deactivate()
{
    stopProcessing();
    impl->isActive = false;
    settle();
}

void CAudioWrapper::startProcessing()
{
    if (impl->env().isProcessing.exchange(true))
        return;
    {
        CLockHolder hold(impl->graphLock);
        impl->graph().stop();
    }
    CAudioInterfaceBase& clients = impl->equalizer.interfaceBase();
    clients.startViz();
    if (!impl->equalizer.project().isVizAlwaysActive)
        clients.clearClients();
}

void CAudioWrapper::stopProcessing()
{
    if (!impl->env().isProcessing.exchange(false))
        return;
    {
        CLockHolder hold(impl->graphLock);
        impl->graph().stop();
    }
    impl->equalizer.viz().clearPending();
    CAudioInterfaceBase& clients = impl->equalizer.interfaceBase();
    if (impl->equalizer.project().isVizAlwaysActive)
        clients.clearClients();
    else
        clients.stopViz();
    settle();
}

int CAudioWrapper::getLatency()
{
    // At rest nobody else runs the graph, and a change of settings or layout shows only once it has run.
    if (!impl->isActive && impl->graphLock.try_lock())
    {
        impl->prime();
        impl->graphLock.unlock();
    }
    impl->isLatencyNews = false;
    impl->isLatencyAsked = true;
    impl->noteNews();
    return impl->env().latency;
}

int CAudioWrapper::getTail() const
{
    double rate = 0.0;
    {
        CLockHolder hold(impl->env().lock);
        rate = impl->rate;
    }
    return static_cast<int>(std::lround(impl->equalizer.project().tailSeconds * rate));
}

void CAudioWrapper::settle()
{
    CLockHolder hold(impl->settling);
    const CAudioHostCall call;
    for (const auto& global : impl->globals)
        global->update();
    impl->rows->settle();
    impl->hostOffline.settle();
    impl->hostMode.settle();
    if (impl->isLatencyAsked.exchange(false) && impl->latencyNote->getValue(0, 0) != 0.0)
        impl->latencyNote->setValue(0, 0, 0.0);
    if (impl->isLatencyNews.exchange(false))
        impl->latencyNote->setValue(0, 0, 1.0);
    if (impl->isLayoutNews.exchange(false))
    {
        CAudioHostChannels counts;
        {
            CLockHolder holdEnv(impl->env().lock);
            counts = impl->channels;
        }
        impl->equalizer.interfaceBase().setIoChannelCounts(counts.inputs, counts.outputs, counts.sidechain);
    }
    for (CError failure = impl->graph().takeError(); failure; failure = impl->graph().takeError())
        CLog::writeError(std::move(failure));
}

CError CAudioWrapper::saveState(COutputStream& stream)
{
    settle();
    KOR_TRY(impl->equalizer.saveState(stream));
    return {};
}

CError CAudioWrapper::loadState(CInputStream& stream)
{
    settle();
    const CAudioHostCall call;
    KOR_TRY(impl->equalizer.loadState(stream));
    return {};
}

void CAudioWrapper::setProgram(int index)
{
    settle();
    impl->programs->setProgram(index);
}

void CAudioWrapper::setWindowSize(int width, int height)
{
    if (impl->equalizer.project().usesWindowResizing)
        impl->windowSize->setSize({width, height});
}

void CAudioWrapper::setOffline(bool isOffline)
{
    impl->isOffline = isOffline;
}

void CAudioWrapper::addEvent(int offset, int index, double normalized) noexcept
{
    impl->events.add(offset, index, normalized);
}

void CAudioWrapper::process(const CAudioHostBlock& block) noexcept
{
    // Held only while a host activates or asks an instance at rest, which none does while it processes.
    if (!impl->graphLock.try_lock())
    {
        silence(block);
        return;
    }
    impl->run(block);
    impl->events.clear();
    impl->graphLock.unlock();
}

void CAudioWrapper::CImplementation::takeChannels(const CAudioHostBlock& block) noexcept
{
    const CAudioHostChannels brought{block.inputCount - block.sidechainCount, block.outputCount, block.sidechainCount};
    if (brought == running)
        return;
    CLockHolder hold(env().lock);
    channels = brought;
    isLayoutStale = true;
}

// True when there was another one to take.
bool CAudioWrapper::CImplementation::takeLayout()
{
    if (!isLayoutStale.exchange(false))
        return false;
    CAudioHostChannels wanted;
    double wantedRate = 0.0;
    {
        CLockHolder hold(env().lock);
        wanted = channels;
        wantedRate = rate;
    }
    const std::array<int, maxChannels> groups{};
    const int count = std::clamp(wanted.inputs + wanted.sidechain, 1, maxChannels);
    if (CError failure = graph().changeLayout({groups.data(), static_cast<std::size_t>(count)}, wantedRate); failure)
        graph().context().report(std::move(failure));
    running = wanted;
    runningRate = wantedRate;
    isLayoutNews = true;
    noteNews();
    return true;
}

void CAudioWrapper::CImplementation::takeMode() noexcept
{
    const bool offline = isOffline;
    const int mode = hostOversampling(offline, runningRate, offlineLevel,
                                      equalizer.project().realtimeOversampling);
    if (runningOffline == static_cast<int>(offline) && runningMode == mode)
        return;
    runningOffline = offline;
    runningMode = mode;
    hostOffline.deliver(offline ? 1.0 : 0.0);
    hostMode.deliver(mode);
    noteNews();
}

// A change of the mode is heard with the slice behind it; what is pending comes first, so that it is the newer one.
void CAudioWrapper::CImplementation::prime()
{
    takeLayout();
    beginSlice();
    graph().prime();
    graph().reserveBuffers();
}

void CAudioWrapper::CImplementation::beginSlice()
{
    graph().beginSlice();
    takeMode();
    rows->follow();
}

void CAudioWrapper::CImplementation::noteNews() noexcept
{
    news->raise();
}

void CAudioWrapper::CImplementation::dispatch(int position)
{
    bool isNews = false;
    while (const CAudioHostEvent* event = events.take(position))
        isNews = rows->deliver(event->index, event->value) || isNews;
    if (isNews)
        noteNews();
}

void CAudioWrapper::CImplementation::run(const CAudioHostBlock& block)
{
    const bool hasSound = block.frames > 0 && block.inputs != nullptr && block.outputs != nullptr &&
                          block.inputCount > block.sidechainCount && block.outputCount > 0;
    if (hasSound)
        takeChannels(block);
    const bool isFirst = takeLayout();
    events.sort(hasSound ? block.frames : 0);
    if (!hasSound)
    {
        beginSlice();
        dispatch(0);
        silence(block);
        // What is delivered waits in the nodes for the next samples. A host that sends none for long must not fill them.
        if (++soundlessCalls == mostSoundlessCalls)
        {
            soundlessCalls = 0;
            graph().prime();
        }
        return;
    }
    soundlessCalls = 0;
    const int latencyBefore = env().latency;
    graph().beginBlock();
    for (int position = 0; position < block.frames;)
    {
        beginSlice();
        dispatch(position);
        const int count = std::min(events.nextOffset(block.frames) - position, sliceSize);
        runSlice(block, position, count);
        position += count;
    }
    if (isFirst)
        graph().reserveBuffers();
    if (env().latency != latencyBefore)
    {
        isLatencyNews = true;
        noteNews();
    }
}

void CAudioWrapper::CImplementation::runSlice(const CAudioHostBlock& block, int position, int count)
{
    const double* in[maxChannels] = {};
    double* out[maxChannels] = {};
    const int inputCount = std::min(block.inputCount, maxChannels);
    const int outputCount = std::min(block.outputCount, maxChannels);
    for (int c = 0; c < inputCount; ++c)
    {
        if (block.inputs[c] == nullptr)
            continue;
        double* const samples = inputs[static_cast<std::size_t>(c)].data();
        convert(block.inputs[c], block.format, position, count, samples);
        in[c] = samples;
    }
    for (int c = 0; c < outputCount; ++c)
        out[c] = block.outputs[c] != nullptr ? outputs[static_cast<std::size_t>(c)].data() : nullptr;
    graph().processSlice(in, out, outputCount, count);
    for (int c = 0; c < outputCount; ++c)
    {
        if (out[c] != nullptr)
            convert(out[c], block.format, position, count, block.outputs[c]);
    }
}

}
