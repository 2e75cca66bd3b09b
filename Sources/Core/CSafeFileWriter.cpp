// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CSafeFileWriter.h"

#include <atomic>

namespace kor
{

namespace
{
std::atomic<unsigned> newFileCount{0};
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
                               CStringBuf::fromInt(newFileCount.fetch_add(1, std::memory_order_relaxed)) + ".new";
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

}
