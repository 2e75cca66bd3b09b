// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CResourceReader.h"

#include "Core/CFileReader.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceTable.h"

#include <cerrno>

namespace kor
{

CError CResourceReader::open(const CStringBuf& name)
{
    inner.reset();
    if (const CResourceTable::CBlock* block = CResourceTable::find(name))
    {
        inner = std::make_unique<CMemoryReader>(block->data, block->size);
        return {};
    }
    if (name.isEmpty() || name[0] != u'/')
        return KOR_FAIL("@korstr_CResourceReader_open_Missing Unable to open file '%1' for reading (error %2).", name,
                        ENOENT);
    auto file = std::make_unique<CFileReader>();
    KOR_TRY(file->open(name));
    inner = std::move(file);
    return {};
}

CError CResourceReader::readBlock(const CStringBuf& name, std::uint32_t id, CByteArray& contents)
{
    CResourceReader file;
    KOR_TRY(file.open(name));
    KOR_TRY(file.readCompressedData(contents, id));
    return {};
}

const void* CResourceReader::getDirectPointer()
{
    return inner != nullptr ? inner->getDirectPointer() : nullptr;
}

CError CResourceReader::skip(std::int64_t count)
{
    KOR_TRY(requireOpen());
    KOR_TRY(inner->skip(count));
    return {};
}

CError CResourceReader::read(void* buffer, std::int64_t count)
{
    KOR_TRY(requireOpen());
    KOR_TRY(inner->read(buffer, count));
    return {};
}

CError CResourceReader::readRef(void* buffer, std::int64_t& count)
{
    KOR_TRY(requireOpen());
    KOR_TRY(inner->readRef(buffer, count));
    return {};
}

CError CResourceReader::getPosition(std::int64_t& position)
{
    KOR_TRY(requireOpen());
    KOR_TRY(inner->getPosition(position));
    return {};
}

CError CResourceReader::setPosition(std::int64_t position)
{
    KOR_TRY(requireOpen());
    KOR_TRY(inner->setPosition(position));
    return {};
}

CError CResourceReader::getSize(std::int64_t& size)
{
    KOR_TRY(requireOpen());
    KOR_TRY(inner->getSize(size));
    return {};
}

CError CResourceReader::requireOpen() const
{
    if (inner == nullptr)
        return KOR_FAIL("@korstr_CResourceReader_requireOpen_Closed No resource is open.");
    return {};
}

}
