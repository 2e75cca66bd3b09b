// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CApplicationData.h"

#include "Core/CFileReader.h"
#include "Core/CLog.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceTable.h"
#include "Core/CSafeFileWriter.h"
#include "Platform/CDirectories.h"

#include <algorithm>

namespace kor
{
namespace
{

bool isPlainFileName(const CStringBuf& name)
{
    return !name.isEmpty() && name.findChar(u'/') < 0 && name.findChar(u'\0') < 0 && !name.equals(".") &&
           !name.equals("..");
}

}

CApplicationData::CApplicationData(const CStringBuf& storeSubdirectory, const CStringBuf& storeResourcePrefix)
    : subdirectory(storeSubdirectory), resourcePrefix(storeResourcePrefix)
{
}

void CApplicationData::resolvePaths()
{
    if (paths != Paths::notTried)
        return;
    const CStringBuf user = CStringBuf::fromUtf8(CDirectories::userData());
    const CStringBuf machine = CStringBuf::fromUtf8(CDirectories::machineData());
    if (user.isEmpty() || machine.isEmpty())
    {
        paths = Paths::failed;
        CLog::write("The data directories of the user and of the machine are not known.");
        return;
    }
    userDirectory = user + subdirectory;
    machineDirectory = machine + subdirectory;
    const CStringBuf module = CStringBuf::fromUtf8(CDirectories::module());
    if (!module.isEmpty())
        moduleDirectory = module + subdirectory;
    paths = Paths::resolved;
}

int CApplicationData::idOf(const CStringBuf& name)
{
    const CLockHolder hold(lock);
    return ids.try_emplace(name, static_cast<int>(ids.size())).first->second;
}

CApplicationData::CEntry& CApplicationData::entryOf(const CStringBuf& name)
{
    return cache[idOf(name)];
}

void CApplicationData::read(const CStringBuf& name, CByteArray& out, std::uint32_t id, Source source)
{
    const CLockHolder hold(lock);
    resolvePaths();
    CEntry& entry = entryOf(name);
    if (!entry.isKnown || source == Source::reload)
    {
        CByteArray found;
        bool wasDamaged = false;
        const bool isFound = paths == Paths::resolved && isPlainFileName(name) &&
                             readFiles(name, found, id, wasDamaged);
        if (isFound || !wasDamaged || !entry.isKnown)
            entry.bytes = std::move(found);
        entry.isKnown = true;
    }
    out = entry.bytes;
}

bool CApplicationData::readFiles(const CStringBuf& name, CByteArray& out, std::uint32_t id, bool& wasDamaged) const
{
    const auto decode = [&](CInputStream& stream, const CStringBuf& origin)
    {
        CError failure = stream.readCompressedData(out, id);
        if (!failure)
            return true;
        wasDamaged = true;
        CLog::write("Data file '"_s + origin + "' is not usable:");
        CLog::writeError(std::move(failure));
        return false;
    };
    for (const CStringBuf* directory : {&userDirectory, &machineDirectory, &moduleDirectory})
    {
        if (directory->isEmpty())
            continue;
        const CStringBuf path = *directory + name;
        CFileReader file;
        if (CError missing = file.open(path))
        {
            missing.ignore();
            continue;
        }
        const bool isUsable = decode(file, path);
        if (CError failure = file.close())
            CLog::writeError(std::move(failure));
        if (isUsable)
            return true;
    }
    const CStringBuf resourceName = resourcePrefix + name;
    if (const CResourceTable::CBlock* block = CResourceTable::find(resourceName))
    {
        CMemoryReader resource(block->data, block->size);
        return decode(resource, resourceName);
    }
    return false;
}

void CApplicationData::write(const CStringBuf& name, const void* data, std::size_t size, std::uint32_t id,
                             const CDataObserver* except)
{
    int nameId = 0;
    {
        const CLockHolder hold(lock);
        resolvePaths();
        nameId = idOf(name);
        CEntry& entry = entryOf(name);
        const auto* bytes = static_cast<const unsigned char*>(data);
        entry.bytes.assign(bytes, bytes + size);
        entry.isKnown = true;
        if (CError failure = writeFile(name, data, size, id))
            CLog::writeError(std::move(failure));
    }
    const CLockHolder hold(observerLock);
    const auto found = observers.find(nameId);
    if (found == observers.end())
        return;
    for (CDataObserver* observer : found->second)
        if (observer != except)
            observer->onDataWritten(name);
}

CError CApplicationData::writeFile(const CStringBuf& name, const void* data, std::size_t size, std::uint32_t id) const
{
    if (paths != Paths::resolved)
        return {};
    if (!isPlainFileName(name))
        return KOR_FAIL("@korstr_CApplicationData_write_Name '%1' is no name of a data file.", name);
    if (!CDirectories::create(userDirectory.toUtf8()))
        return KOR_FAIL("@korstr_CApplicationData_write_Directory Unable to create directory '%1'.", userDirectory);
    CSafeFileWriter file;
    KOR_TRY(file.open(userDirectory + name));
    KOR_TRY(file.writeCompressedData(data, static_cast<std::int64_t>(size), id));
    KOR_TRY(file.commit());
    return {};
}

void CApplicationData::addObserver(const CStringBuf& name, CDataObserver& observer)
{
    const int nameId = idOf(name);
    const CLockHolder hold(observerLock);
    observers[nameId].push_back(&observer);
}

void CApplicationData::removeObserver(CDataObserver& observer)
{
    const CLockHolder hold(observerLock);
    for (auto& [nameId, list] : observers)
        std::erase(list, &observer);
}

void CApplicationData::forgetForTests()
{
    const CLockHolder hold(lock);
    paths = Paths::notTried;
    cache.clear();
}

CApplicationData& CGlobalData::instance()
{
    static CApplicationData& store = *new CApplicationData("Tenvaro/Audio Plug-Ins/", "AppDataGlobal_");
    return store;
}

CApplicationData& CLocalData::instance()
{
    static CApplicationData& store = *new CApplicationData("Tenvaro/Audio Plug-Ins/MorvaEQ/", "AppDataLocal_");
    return store;
}

}
