// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CTreeReader.h"

#include "Core/CObject.h"
#include "Core/CResourceReader.h"
#include "Core/CTemplateBody.h"

#include <algorithm>

namespace kor
{
namespace
{

constexpr int maxDepth = 256;
constexpr std::size_t smallestNode = 9;             // tag, name, flag and two counts
constexpr std::size_t headSize = 8;                 // string count and pool size

std::uint32_t readU32(const unsigned char* bytes) noexcept
{
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

}

CTreeReader::CTreeReader(CObject& firstObject, const unsigned char* bytes, std::size_t byteCount, bool bytesStay,
                         const std::shared_ptr<const CStringTable>& stringTable)
    : start(bytes), position(bytes), end(bytes + byteCount), isLasting(bytesStay), table(stringTable),
      current(&firstObject)
{
}

CError CObject::loadTree(const CStringBuf& resourceName, bool doInit)
{
    CResourceReader reader;
    KOR_TRY(reader.open(resourceName));
    KOR_TRY(CTreeReader::load(*this, reader, doInit));
    return {};
}

CError CTreeReader::load(CObject& root, CPosInputStream& stream, bool doInit)
{
    const auto errorContext = [&root]() -> const CStringBuf& { return root.fullName(); };
    std::int64_t size = 0;
    std::int64_t position = 0;
    KOR_TRY(stream.getSize(size));
    KOR_TRY(stream.getPosition(position));
    const std::size_t available = static_cast<std::size_t>(std::max<std::int64_t>(0, size - position));

    const unsigned char* bytes = static_cast<const unsigned char*>(stream.getDirectPointer());
    const bool inPlace = bytes != nullptr;
    CArray<unsigned char> buffer;
    if (!inPlace)
    {
        buffer.resize(std::max(available, headSize));
        // A tree shorter than its head ends in the stream's own message.
        KOR_TRY(stream.read(buffer.data(), static_cast<std::int64_t>(buffer.size())));
        bytes = buffer.data();
    }
    if (available < headSize)
        return KOR_FAIL("@korstr_CTreeReader_load_Head Premature end of memory resource while reading (pos %1, count "
                        "%2, size %3).", 0, headSize, available);
    const std::uint32_t count = readU32(bytes);
    const std::uint32_t poolSize = readU32(bytes + 4);
    if (poolSize > available - headSize)
        return KOR_FAIL("@korstr_CTreeReader_load_Pool Premature end of memory resource while skipping (pos %1, count "
                        "%2, size %3).", headSize, poolSize, available);
    std::shared_ptr<const CStringTable> strings;
    KOR_TRY(CStringTable::decode(strings, bytes + headSize, poolSize, count));
    const std::size_t nodesStart = headSize + poolSize;
    KOR_TRY(loadNodes(root, bytes + nodesStart, available - nodesStart, inPlace, strings, doInit));
    return {};
}

CError CTreeReader::loadNodes(CObject& root, const unsigned char* nodes, std::size_t size, bool bytesStay,
                              const std::shared_ptr<const CStringTable>& strings, bool doInit)
{
    CTreeReader reader(root, nodes, size, bytesStay, strings);
    return reader.loadNode(root, Part::whole, doInit, 1);
}

CError CTreeReader::applyBodyAttrs(CObject& instance, const CTemplateBody& body)
{
    CTreeReader reader(instance, body.data(), body.size(), false, body.strings());
    return reader.loadNode(instance, Part::attributes, false, 1);
}

CError CTreeReader::createBodyChildren(CObject& instance, const CTemplateBody& body)
{
    // Templates inside of the body copy their bytes: the template that owns this body may go before them.
    CTreeReader reader(instance, body.data(), body.size(), body.isBorrowed(), body.strings());
    return reader.loadNode(instance, Part::children, false, 1);
}

const CStringBuf& CTreeReader::errorContext() const noexcept
{
    return current->fullName();
}

// Expects the position at the start of a node whose tag and name are not wanted or are known already.
CError CTreeReader::loadNode(CObject& object, Part part, bool doInit, int depth)
{
    current = &object;
    if (depth > maxDepth)
        return KOR_FAIL("@korstr_CTreeReader_loadNode_Depth Object tree is nested more than %1 levels deep.", maxDepth);
    KOR_TRY(require(5));
    position += 4;
    const bool isTemplate = take(1) != 0;
    if (isTemplate && part != Part::whole)
        return KOR_FAIL("@korstr_CTreeReader_loadNode_Body The body of a template is no plain node.");
    if (isTemplate)
        return loadTemplate(object, doInit);

    KOR_TRY(readAttrs(object, part != Part::children));
    if (part == Part::attributes)
        return {};
    if (part == Part::whole && doInit)
    {
        KOR_TRY(object.init());
        KOR_TRY(object.initAttrs());
    }
    KOR_TRY(readChildren(object, depth));
    if (part == Part::whole && doInit)
    {
        KOR_TRY(object.initChilds());
        object.startState = 4;
    }
    return {};
}

CError CTreeReader::loadTemplate(CObject& object, bool doInit)
{
    const CStringBuf* base = nullptr;
    KOR_TRY(readString(base));
    KOR_TRY(require(4));
    const std::size_t size = take(4);
    KOR_TRY(require(size));
    object.templateBody = std::make_unique<CTemplateBody>(*base, position, size, isLasting, table);
    position += size;
    if (doInit)
    {
        KOR_TRY(object.initAttrs());
        KOR_TRY(object.initChilds());
        object.startState = 4;
    }
    return {};
}

CError CTreeReader::readAttrs(CObject& object, bool apply)
{
    KOR_TRY(require(2));
    const std::size_t count = take(2);
    KOR_TRY(require(4 * count));
    if (!apply)
    {
        position += 4 * count;
        return {};
    }
    const CStringTable& strings = *table;
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::size_t name = take(2);
        const std::size_t value = take(2);
        if (std::max(name, value) >= strings.count())
            return KOR_FAIL("@korstr_CTreeReader_readAttrs_Index Object tree refers to string %1 of %2.",
                            std::max(name, value), strings.count());
        // An absent attribute reads as false or empty anyway; such a value only overrides.
        if (strings.isNeutral(value) && !object.hasAttr(strings.text(name)))
            continue;
        KOR_TRY(object.applyTreeAttr(strings.text(name), strings.text(value), strings.hasBrace(value)));
    }
    return {};
}

CError CTreeReader::readChildren(CObject& object, int depth)
{
    KOR_TRY(require(2));
    const std::size_t count = take(2);
    const std::size_t possible = static_cast<std::size_t>(end - position) / smallestNode;
    object.childList.reserve(object.childList.size() + std::min(count, possible));
    for (std::size_t i = 0; i < count; ++i)
    {
        const unsigned char* node = position;
        const CStringBuf* tag = nullptr;
        const CStringBuf* name = nullptr;
        KOR_TRY(readString(tag));
        KOR_TRY(readString(name));
        position = node;
        CObject* child = nullptr;
        KOR_TRY(object.addChild(child, *tag, *name, false));
        CError failure = loadNode(*child, Part::whole, true, depth + 1);
        current = &object;
        if (failure)
        {
            CObject::destroy(child);
            KOR_TRY(std::move(failure));
        }
        if (child->isTemplate())
            object.enterTemplate(*child);
    }
    return {};
}

CError CTreeReader::require(std::size_t size)
{
    if (static_cast<std::size_t>(end - position) >= size)
        return {};
    return KOR_FAIL("@korstr_CTreeReader_require_End Premature end of memory resource while reading (pos %1, count %2, "
                    "size %3).", position - start, size, end - start);
}

CError CTreeReader::readString(const CStringBuf*& text)
{
    KOR_TRY(require(2));
    const std::size_t index = take(2);
    if (index >= table->count())
        return KOR_FAIL("@korstr_CTreeReader_readString_Index Object tree refers to string %1 of %2.", index,
                        table->count());
    text = &table->text(index);
    return {};
}

std::uint32_t CTreeReader::take(int size) noexcept
{
    std::uint32_t value = 0;
    for (int i = 0; i < size; ++i)
        value |= static_cast<std::uint32_t>(position[i]) << (8 * i);
    position += size;
    return value;
}

}
