// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CSharedAttribute.h"

#include "Core/CAttrDoubler.h"
#include "Core/CLog.h"
#include "Core/CWriteSeqBuffer.h"
#include "Core/CoreCreators.h"
#include "Platform/CEventLoop.h"
#include "Support/CFreshDataFolders.h"
#include "Support/CTestTree.h"

#include <sys/stat.h>

#include <thread>

namespace kor::test
{
namespace
{

class CUpdated : public CObject
{
public:
    static void initClass(CObjectClassInfo& info)
    {
        CObject::initClass(info);
        info.addEvent("updated", eventMethod<&CUpdated::onUpdated>);
        info.addAttr("copy", attrMethod<&CUpdated::onCopy>);
    }
    CError onUpdated()
    {
        ++count;
        return {};
    }
    CError onCopy(CAttrValue&)
    {
        ++copies;
        return {};
    }
    int count = 0;
    int copies = 0;
};

/// Another instance stores a value right behind the first look at the store.
class COvertaken : public CSharedAttribute
{
public:
    CError load() override
    {
        KOR_TRY(CSharedAttribute::load());
        const unsigned char text[] = {5, 0, 0, 0, 'l', 'a', 't', 'e', 'r'};
        if (!std::exchange(isOvertaken, true))
            CGlobalData::instance().write(name(), text, sizeof(text), fourCC("dstr"));
        return {};
    }

private:
    bool isOvertaken = false;
};

CAttrMap settingAttrs(const char* isGlobal = "true")
{
    CAttrMap attrs;
    attrs["attribute"].setString("value");
    attrs["is-global"].setString(isGlobal);
    attrs["def-value"].setString("start");
    return attrs;
}

/// One window's tree, on the thread that makes it.
class CWindowTree
{
public:
    CWindowTree()
    {
        EXPECT_TRUE(succeeded(CApplication::initRootObject(root, "")));
        EXPECT_TRUE(succeeded(root->createChild(ui, "ui:ui-event-bridge", "ui", false)));
    }
    ~CWindowTree() { CApplication::destroyRootObject(root); }

    CSharedAttribute& add(const char* name, const CAttrMap& attrs)
    {
        CSharedAttribute* made = nullptr;
        EXPECT_TRUE(succeeded(ui->createChild(made, "core:shared-attribute", name, false, nullptr, &attrs)));
        return *made;
    }

    CObject* root = nullptr;
    CObject* ui = nullptr;
};

class SharedAttributes : public testing::Test
{
protected:
    SharedAttributes()
    {
        addTestType(creatorRow<CUpdated>("test:updated"));
        for (const CCreatorRow& row : coreCreators())
            addTestType(row);
        CGlobalData::instance().forgetForTests();
        CLocalData::instance().forgetForTests();
        tree.emplace();
    }
    ~SharedAttributes() override
    {
        CGlobalData::instance().forgetForTests();
        CLocalData::instance().forgetForTests();
    }

    static std::string value(CSharedAttribute& object) { return object.getAttrString("value").toUtf8(); }

    static bool hasFile(const std::string& path)
    {
        struct stat information;
        return stat(path.c_str(), &information) == 0;
    }

