// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CApplicationData.h"
#include "Core/CLog.h"
#include "Core/CRoundingGuard.h"
#include "Core/CWriteSeqBuffer.h"
#include "Support/CFreshDataFolders.h"
#include "Support/CTestTree.h"

#include <cfenv>
#include <thread>

namespace kor::test
{
namespace
{

class CStartType : public CObject
{
};

struct CLines : CLogListener
{
    void onLogLine(const CStringBuf& line) override { text += line.toUtf8() + "\n"; }
    std::string text;
};

}

// The one start of this process; everything about it is in this test.
TEST(Application, StartsOnceWithItsTablesAndItsSharedTree)
{
    const CFreshDataFolders folders;
    CLocalData::instance().forgetForTests();
    CWriteSeqBuffer setting;
    ASSERT_TRUE(succeeded(setting.writeString("1.25")));
    CByteArray bytes;
    setting.getContents(bytes);
    CLocalData::instance().write("ui-scale", bytes.data(), bytes.size(), fourCC("dstr"));

    CTreeNode project{"start:type", "project", {{"app-name", "MorvaEQ"}, {"copy", "{/shared::project app-name}"}}};
    CTreeNode sharedTree;
    sharedTree.children = {project};
    static const CTreeBytes::CBytes block = CTreeBytes::blockOf(CTreeBytes::of(sharedTree));
    const CResourceEntry resources[] = {{block.data(), "StartTree.xml"}, {nullptr, nullptr}};
    const CCreatorRow creators[] = {creatorRow<CStartType>("start:type")};
    const CApplicationSetup setup{creators, resources, "StartTree.xml"};

    CLines log;
    CLog::setListener(&log);
    std::vector<std::thread> starters;
    for (int i = 0; i < 4; ++i)
        starters.emplace_back([&setup] { EXPECT_TRUE(succeeded(CApplication::initApplication(setup))); });
    for (std::thread& starter : starters)
        starter.join();
    EXPECT_EQ(CApplication::uiScale(), 1.25);

    CObject* root = nullptr;
    ASSERT_TRUE(succeeded(CApplication::initRootObject(root, "")));
    CStartType* found = nullptr;
    EXPECT_TRUE(succeeded(root->findObjectChecked(found, "shared::project")));
    EXPECT_TRUE(found != nullptr && found->isFrozen());
    EXPECT_EQ(found->getAttrString("copy"), "MorvaEQ"_s);

    // A host may leave the module and come back while instances live.
    CApplication::finishApplication();
    EXPECT_FALSE(CApplication::exists());
    EXPECT_NE(CApplication::getSharedRoot(), nullptr);
    EXPECT_TRUE(succeeded(CApplication::initApplication(setup)));
    EXPECT_TRUE(CApplication::exists());
    EXPECT_EQ(log.text, "Initializing application...\nFinalizing application...\n");
    CLog::setListener(nullptr);

    CApplication::destroyRootObject(root);
    CApplication::destroySharedObjectForTests();
    CLocalData::instance().forgetForTests();
}

// Instances of several threads read one shared tree; the thread sanitizer watches.
TEST(Application, ThreadsBuildTreesFromTheSharedOne)
{
    CTreeNode shared;
    shared.attrs = {{"n", "2.5"}};
    shared.children = {{"template", "t", {{"v", "{/shared::data x}"}, {"l", "{*/shared::data x}"}},
                        {{"core:object", "kid"}}, "core:object"},
                       {"core:object", "data", {{"x", "17"}, {"y", "0x20"}}}};
    CTestTree tree(shared, {});
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([]
        {
            for (int round = 0; round < 50; ++round)
            {
                CObject* root = nullptr;
                ASSERT_TRUE(succeeded(CApplication::initRootObject(root, "")));
                CObject* made = nullptr;
                EXPECT_TRUE(succeeded(root->createChild(made, "t", "i", true)));
                EXPECT_EQ(made->getAttrInt("v") + made->getAttrInt("l"), 34);
                const CObject* data = root->findObject("shared::data");
                EXPECT_EQ(data->getAttrDouble("x") + data->getAttrInt("y") + data->getAttrBool("y"), 49);
                EXPECT_EQ(data->getAttrString("y"), "0x20"_s);
                CApplication::destroyRootObject(root);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(RoundingGuard, RoundsToNearestInsideAndRestoresOutside)
{
    const int modes[] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};
    for (const int mode : modes)
    {
        ASSERT_EQ(std::fesetround(mode), 0);
        {
            const CRoundingGuard guard;
            EXPECT_EQ(std::fegetround(), FE_TONEAREST);
        }
        EXPECT_EQ(std::fegetround(), mode);
    }
    std::fesetround(FE_TONEAREST);
}

}
