// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CFileReader.h"
#include "Core/CFileWriter.h"
#include "Core/CLog.h"
#include "Core/CSafeFileWriter.h"
#include "Support/CFreshDataFolders.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kor
{

namespace
{

std::string contentsOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void put(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::size_t filesIn(const std::string& folder)
{
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        count += entry.is_regular_file() ? 1 : 0;
    return count;
}

// The descriptor under which the process holds a path, to close it behind the reader's back.
int descriptorOf(const std::string& path)
{
    for (int fd = 3; fd < 256; ++fd)
    {
        std::error_code ignored;
        if (std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), ignored) == path)
            return fd;
    }
    return -1;
}

struct Files : testing::Test
{
    test::CFreshDataFolders folders;
    std::string path = folders.root() + "\xC3\xA4\xE2\x82\xAC.dat";     // names go to the system as UTF-8
    CStringBuf name = CStringBuf::fromUtf8(path);
};

}

TEST_F(Files, WriteThenRead)
{
    CFileWriter writer;
    ASSERT_FALSE(writer.open(name));
    ASSERT_FALSE(writer.write("0123456789", 10));
    ASSERT_FALSE(writer.setPosition(2));
    ASSERT_FALSE(writer.write("xy", 2));
    std::int64_t at = 0;
    ASSERT_FALSE(writer.getPosition(at));
    EXPECT_EQ(at, 4);
    ASSERT_FALSE(writer.close());
    ASSERT_FALSE(writer.close());                           // closed already: nothing to do
    ASSERT_FALSE(writer.open(name, CFileWriter::Start::append));
    ASSERT_FALSE(writer.write("AB", 2));
    ASSERT_FALSE(writer.close());
    EXPECT_EQ(contentsOf(path), "01xy456789AB");

    CFileReader reader;
    ASSERT_FALSE(reader.open(name));
    char bytes[16] = {};
    ASSERT_FALSE(reader.skip(2));
    ASSERT_FALSE(reader.skip(-1));
    ASSERT_FALSE(reader.read(bytes, 3));
    EXPECT_EQ(std::string(bytes), "xy4");
    std::int64_t count = 16;
    ASSERT_FALSE(reader.readRef(bytes, count));
    EXPECT_EQ(count, 7);
    ASSERT_FALSE(reader.setPosition(10));
    EXPECT_EQ(reader.read(bytes, 5).message(),
              "Unable to read from file '" + path + "' (required 5 bytes, read 2 bytes).");
    ASSERT_FALSE(reader.setPosition(10));
    EXPECT_TRUE(reader.skip(3));
    ASSERT_FALSE(writer.open(name));                        // emptied
    EXPECT_EQ(contentsOf(path), "");

    // Positions beyond 4 GB, on a file that takes no room.
    ASSERT_FALSE(writer.setPosition(std::int64_t{5} << 30));
    ASSERT_FALSE(writer.write("z", 1));
    ASSERT_FALSE(reader.open(name));
    ASSERT_FALSE(reader.skip(std::int64_t{5} << 30));
    ASSERT_FALSE(reader.read(bytes, 1));
    EXPECT_EQ(bytes[0], 'z');
    std::int32_t narrow = 0;
    EXPECT_EQ(reader.getSizeInt(narrow).message(), "The size of the stream is above allowed 2 GB.");
}

TEST_F(Files, FailuresNameFileAndCode)
{
    CFileReader reader;
    CFileWriter writer;
    const CStringBuf folder = CStringBuf::fromUtf8(folders.root());
    EXPECT_EQ(reader.open(folder).message(), "Unable to open file '" + folders.root() + "' for reading (error 21).");
    EXPECT_EQ(writer.open(name + "/x", CFileWriter::Start::append).message(),
              "Unable to open file '" + path + "/x' for appending (error 2).");
    ASSERT_FALSE(writer.open("/dev/full"));
    EXPECT_EQ(writer.write("x", 1).message(), "Unable to write to file '/dev/full' (error 28).");
    // A pipe has no position; skipping reads it instead.
    const std::string pipe = folders.root() + "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    ASSERT_FALSE(reader.open(CStringBuf::fromUtf8(pipe), CFileReader::Use::update));
    const int end = ::open(pipe.c_str(), O_WRONLY);
    const std::string sent = std::string(40000, 'a') + 'c';     // more than is skipped at once
    ASSERT_EQ(::write(end, sent.data(), sent.size()), 40001);
    ::close(end);
    char byte = 0;
    ASSERT_FALSE(reader.skip(40000));
    ASSERT_FALSE(reader.read(&byte, 1));
    EXPECT_EQ(byte, 'c');

    put(path, "text");
    ASSERT_FALSE(reader.open(name));
    ::close(descriptorOf(path));                            // the handle is gone behind the reader's back
    EXPECT_EQ(reader.read(&byte, 1).message(), "Unable to read from file '" + path + "' (error 9).");
    EXPECT_EQ(reader.close().message(), "Unable to close file '" + path + "' (error 9).");
    EXPECT_FALSE(reader.isOpen());
}

