// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CApplicationDataBridge.h"

#include "Core/CFileReader.h"
#include "Core/CFileWriter.h"
#include "Core/CWriteSeqBuffer.h"
#include "Platform/CDirectories.h"
#include "Support/CFreshDataFolders.h"
#include "Support/CTestTree.h"

#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <thread>

namespace kor::test
{
namespace
{

constexpr std::uint32_t id = fourCC("test");
constexpr const char* subdirectory = "Maker/Product/";

class ApplicationData : public testing::Test
{
protected:
    std::string read(const char* name, CApplicationData::Source source = CApplicationData::Source::cache)
    {
        CByteArray bytes = {'?'};
        store.read(name, bytes, id, source);
        return std::string(bytes.begin(), bytes.end());
    }

    std::string reload(const char* name) { return read(name, CApplicationData::Source::reload); }

    void write(const char* name, const std::string& text, const CBridge* except = nullptr)
    {
        store.write(name, text.data(), text.size(), id, except);
    }

    static void putFile(const std::string& directory, const char* name, const std::string& text)
    {
        ASSERT_TRUE(CDirectories::create(directory));
        CFileWriter file;
        ASSERT_TRUE(succeeded(file.open(CStringBuf::fromUtf8(directory + name))));
        ASSERT_TRUE(succeeded(file.writeCompressedData(text.data(), static_cast<std::int64_t>(text.size()), id)));
    }

    static void damageFile(const std::string& path) { std::ofstream(path) << "no data block"; }

    static bool exists(const std::string& path)
    {
        struct stat information;
        return stat(path.c_str(), &information) == 0;
    }

    std::string user() const { return folders.user() + subdirectory; }
    std::string machine() const { return folders.machine() + subdirectory; }

    CFreshDataFolders folders;
    CApplicationData store{subdirectory, "TestData_"};
};

struct CCounter
{
    CCounter(CApplicationData& store, const char* name) { EXPECT_TRUE(bridge.attach(store, name)); }
    CError onWritten(const CStringBuf& name)
    {
        names += name.toUtf8() + " ";
        return {};
    }
    std::string names;
    CApplicationDataBridge<CCounter> bridge{*this, &CCounter::onWritten};
};

void addResource(const std::string& name, const std::string& text)
{
    CWriteSeqBuffer buffer;
    ASSERT_TRUE(succeeded(buffer.writeCompressedData(text.data(), static_cast<std::int64_t>(text.size()), id)));
    CByteArray bytes;
    buffer.getContents(bytes);
    addTestResource(name, CTreeBytes::CBytes(bytes.begin(), bytes.end()));
}

}

TEST_F(ApplicationData, TakesTheFirstPlaceThatHasTheFile)
{
    addResource("TestData_all", "resource");
    EXPECT_EQ(read("all"), "resource");
    putFile(machine(), "all", "machine");
    EXPECT_EQ(read("all"), "resource");         // kept
    EXPECT_EQ(reload("all"), "machine");
    putFile(user(), "all", "user");
    EXPECT_EQ(reload("all"), "user");
    EXPECT_EQ(read("all"), "user");
    EXPECT_EQ(read("none"), "");
}

TEST_F(ApplicationData, DamagedFileIsPassedOver)
{
    addResource("TestData_dam", "resource");
    putFile(user(), "dam", "user");
    putFile(machine(), "dam", "machine");
    damageFile(user() + "dam");
    EXPECT_EQ(read("dam"), "machine");
    damageFile(machine() + "dam");
    EXPECT_EQ(reload("dam"), "resource");

    putFile(user(), "only", "good");
    EXPECT_EQ(read("only"), "good");
    damageFile(user() + "only");
    EXPECT_EQ(reload("only"), "good");          // what is known stays
    CApplicationData fresh(subdirectory, "TestData_");
    CByteArray bytes = {1};
    fresh.read("only", bytes, id);
    EXPECT_TRUE(bytes.empty());
}

TEST_F(ApplicationData, NothingFoundIsRememberedUntilWriteOrReload)
{
    EXPECT_EQ(read("x"), "");
    putFile(user(), "x", "later");
    EXPECT_EQ(read("x"), "");
    EXPECT_EQ(reload("x"), "later");
    EXPECT_EQ(read("y"), "");
    write("y", "written");
    EXPECT_EQ(read("y"), "written");
    ASSERT_EQ(std::remove((user() + "x").c_str()), 0);
    EXPECT_EQ(read("x"), "later");
    EXPECT_EQ(reload("x"), "");
}

TEST_F(ApplicationData, WritesTheUsersDirectoryOnly)
{
    EXPECT_FALSE(exists(user()));
    write("a", "one");
    write("a", "two");
    EXPECT_FALSE(exists(machine()));
    CApplicationData other(subdirectory, "TestData_");
    CByteArray bytes;
    other.read("a", bytes, id);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "two");
    other.read("a", bytes, fourCC("oops"), CApplicationData::Source::reload);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "two");
    write("empty", "");
    EXPECT_EQ(reload("empty"), "");
    EXPECT_TRUE(exists(user() + "empty"));
}

