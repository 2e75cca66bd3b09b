// SPDX-License-Identifier: GPL-3.0-or-later
// What the data stores promise when disks, files and other processes do not play along.
#include "Core/CApplicationData.h"
#include "Core/CApplicationDataBridge.h"
#include "Core/CLog.h"
#include "Platform/CDirectories.h"
#include "Support/CFreshDataFolders.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sched.h>
#include <set>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kor::test
{
namespace
{

constexpr std::uint32_t id = fourCC("test");
constexpr const char* name = "list";

// Contents that tell their version and whether they are whole; they do not compress.
std::string versionText(unsigned version)
{
    std::minstd_rand random(version + 1);
    std::string text(20000 + random() % 20000, '\0');
    for (char& c : text)
        c = static_cast<char>(random() >> 8);
    return std::to_string(version) + ":" + text;
}

int versionOf(const std::string& text)
{
    const int version = std::atoi(text.c_str());
    return text == versionText(static_cast<unsigned>(version)) ? version : -1;
}

class CLines : public CLogListener
{
public:
    CLines() { CLog::setListener(this); }
    ~CLines() { CLog::setListener(nullptr); }
    void onLogLine(const CStringBuf& line) override { lines.push_back(line.toUtf8()); }
    std::vector<std::string> lines;
};

class DataFaults : public testing::Test
{
protected:
    using Store = CApplicationData;

    static std::string read(Store& store, Store::Source source = Store::Source::cache)
    {
        CByteArray bytes;
        store.read(name, bytes, id, source);
        return std::string(bytes.begin(), bytes.end());
    }

    /// What a process that starts now finds.
    static std::string readFresh()
    {
        Store fresh("Maker/", "Faults_");
        return read(fresh);
    }

    static void write(Store& store, const std::string& text) { store.write(name, text.data(), text.size(), id); }

    static CError append(Store& store, const std::string& text)
    {
        return store.edit(name, id, [&text](CByteArray& bytes)
        {
            bytes.insert(bytes.end(), text.begin(), text.end());
            return true;
        });
    }

    /// Runs `work` in a process of its own, which ends with it.
    static pid_t inChild(const std::function<void()>& work)
    {
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        work();
        ::_exit(0);
    }

    std::string directory() const { return folders.user() + "Maker/"; }
    std::string path() const { return directory() + name; }

    CFreshDataFolders folders;
    Store store{"Maker/", "Faults_"};
};

// A small file system of its own over a folder, where this process may mount one; it goes with the object.
class CSmallDisk
{
public:
    explicit CSmallDisk(const std::string& folder) : place(folder)
    {
        isThere = ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  ::mount("none", place.c_str(), "tmpfs", 0, "size=512k") == 0;
    }
    ~CSmallDisk()
    {
        if (isThere)
            ::umount(place.c_str());
    }
    CSmallDisk(const CSmallDisk&) = delete;
    CSmallDisk& operator=(const CSmallDisk&) = delete;

    void fill() const
    {
        std::ofstream filler(place + "filler");
        const std::string page(4096, '#');
        while (filler.write(page.data(), static_cast<std::streamsize>(page.size())).flush())
            ;
    }
    void makeRoom() const { std::filesystem::remove(place + "filler"); }

    bool isThere;

private:
    std::string place;
};

class COwner
{
public:
    CError onWritten(const CStringBuf&)
    {
        ++calls;
        return {};
    }
    int calls = 0;
};

}

TEST_F(DataFaults, KilledWriterLeavesTheOldOrTheNewVersionWhole)
{
    CLines log;
    std::mt19937 random(7);
    write(store, versionText(0));
    unsigned version = 0;
    int diedWriting = 0;
    for (int round = 0; round < 200; ++round)
    {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = inChild([&]
        {
            Store own("Maker/", "Faults_");
            for (unsigned next = version;; ++next)
            {
                if (next != version)
                    write(own, versionText(next));
                if (::write(ends[1], &next, sizeof next) != sizeof next)
                    return;
            }
        });
        ::close(ends[1]);
        unsigned done = 0;
        ASSERT_EQ(::read(ends[0], &done, sizeof done), static_cast<ssize_t>(sizeof done));
        ::usleep(random() % 4000);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        while (::read(ends[0], &done, sizeof done) > 0)
            ;
        ::close(ends[0]);
        const int found = versionOf(readFresh());
        ASSERT_GE(found, static_cast<int>(done)) << "round " << round;
        ASSERT_LE(found, static_cast<int>(done) + 1) << "round " << round;
        version = static_cast<unsigned>(found);
        diedWriting += CDirectories::list(directory()).size() > 2;
    }
    EXPECT_GT(diedWriting, 0) << "the moments hardly ever met a write";
    EXPECT_EQ(log.lines, std::vector<std::string>());
    write(store, "end");
    EXPECT_EQ(CDirectories::list(directory()).size(), 2u) << "leftovers of the dead stay";
}

TEST_F(DataFaults, FaultOfTheDiskIsOneLineAndPasses)
{
    struct CFault
    {
        const char* what;
        std::function<void()> begin;
        std::function<void()> end;
    };
    rlimit files;
    ::getrlimit(RLIMIT_FSIZE, &files);
    const auto limitFiles = [&](rlim_t bytes)
    {
        rlimit limited = files;
        limited.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limited);
    };
    const auto becomeNobody = [this](bool nobody)
    {
        ::chmod(folders.root().c_str(), 0755);
        ::chmod(directory().c_str(), nobody ? 0555 : 0755);
        return ::getuid() == 0 ? ::seteuid(nobody ? 65534 : 0) : 0;   // nothing is closed to the superuser
    };
    const CSmallDisk disk(folders.user());
    std::string lastWritten;
    std::vector<CFault> faults = {
        {"file that grows too large", [&] { limitFiles(5000); }, [&] { limitFiles(files.rlim_cur); }},
        {"directory that must not be written", [&] { ASSERT_EQ(becomeNobody(true), 0); },
         [&] { ASSERT_EQ(becomeNobody(false), 0); }},
        {"directory in place of the file", [&]
         {
             std::filesystem::remove(path());
             std::filesystem::create_directories(path() + "/inner");
         }, [&] { std::filesystem::remove_all(path()); write(store, lastWritten); }},
    };
    if (disk.isThere)
        faults.push_back({"full disk", [&] { disk.fill(); }, [&] { disk.makeRoom(); }});
    ::signal(SIGXFSZ, SIG_IGN);
    unsigned version = 0;
    write(store, lastWritten = versionText(version));
    for (const CFault& fault : faults)
    {
        SCOPED_TRACE(fault.what);
        std::vector<std::string> writeLines;
        std::vector<std::string> editLines;
        std::string edited;
        std::string unwritten = versionText(++version);
        COwner owner;
        CApplicationDataBridge<COwner> bridge(owner, &COwner::onWritten);
        ASSERT_TRUE(bridge.attach(store, name));
        fault.begin();
        {
            CLines log;
            const CError failure = append(store, versionText(99));
            EXPECT_TRUE(failure);
            EXPECT_EQ(owner.calls, 0);
            edited = read(store);
            log.lines.clear();
            write(store, unwritten);
            writeLines = log.lines;
        }
        EXPECT_EQ(edited, lastWritten) << "a failed edit leaves what is kept";
        EXPECT_EQ(writeLines.size(), 1u);
        EXPECT_EQ(owner.calls, 1);
        EXPECT_EQ(read(store), unwritten) << "the process goes on with what it wrote";
        fault.end();
        EXPECT_EQ(readFresh(), lastWritten);
        write(store, unwritten);
        EXPECT_EQ(readFresh(), lastWritten = unwritten);
    }
    ::signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(CDirectories::list(directory()).size(), 2u);
}

