// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CApplication.h"

#include "Core/CApplicationData.h"
#include "Core/CLog.h"
#include "Core/CNotifyServer.h"
#include "Core/CObject.h"
#include "Core/CRoundingGuard.h"
#include "Platform/CDirectories.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace kor
{
namespace
{

enum class Start
{
    notTried,
    done,
    failed
};

// The process-wide state. Never destroyed: hosts may leave instances alive past the end of static objects.
struct CProcessState
{
    CLock lock{CLockRank::application};             // start, end and the shared tree's coming and going
    Start start = Start::notTried;
    std::string failure;                            // of a start that failed, for all who ask again
    bool hasExitHandler = false;
    std::atomic<bool> exists{false};
    std::atomic<CObject*> sharedRoot{nullptr};
    std::atomic<int> liveRoots{0};
    std::atomic<double> uiScale{1.0};
};

CProcessState& processState()
{
    static CProcessState& only = *new CProcessState;
    return only;
}

void report(const CError& failure)
{
    std::fputs(failure.text().c_str(), stderr);
    for (int i = 0; i < failure.lineCount(); ++i)
        CLog::write(CStringBuf::fromUtf8(failure.line(i)));
}

CError requireProcessor()
{
#if defined(__x86_64__) || defined(__i386__)
    if (!__builtin_cpu_supports("sse2"))
        return KOR_FAIL("@korstr_CApplication_initApplication_Sse2 SSE2 instruction set is required, but is not "
                        "available on this computer.");
#endif
    return {};
}

double readUiScale()
{
    constexpr double smallest = 0.25;
    constexpr double largest = 4.0;
    bool ok = false;
    const double scale = CLocalData::instance().readText("ui-scale").value_or(CStringBuf()).toDouble(ok);
    return ok && scale >= smallest && scale <= largest ? scale : 1.0;
}

CError fillRoot(CObject& root, const CStringBuf& resourceName)
{
    if (resourceName.isEmpty())
        KOR_TRY(root.start());
    else
        KOR_TRY(root.loadTree(resourceName, true));
    return {};
}

void destroySharedObject()
{
    // The pointer goes first, so that whatever the objects do on their way out finds no shared tree.
    CObject::destroy(processState().sharedRoot.exchange(nullptr));
}

void destroySharedObjectAtExit()
{
    if (processState().liveRoots.load() == 0)
        destroySharedObject();
}

CError startOnce(const CApplicationSetup& setup)
{
    KOR_TRY(requireProcessor());
    const CRoundingGuard rounding;
    processState().uiScale = readUiScale();
    if (CDirectories::module().empty())
        CLog::write("The directory of the module is not known.");
    processState().exists = true;
    CLog::write("Initializing application...");
    for (const CCreatorRow& row : setup.creators)
        KOR_TRY(CCreatorTable::registerCreator(row.tag, row.creator, row.classInit));
    CResourceTable::add(setup.resources);
    if (CError failure = CApplication::initSharedObject(setup.sharedTree))
        report(failure);
    return {};
}

}

CError CApplication::initApplication(const CApplicationSetup& setup)
{
    CProcessState& state = processState();
    const CLockHolder hold(state.lock);
    switch (state.start)
    {
    case Start::done:
        state.exists = true;
        return {};
    case Start::failed:
        return KOR_FAIL("%1", state.failure);
    case Start::notTried:
        break;
    }
    CError failure = startOnce(setup);
    if (!failure)
    {
        state.start = Start::done;
        return {};
    }
    report(failure);
    state.start = Start::failed;
    state.failure = failure.message();
    state.exists = false;
    return failure;
}

void CApplication::finishApplication()
{
    const CRoundingGuard rounding;
    CProcessState& state = processState();
    const CLockHolder hold(state.lock);
    CLog::write("Finalizing application...");
    state.exists = false;
}

bool CApplication::exists() noexcept
{
    return processState().exists;
}

CError CApplication::initSharedObject(const CStringBuf& resourceName)
{
    CProcessState& state = processState();
    const CLockHolder hold(state.lock);
    if (getSharedRoot() != nullptr)
        return KOR_FAIL("@korstr_CApplication_initSharedObject_Twice Shared object already exists.");
    auto* root = new CObject;
    root->makeRoot(nullptr);
    // The tree's own expressions already use "shared::".
    state.sharedRoot = root;
    if (CError failure = fillRoot(*root, resourceName))
    {
        destroySharedObject();
        KOR_TRY(std::move(failure));
    }
    if (!resourceName.isEmpty())
        root->freezeTree();
    if (!state.hasExitHandler)
        state.hasExitHandler = std::atexit(destroySharedObjectAtExit) == 0;
    return {};
}

CError CApplication::initRootObject(CObject*& root, const CStringBuf& resourceName)
{
    if (getSharedRoot() == nullptr)
        return KOR_FAIL("@korstr_CApplication_initRootObject_NoShared No shared object created.");
    auto* made = new CObject;
    made->makeRoot(new CNotifyServer);
    ++processState().liveRoots;
    if (CError failure = fillRoot(*made, resourceName))
    {
        destroyRootObject(made);
        KOR_TRY(std::move(failure));
    }
    root = made;
    return {};
}

void CApplication::destroyRootObject(CObject* root)
{
    if (root == nullptr)
        return;
    CNotifyServer* server = root->notifyServer();
    CObject::destroy(root);
    delete server;
    --processState().liveRoots;
}

CObject* CApplication::getSharedRoot() noexcept
{
    return processState().sharedRoot.load(std::memory_order_acquire);
}

double CApplication::uiScale() noexcept
{
    return processState().uiScale;
}

void CApplication::destroySharedObjectForTests()
{
    const CLockHolder hold(processState().lock);
    destroySharedObject();
}

}
