// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CSafeFileWriter.h"

#include "Platform/CDirectories.h"

#include <atomic>
#include <string_view>

namespace kor
{

namespace
{
std::atomic<unsigned> newFileCount{0};
constexpr std::string_view newEnd = ".new";
}

CSafeFileWriter::~CSafeFileWriter()
{
    discard();
}

void CSafeFileWriter::discard() noexcept
{
    if (!writer.isOpen())
        return;
    writer.close().ignore();
    CSystemFile::remove(writer.name().toUtf8());
}

CError CSafeFileWriter::open(const CStringBuf& path)
{
    discard();
    targetPath = path;
    // A name of its own for every process and every writer: two that save at once must not share the new file.
    const CStringBuf newPath = path + "." + CStringBuf::fromInt(CSystemFile::processId()) + "-" +
                               CStringBuf::fromInt(newFileCount.fetch_add(1, std::memory_order_relaxed)) +
                               CStringBuf(newEnd);
    KOR_TRY(writer.open(newPath));
    return {};
}

CError CSafeFileWriter::write(const void* buffer, std::int64_t count)
{
    KOR_TRY(writer.write(buffer, count));
    return {};
}

CError CSafeFileWriter::bringToDisk()
{
    KOR_TRY(writer.flush());
    KOR_TRY(writer.close());
    if (const int code = CSystemFile::rename(writer.name().toUtf8(), targetPath.toUtf8()))
        return KOR_FAIL("Unable to write to file '%1' (error %2).", targetPath, code);
    return {};
}

CError CSafeFileWriter::commit()
{
    CError result = bringToDisk();
    if (result)
    {
        writer.close().ignore();
        CSystemFile::remove(writer.name().toUtf8());
    }
    return result;
}

void CSafeFileWriter::removeLeftovers(const CStringBuf& path)
{
    const std::string whole = path.toUtf8();
    const std::size_t slash = whole.rfind('/') + 1;         // 0 without one
    const std::string directory = slash == 0 ? "./" : whole.substr(0, slash);
    const std::string start = whole.substr(slash) + ".";
    for (const std::string& name : CDirectories::list(directory))
    {
        if (!name.starts_with(start) || !name.ends_with(newEnd) || name.size() < start.size() + newEnd.size())
            continue;
        // Only the numbers that open() puts there: "list.old" may be a file of its own, with new files of its own.
        const std::string numbers = name.substr(start.size(), name.size() - start.size() - newEnd.size());
        if (numbers.find_first_not_of("0123456789-") == std::string::npos)
            CSystemFile::remove(directory + name);
    }
}

}