TEST_F(DataFaults, DamagedListIsOneLineAndKeptAside)
{
    std::filesystem::create_directories(directory());
    std::ofstream(path()) << "what a user made";
    CLines log;
    EXPECT_EQ(readFresh(), "");
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_NE(log.lines[0].find(path()), std::string::npos);

    EXPECT_FALSE(store.edit(name, id, [](CByteArray&) { return false; }));
    EXPECT_FALSE(std::filesystem::exists(path() + ".damaged"));
    EXPECT_FALSE(append(store, "new"));
    EXPECT_EQ(readFresh(), "new");
    std::string aside;
    std::getline(std::ifstream(path() + ".damaged"), aside);
    EXPECT_EQ(aside, "what a user made");
}

TEST_F(DataFaults, ContentsOfNoUseLeaveTheTurnToTheNextPlace)
{
    const CDataFormat words(id, [](const CByteArray& contents)
    { return contents.front() == '?' ? KOR_FAIL("No words.") : CError(); });
    write(store, "? of a user");
    std::filesystem::create_directories(folders.machine() + "Maker");
    std::filesystem::copy_file(path(), folders.machine() + "Maker/" + name);
    const auto readWords = [&]
    {
        Store fresh("Maker/", "Faults_");
        CByteArray bytes;
        fresh.read(name, bytes, words);
        return std::string(bytes.begin(), bytes.end());
    };
    CLines log;
    EXPECT_EQ(readWords(), "");
    EXPECT_EQ(log.lines.size(), 2u);

    write(store, "of a maker");
    std::filesystem::rename(path(), folders.machine() + "Maker/" + name);
    write(store, "? of a user");
    log.lines.clear();
    EXPECT_EQ(readWords(), "of a maker");
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_NE(log.lines[0].find(path()), std::string::npos);
    EXPECT_FALSE(store.edit(name, words, [](CByteArray& bytes) { return bytes.push_back('!'), true; }));
    EXPECT_EQ(readWords(), "of a maker!");
    EXPECT_TRUE(std::filesystem::exists(path() + ".damaged"));
}

