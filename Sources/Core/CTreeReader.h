// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringTable.h"

#include <cstdint>
#include <memory>

namespace kor
{

class CInputStream;
class CObject;
class CPosInputStream;
class CTemplateBody;

// Builds objects from the nodes of a compiled tree, in place: starts each object as soon as it is read and keeps the
// bodies of templates unparsed. The format carries no check of its own, so every length, count and index is checked
// here against what is there, and nodes nest at most 256 deep.
class CTreeReader
{
public:
    /// Loads the tree that `stream` holds from its position on into `root`. Memory that the stream gives direct access
    /// to must live as long as the process; other streams are read to their end first.
    static CError load(CObject& root, CPosInputStream& stream, bool doInit);

    /// The two halves of a template instance's start.
    static CError applyBodyAttrs(CObject& instance, const CTemplateBody& body);
    static CError createBodyChildren(CObject& instance, const CTemplateBody& body);

private:
    enum class Part
    {
        whole,                                      // the node and, if wanted, the object's start stages
        attributes,
        children
    };

    CTreeReader(CObject& firstObject, const unsigned char* bytes, std::size_t byteCount, bool bytesStay,
                const std::shared_ptr<const CStringTable>& stringTable);

    static CError loadNodes(CObject& root, const unsigned char* nodes, std::size_t size, bool bytesStay,
                            const std::shared_ptr<const CStringTable>& strings, bool doInit);

    const CStringBuf& errorContext() const noexcept;
    CError loadNode(CObject& object, Part part, bool doInit, int depth);
    CError loadTemplate(CObject& object, bool doInit);
    CError readAttrs(CObject& object, bool apply);
    CError readChildren(CObject& object, int depth);
    CError require(std::size_t size);
    CError readString(const CStringBuf*& text);
    std::uint32_t take(int size) noexcept;

    const unsigned char* start;
    const unsigned char* position;
    const unsigned char* end;
    bool isLasting;                                 // the bytes live as long as the process
    const std::shared_ptr<const CStringTable>& table;
    CObject* current;                               // whose name the errors give
};

}
