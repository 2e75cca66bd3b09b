// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CApplicationData.h"

#include "Core/CLog.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

namespace kor
{

namespace
{

CError checkText(const CByteArray& contents)
{
    CMemoryReader reader(contents);
    CStringBuf text;
    return reader.readString(text);
}

constexpr CDataFormat textFormat(fourCC("dstr"), checkText);

}

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

void CApplicationData::read(const CStringBuf& name, CByteArray& out, const CDataFormat& format, Source source)
{
    const CLockHolder hold(lock);
    files.resolve();
    CEntry& entry = entryOf(name);
    if (!entry.isKnown || source == Source::reload)
    {
        CByteArray found;
        const CDataFiles::CReading reading = files.read(name, found, format);
        if (reading.isFound || !reading.wasDamaged || !entry.isKnown)
            entry.bytes = std::move(found);
        entry.isKnown = true;
    }
    out = entry.bytes;
}

std::optional<CStringBuf> CApplicationData::readText(const CStringBuf& name)
{
    CByteArray bytes;
    read(name, bytes, textFormat);
    if (bytes.empty())
        return {};
    CMemoryReader reader(bytes);
    CStringBuf text;
    if (CError failure = reader.readString(text))
    {
        CLog::writeError(std::move(failure));       // something else was written under the name
        return {};
    }
    return text;
}

void CApplicationData::writeText(const CStringBuf& name, const CStringBuf& text, const CBridge* except)
{
    CWriteSeqBuffer buffer(2048);
    if (CError failure = buffer.writeString(text))
    {
        CLog::writeError(std::move(failure));
        return;
    }
    const CByteArray bytes = buffer.getContents();
    write(name, bytes.data(), bytes.size(), textFormat.id, except);
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

CError CApplicationData::edit(const CStringBuf& name, const CDataFormat& format, const CEdit& change,
                              const CBridge* except)
{
    {
        CDataFileLock right;
        CByteArray bytes;
        CDataFiles::CReading reading;
        const bool isKept = hasFiles();
        if (isKept)
        {
            KOR_TRY(files.take(right, name));
            reading = files.read(name, bytes, format);
            // What cannot be seen now must not be written over with what stands in for it.
            if (reading.isUserFileOutOfReach)
                return KOR_FAIL("@korstr_CApplicationData_edit_Reach Data file '%1' cannot be read and is left alone.",
                                name);
        }
        else
            read(name, bytes, format);
        if (!change(bytes))
            return {};
        const CLockHolder hold(lock);
        if (isKept)
        {
            if (reading.isUserFileDamaged)
                KOR_TRY(files.setAside(name));
            KOR_TRY(files.write(name, bytes.data(), bytes.size(), format.id));
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