TEST_F(DataFaults, ProcessesThatEditOneListLoseNothing)
{
    CLines log;
    constexpr int each = 25;                        // one that always comes late must still get its turn in time
    std::vector<pid_t> children;
    for (const char letter : {'a', 'b'})
        children.push_back(inChild([letter]
        {
            Store own("Maker/", "Faults_");
            for (int i = 0; i < each; ++i)
                if (append(own, std::string(1, letter) + std::to_string(i) + ";"))
                    ::_exit(1);
        }));
    for (int running = 2; running > 0;)
    {
        const std::string seen = read(store, Store::Source::reload);
        ASSERT_TRUE(seen.empty() || seen.back() == ';');
        int status = 0;
        if (::waitpid(-1, &status, WNOHANG) > 0)
        {
            EXPECT_EQ(status, 0);
            --running;
        }
    }
    EXPECT_EQ(log.lines, std::vector<std::string>());
    std::set<std::string> entries;
    std::istringstream all(readFresh());
    for (std::string entry; std::getline(all, entry, ';');)
        EXPECT_TRUE(entries.insert(entry).second) << entry;
    EXPECT_EQ(entries.size(), 2u * each);
}

TEST_F(DataFaults, FileThatComesAndGoesIsNoFaultButALinkToNowhereIs)
{
    write(store, "x");
    CLines log;
    const pid_t child = inChild([this]
    {
        const std::string away = path() + "-away";
        for (int i = 0; i < 20000; ++i)
        {
            ::rename(path().c_str(), away.c_str());
            ::rename(away.c_str(), path().c_str());
        }
    });
    while (::waitpid(child, nullptr, WNOHANG) == 0)
        read(store, Store::Source::reload);
    EXPECT_EQ(log.lines, std::vector<std::string>());

    std::filesystem::rename(path(), path() + "-away");
    std::filesystem::create_symlink(directory() + "unplugged/list", path());
    EXPECT_TRUE(append(store, "y"));
    EXPECT_EQ(log.lines.size(), 1u);
}

TEST_F(DataFaults, ProcessesThatWriteOneFileNeverTearIt)
{
    CLines log;
    write(store, versionText(0));
    for (const unsigned first : {1u, 2u})
        inChild([first]
        {
            Store own("Maker/", "Faults_");
            for (unsigned i = 0; i < 40; ++i)
                write(own, versionText(first + 2 * i));
        });
    for (int running = 2; running > 0;)
    {
        ASSERT_GE(versionOf(read(store, Store::Source::reload)), 0);
        running -= ::waitpid(-1, nullptr, WNOHANG) > 0;
    }
    EXPECT_EQ(log.lines, std::vector<std::string>());
}

TEST_F(DataFaults, LeftoversOfANeighbourStay)
{
    write(store, "x");
    for (const char* leftover : {"list.12-0.new", "list.old.12-0.new", "list.new", "list.12-0.newer"})
        std::ofstream(directory() + leftover) << "piece";
    write(store, "y");
    EXPECT_FALSE(std::filesystem::exists(directory() + "list.12-0.new"));
    for (const char* leftover : {"list.old.12-0.new", "list.new", "list.12-0.newer"})
        EXPECT_TRUE(std::filesystem::exists(directory() + leftover)) << leftover;
}

}