TEST_F(ApplicationData, NamesStayInsideTheDirectory)
{
    write("../outside", "x");
    write("", "x");
    write("..", "x");
    EXPECT_FALSE(exists(folders.user() + "Maker/outside"));
    EXPECT_EQ(read("../outside"), "x");         // for this process it is kept all the same
    putFile(folders.user() + "Maker/", "outside2", "secret");
    EXPECT_EQ(read("../outside2"), "");
}

TEST_F(ApplicationData, UnwritableDirectoryKeepsTheDataForTheProcess)
{
    std::ofstream(folders.user() + "Maker") << "a file where the directory should be";
    write("a", "kept");
    EXPECT_EQ(read("a"), "kept");
    EXPECT_EQ(reload("a"), "");
}

TEST_F(ApplicationData, WithoutDirectoriesEverythingIsEmpty)
{
    addResource("TestData_res", "resource");
    unsetenv("HOME");
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(read("res"), "");
    write("a", "kept");
    EXPECT_EQ(read("a"), "kept");
}

TEST_F(ApplicationData, TellsBridgesOfTheName)
{
    CCounter a(store, "a");
    CCounter b(store, "a");
    CCounter other(store, "other");
    write("a", "1");
    write("a", "2", &a.bridge);
    EXPECT_EQ(a.names, "a ");
    EXPECT_EQ(b.names, "a a ");
    EXPECT_EQ(other.names, "");
    b.bridge.detach();
    write("a", "3");
    EXPECT_EQ(a.names, "a a ");
    EXPECT_EQ(b.names, "a a ");
}

TEST_F(ApplicationData, BridgeMayReadWhileOthersWrite)
{
    struct CReader
    {
        explicit CReader(CApplicationData& observed) : data(observed) { EXPECT_TRUE(bridge.attach(data, "a")); }
        CError onWritten(const CStringBuf& name)
        {
            CByteArray bytes;
            data.read(name, bytes, id);
            wasEmpty = wasEmpty || bytes.empty();
            return {};
        }
        CApplicationData& data;
        bool wasEmpty = false;
        CApplicationDataBridge<CReader> bridge{*this, &CReader::onWritten};
    };
    CReader reader(store);
    std::vector<std::thread> writers;
    for (int i = 0; i < 3; ++i)
        writers.emplace_back([this, i]
        {
            for (int round = 0; round < 10; ++round)
                write("a", std::to_string(i) + "-" + std::to_string(round));
        });
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_FALSE(reader.wasEmpty);
    EXPECT_EQ(reload("a"), read("a"));
}

TEST(Application, StoresHaveTheirPlaces)
{
    const CFreshDataFolders folders;
    CGlobalData::instance().forgetForTests();
    CLocalData::instance().forgetForTests();
    CGlobalData::instance().write("g", "1", 1, id);
    CLocalData::instance().write("l", "1", 1, id);
    EXPECT_TRUE(std::ifstream(folders.user() + "Tenvaro/Audio Plug-Ins/g").good());
    EXPECT_TRUE(std::ifstream(folders.user() + "Tenvaro/Audio Plug-Ins/MorvaEQ/l").good());
    CGlobalData::instance().forgetForTests();
    CLocalData::instance().forgetForTests();
    CByteArray bytes;
    addResource("AppDataGlobal_default", "dg");
    addResource("AppDataLocal_default", "dl");
    CGlobalData::instance().read("default", bytes, id);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "dg");
    CLocalData::instance().read("default", bytes, id);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "dl");
    CGlobalData::instance().forgetForTests();
    CLocalData::instance().forgetForTests();
}

TEST(Application, RootsNeedASharedTreeOfWhichThereIsOne)
{
    CObject* root = nullptr;
    EXPECT_EQ(CApplication::initRootObject(root, "").message(), "No shared object created.");
    EXPECT_EQ(root, nullptr);
    EXPECT_NE(CApplication::initSharedObject("no such tree").message(), "");
    EXPECT_EQ(CApplication::getSharedRoot(), nullptr);

    CTestTree tree;
    CObject* shared = CApplication::getSharedRoot();
    EXPECT_EQ(CApplication::initSharedObject("").message(), "Shared object already exists.");
    EXPECT_EQ(CApplication::getSharedRoot(), shared);
    EXPECT_EQ(shared->notifyServer(), nullptr);
    EXPECT_EQ(shared->objectId(), -1);
    ASSERT_TRUE(succeeded(CApplication::initRootObject(root, "")));
    EXPECT_NE(root, &tree.root());
    EXPECT_NE(root->notifyServer(), tree.root().notifyServer());
    EXPECT_EQ(root->objectId(), 0);
    EXPECT_EQ(root->state(), 4);
    CApplication::destroyRootObject(root);
    EXPECT_NE(CApplication::initRootObject(root, "no such tree").message(), "");
}

}
