// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CApplicationData.h"

#include "Core/CLog.h"

namespace kor
{

CApplicationData::CApplicationData(const CStringBuf& storeSubdirectory, const CStringBuf& storeResourcePrefix)
    : files(storeSubdirectory, storeResourcePrefix)
{
}

CApplicationData::~CApplicationData()
{
    leaveBridges();
}

int CApplicationData::getBridgeKey(const CStringBuf& name)
{
    const CLockHolder hold(lock);
    return ids.try_emplace(name, static_cast<int>(ids.size()) + 1).first->second;
}

CApplicationData::CEntry& CApplicationData::entryOf(const CStringBuf& name)
{
    return cache[getBridgeKey(name)];
}

bool CApplicationData::hasFiles()
{
    const CLockHolder hold(lock);
    return files.resolve();
}

void CApplicationData::read(const CStringBuf& name, CByteArray& out, std::uint32_t id, Source source)
{
    const CLockHolder hold(lock);
    files.resolve();
    CEntry& entry = entryOf(name);
    if (!entry.isKnown || source == Source::reload)
    {
        CByteArray found;
        const CDataFiles::CReading reading = files.read(name, found, id);
        if (reading.isFound || !reading.wasDamaged || !entry.isKnown)
            entry.bytes = std::move(found);
        entry.isKnown = true;
    }
    out = entry.bytes;
}

void CApplicationData::write(const CStringBuf& name, const void* data, std::size_t size, std::uint32_t id,
                             const CBridge* except)
{
    {
        CDataFileLock right;
        CError failure;
        const bool isKept = hasFiles();
        if (isKept)
            failure = files.take(right, name);
        const CLockHolder hold(lock);
        CEntry& entry = entryOf(name);
        const auto* bytes = static_cast<const unsigned char*>(data);
        entry.bytes.assign(bytes, bytes + size);
        entry.isKnown = true;
        if (isKept && !failure)
            failure = files.write(name, data, size, id);
        if (failure)
            CLog::write(CStringBuf::fromUtf8(failure.message()));
    }
    notifyBridges(name, except);
}

CError CApplicationData::edit(const CStringBuf& name, std::uint32_t id, const CEdit& change, const CBridge* except)
{
    {
        CDataFileLock right;
        CByteArray bytes;
        CDataFiles::CReading reading;
        const bool isKept = hasFiles();
        if (isKept)
        {
            KOR_TRY(files.take(right, name));
            reading = files.read(name, bytes, id);
            // What cannot be seen now must not be written over with what stands in for it.
            if (reading.isUserFileOutOfReach)
                return KOR_FAIL("@korstr_CApplicationData_edit_Reach Data file '%1' cannot be read and is left alone.",
                                name);
        }
        else
            read(name, bytes, id);
        if (!change(bytes))
            return {};
        const CLockHolder hold(lock);
        if (isKept)
        {
            if (reading.isUserFileDamaged)
                KOR_TRY(files.setAside(name));
            KOR_TRY(files.write(name, bytes.data(), bytes.size(), id));
        }
        CEntry& entry = entryOf(name);
        entry.bytes = std::move(bytes);
        entry.isKnown = true;
    }
    notifyBridges(name, except);
    return {};
}

void CApplicationData::forgetForTests()
{
    const CLockHolder hold(lock);
    files.forgetForTests();
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