    const CFreshDataFolders folders;
    const std::string directory = folders.user() + "Tenvaro/Audio Plug-Ins/";
    const std::shared_ptr<CEventLoop> loop = CEventLoop::ofThisThread();
    std::optional<CTestTree> tree;
};

}

TEST_F(SharedAttributes, NeedTheNameOfAnAttribute)
{
    CWindowTree window;
    CObject* made = nullptr;
    EXPECT_EQ(window.ui->createChild(made, "core:shared-attribute", "a", false).message(),
              "No attached attribute name specified.");
}

TEST_F(SharedAttributes, FollowEachOtherAcrossInstances)
{
    CWindowTree first;
    CWindowTree second;
    CSharedAttribute& a = first.add("setting", settingAttrs());
    CSharedAttribute& b = second.add("setting", settingAttrs());
    CAttrMap localAttrs = settingAttrs("false");
    localAttrs["data-name"].setString("setting");
    CSharedAttribute& local = second.add("local", localAttrs);
    EXPECT_EQ(value(a), "start");
    EXPECT_FALSE(hasFile(directory + "setting"));           // a default is not stored

    CUpdated* listener = nullptr;
    CUpdated* own = nullptr;
    CUpdated* linked = nullptr;
    CAttrMap attrs;
    attrs["copy"].setString("{*setting value}");
    EXPECT_TRUE(succeeded(second.ui->createChild(listener, "test:updated", "l", false)));
    EXPECT_TRUE(succeeded(first.ui->createChild(own, "test:updated", "l", false)));
    EXPECT_TRUE(succeeded(second.ui->createChild(linked, "test:updated", "o", false, nullptr, &attrs)));
    listener->listenObject("ui.setting", "update", "updated");
    own->listenObject("ui.setting", "update", "updated");

    // Braces in what a user typed stay what they are.
    EXPECT_TRUE(succeeded(a.save("{full-name} \xE9"_s)));
    EXPECT_EQ(value(a), CStringBuf("{full-name} \xE9"_s).toUtf8());
    EXPECT_EQ(value(b), "start");                           // not before its thread gets to it
    loop->dispatch();
    EXPECT_EQ(value(b), value(a));
    EXPECT_EQ(linked->getAttrString("copy"), a.getAttrString("value"));
    EXPECT_EQ(listener->count, 1);
    EXPECT_EQ(own->count, 0);                               // who saves knows
    EXPECT_EQ(value(local), "start");
    EXPECT_TRUE(hasFile(directory + "setting"));

    // An equal value is no change for anybody.
    const int copies = linked->copies;
    EXPECT_TRUE(succeeded(b.save(b.getAttrString("value"))));
    loop->dispatch();
    EXPECT_EQ(listener->count, 1);
    EXPECT_EQ(own->count, 0);
    EXPECT_EQ(linked->copies, copies);

    CGlobalData::instance().forgetForTests();               // a later session
    CWindowTree third;
    EXPECT_EQ(value(third.add("setting", settingAttrs())), value(a));
    CAttrMap renamed = settingAttrs();
    renamed["data-name"].setString("setting");
    EXPECT_EQ(value(third.add("other", renamed)), value(a));
}

TEST_F(SharedAttributes, ChangeDuringTheirStartIsNotMissed)
{
    addTestType(creatorRow<COvertaken>("test:overtaken"));
    CWindowTree window;
    COvertaken* made = nullptr;
    const CAttrMap attrs = settingAttrs();
    EXPECT_TRUE(succeeded(window.ui->createChild(made, "test:overtaken", "a", false, nullptr, &attrs)));
    loop->dispatch();
    EXPECT_EQ(value(*made), "later");
}

TEST_F(SharedAttributes, UnreadableValueGivesTheDefault)
{
    struct CLines : CLogListener
    {
        void onLogLine(const CStringBuf& line) override { text += line.toUtf8(); }
        std::string text;
    };
    const unsigned char endsEarly[] = {200, 0, 0, 0, 'x'};
    CGlobalData::instance().write("setting", endsEarly, sizeof(endsEarly), fourCC("dstr"));
    CWindowTree window;
    CLines lines;
    CLog::setListener(&lines);
    CSharedAttribute& a = window.add("setting", settingAttrs());
    CLog::setListener(nullptr);
    EXPECT_EQ(value(a), "start");
    EXPECT_NE(lines.text, "");
    EXPECT_TRUE(succeeded(a.save("new")));
    EXPECT_EQ(value(a), "new");
}

TEST_F(SharedAttributes, InstancesOnTwoThreadsChangeThemAndDieAtRandom)
{
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(std::getenv("MORVA_LONG") != nullptr ? 60000 : 400);
    constexpr const char* names[] = {"s0", "s1", "s2"};
    std::atomic<int> received{0};
    const auto live = [&](unsigned seed)
    {
        const std::shared_ptr<CEventLoop> own = CEventLoop::ofThisThread();
        std::mt19937 random(seed);
        // A machine under load may need longer until the two meet.
        while (std::chrono::steady_clock::now() < end + std::chrono::seconds(received == 0 ? 10 : 0))
        {
            CWindowTree window;
            CUpdated* listener = nullptr;
            EXPECT_TRUE(succeeded(window.ui->createChild(listener, "test:updated", "l", false)));
            std::vector<CSharedAttribute*> settings;
            for (const char* name : names)
            {
                settings.push_back(&window.add(name, settingAttrs()));
                listener->listenObject(settings.back()->fullName(), "update", "updated");
            }
            for (unsigned step = random() % 12; step > 0; --step)
            {
                CSharedAttribute& one = *settings[random() % settings.size()];
                if (random() % 3 == 0)
                {
                    EXPECT_TRUE(succeeded(one.save(CStringBuf::fromInt(static_cast<long long>(random() % 100)))));
                }
                if (random() % 2 == 0)
                    own->dispatch();
            }
            if (random() % 2 == 0)
                CObject::destroy(settings[random() % settings.size()]);
            received += listener->count;
        }
    };
    std::thread first(live, 1u);
    std::thread second(live, 2u);
    first.join();
    second.join();
    EXPECT_GT(received, 0);

    // Whoever comes now has what was written last.
    CWindowTree window;
    for (const char* name : names)
    {
        CByteArray bytes;
        CGlobalData::instance().read(name, bytes, fourCC("dstr"), CApplicationData::Source::reload);
        const std::string stored = bytes.size() > 4 ? std::string(bytes.begin() + 4, bytes.end()) : "start";
        EXPECT_EQ(value(window.add(name, settingAttrs())), stored) << name;
    }
}

TEST_F(SharedAttributes, DoublerDrivesItsTargetsInOrder)
{
    CWindowTree window;
    CObject* made = nullptr;
    CObject* a = nullptr;
    CObject* b = nullptr;
    EXPECT_TRUE(succeeded(window.ui->createChild(a, "core:object", "a", false)));
    EXPECT_TRUE(succeeded(window.ui->createChild(b, "core:object", "b", false)));
    CAttrMap attrs;
    attrs["attr"].setString("y");
    attrs["target"].setString("  ");
    EXPECT_EQ(window.ui->createChild(made, "core:attr-doubler", "d", false, nullptr, &attrs).message(),
              "No target objects specified.");
    attrs["target"].setString("^a ^none");
    EXPECT_EQ(window.ui->createChild(made, "core:attr-doubler", "d", false, nullptr, &attrs).message(),
              "Target object '^none' not found.");

    attrs["target"].setString(" ^a  ui.b ");
    attrs["value"].setString("{*/^ width}");
    EXPECT_TRUE(succeeded(window.ui->setAttrString("width", "10", true)));
    EXPECT_TRUE(succeeded(window.ui->createChild(made, "core:attr-doubler", "d", false, nullptr, &attrs)));
    EXPECT_EQ(a->getAttrInt("y"), 10);
    EXPECT_TRUE(succeeded(window.ui->setAttrString("width", "12", true)));
    EXPECT_EQ(a->getAttrInt("y"), 12);
    EXPECT_EQ(b->getAttrInt("y"), 12);
    CObject::destroy(a);
    EXPECT_TRUE(succeeded(window.ui->setAttrString("width", "14", true)));
    EXPECT_EQ(b->getAttrInt("y"), 14);
}

}