TEST_F(Files, UpdatesWaitForEachOther)
{
    put(path, "0");
    constexpr int rounds = 50;
    const auto increment = [&] {
        for (int i = 0; i < rounds; ++i)
        {
            CFileReader reader;
            ASSERT_FALSE(reader.open(name, CFileReader::Use::update));
            const int value = std::atoi(contentsOf(path).c_str());
            std::this_thread::yield();
            put(path, std::to_string(value + 1));
            ASSERT_FALSE(reader.close());
        }
    };
    std::thread other(increment);
    increment();
    other.join();
    EXPECT_EQ(contentsOf(path), std::to_string(2 * rounds));
}

TEST_F(Files, StandardStreamsStayOpen)
{
    testing::internal::CaptureStdout();
    CFileWriter writer;
    for (const char* text : {"ab", "cd"})
    {
        EXPECT_FALSE(writer.open("stdout"));
        EXPECT_FALSE(writer.write(text, 2));
        EXPECT_FALSE(writer.close());
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "abcd");
}

TEST_F(Files, SafeWriterShowsTheOldOrTheNewAndLeavesNothingBehind)
{
    put(path, "old");
    {
        CSafeFileWriter dropped;
        ASSERT_FALSE(dropped.open(name));
        ASSERT_FALSE(dropped.write("half", 4));
        EXPECT_EQ(contentsOf(path), "old");
    }
    EXPECT_EQ(contentsOf(path), "old");
    CSafeFileWriter writer;
    CSafeFileWriter second;
    ASSERT_FALSE(writer.open(name));
    ASSERT_FALSE(second.open(name));                        // two that save at once do not mix
    ASSERT_FALSE(writer.write("new", 3));
    ASSERT_FALSE(second.write("newer", 5));
    ASSERT_FALSE(writer.commit());
    EXPECT_EQ(contentsOf(path), "new");
    ASSERT_FALSE(second.commit());
    EXPECT_EQ(contentsOf(path), "newer");
    EXPECT_EQ(filesIn(folders.root()), 1u);

    const std::string folder = folders.root() + "taken";
    std::filesystem::create_directory(folder);
    ASSERT_FALSE(writer.open(CStringBuf::fromUtf8(folder)));
    ASSERT_FALSE(writer.write("x", 1));
    EXPECT_EQ(writer.commit().message(), "Unable to write to file '" + folder + "' (error 21).");
    EXPECT_EQ(filesIn(folders.root()), 1u);
    EXPECT_TRUE(writer.open(CStringBuf::fromUtf8(folders.root() + "none/x")));
}

TEST_F(Files, LogWritesLinesToFileAndListener)
{
    struct CLines : CLogListener
    {
        void onLogLine(const CStringBuf& line) override
        {
            lines.push_back(line.toUtf8());
            if (lines.size() == 1)
                CLog::write("from the listener");           // goes to the file, not round and round
        }
        std::vector<std::string> lines;
    } listener;
    put(path, "of an older process");
    CLog::setFile(name);
    CLog::setListener(&listener);
    CLog::write("first", "ui.win");
    CLog::write(CStringBuf(u"\u20AC\r\nforged"));
    CLog::setSuffix(" [2]");
    CError error;
    reportError(error, "a/a.cpp", 1, "", "broken", {});
    reportError(error, "a/b.cpp", 3, "plugin", "", {});
    CLog::writeError(std::move(error));
    CLog::setSuffix("");
    CLog::setListener(nullptr);
    CLog::write("last");
    CLog::setFile("");
    CLog::write("nowhere");

    EXPECT_EQ(contentsOf(path), "first // ui.win\r\nfrom the listener\r\n\xE2\x82\xAC  forged\r\n"
                                "a.cpp( 1 ) // broken [2]\r\nb.cpp( 3 ) // plugin [2]\r\nlast\r\n");
    ASSERT_EQ(listener.lines.size(), 4u);
    EXPECT_EQ(listener.lines[3], "b.cpp( 3 ) // plugin [2]");
}

TEST_F(Files, LogKeepsLinesOfManyThreadsWhole)
{
    CLog::setFile(name);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            const std::string line(static_cast<std::size_t>(20 + t), static_cast<char>('a' + t));
            for (int i = 0; i < 50; ++i)
                CLog::write(std::string_view(line));
        });
    for (std::thread& thread : threads)
        thread.join();
    CLog::setFile("");
    std::ifstream file(path);
    int lines = 0;
    for (std::string line; std::getline(file, line); ++lines)
        EXPECT_EQ(line, std::string(static_cast<std::size_t>(20 + line[0] - 'a'), line[0]) + "\r");
    EXPECT_EQ(lines, 200);
}

}
