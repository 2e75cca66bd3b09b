// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CDataFiles.h"

#include "Core/CFileReader.h"
#include "Core/CLog.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceTable.h"
#include "Core/CSafeFileWriter.h"
#include "Platform/CDirectories.h"

namespace kor
{
namespace
{

bool isPlainFileName(const CStringBuf& name)
{
    return !name.isEmpty() && name.findChar(u'/') < 0 && name.findChar(u'\0') < 0 && !name.equals(".") &&
           !name.equals("..");
}

void logUnusable(const CStringBuf& origin, const CError& failure)
{
    CLog::write("Data file '"_s + origin + "' is not usable: " + CStringBuf::fromUtf8(failure.message()));
}

}

CDataFiles::CDataFiles(const CStringBuf& storeSubdirectory, const CStringBuf& storeResourcePrefix)
    : subdirectory(storeSubdirectory), resourcePrefix(storeResourcePrefix)
{
}

bool CDataFiles::resolve()
{
    if (paths != Paths::notTried)
        return paths == Paths::resolved;
    const CStringBuf user = CStringBuf::fromUtf8(CDirectories::userData());
    const CStringBuf machine = CStringBuf::fromUtf8(CDirectories::machineData());
    if (user.isEmpty() || machine.isEmpty())
    {
        paths = Paths::failed;
        CLog::write("The data directories of the user and of the machine are not known.");
        return false;
    }
    userDirectory = user + subdirectory;
    machineDirectory = machine + subdirectory;
    const CStringBuf module = CStringBuf::fromUtf8(CDirectories::module());
    if (!module.isEmpty())
        moduleDirectory = module + subdirectory;
    paths = Paths::resolved;
    return true;
}

CDataFiles::CReading CDataFiles::read(const CStringBuf& name, CByteArray& out, const CDataFormat& format) const
{
    CReading reading;
    if (paths != Paths::resolved || !isPlainFileName(name))
        return reading;
    const auto decode = [&](CInputStream& stream, const CStringBuf& origin)
    {
        CByteArray contents;
        CError failure = stream.readCompressedData(contents, format.id);
        if (!failure && format.check != nullptr && !contents.empty())
            failure = format.check(contents);
        reading.isFound = !failure;
        if (failure)
        {
            reading.wasDamaged = true;
            logUnusable(origin, failure);
            return false;
        }
        out = std::move(contents);
        return true;
    };
    for (const CStringBuf* directory : {&userDirectory, &machineDirectory, &moduleDirectory})
    {
        if (directory->isEmpty())
            continue;
        const CStringBuf path = *directory + name;
        const bool isUsers = directory == &userDirectory;
        CFileReader file;
        if (const CError failure = file.open(path))
        {
            if (!file.wasMissing())
            {
                reading.wasDamaged = true;
                reading.isUserFileOutOfReach |= isUsers;
                logUnusable(path, failure);
            }
            continue;
        }
        const bool isUsable = decode(file, path);
        if (CError failure = file.close())
            CLog::writeError(std::move(failure));
        if (isUsable)
            return reading;
        reading.isUserFileDamaged |= isUsers;
    }
    const CStringBuf resourceName = resourcePrefix + name;
    if (const CResourceTable::CBlock* block = CResourceTable::find(resourceName))
    {
        CMemoryReader resource(block->data, block->size);
        decode(resource, resourceName);
    }
    return reading;
}

CError CDataFiles::take(CDataFileLock& right, const CStringBuf& name) const
{
    if (!isPlainFileName(name))
        return KOR_FAIL("@korstr_CDataFiles_take_Name '%1' is no name of a data file.", name);
    if (!CDirectories::create(userDirectory.toUtf8()))
        return KOR_FAIL("@korstr_CDataFiles_take_Directory Unable to create directory '%1'.", userDirectory);
    KOR_TRY(right.take(userDirectory + name));
    return {};
}

CError CDataFiles::write(const CStringBuf& name, const void* data, std::size_t size, std::uint32_t id) const
{
    const CStringBuf path = userDirectory + name;
    // Whoever wrote this file and died has left a piece; nobody else writes it now.
    CSafeFileWriter::removeLeftovers(path);
    CSafeFileWriter file;
    KOR_TRY(file.open(path));
    KOR_TRY(file.writeCompressedData(data, static_cast<std::int64_t>(size), id));
    KOR_TRY(file.commit());
    return {};
}

CError CDataFiles::setAside(const CStringBuf& name) const
{
    const CStringBuf path = userDirectory + name;
    if (const int code = CSystemFile::rename(path.toUtf8(), (path + ".damaged").toUtf8()))
        return KOR_FAIL("Unable to write to file '%1' (error %2).", path + ".damaged", code);
    return {};
}

}
