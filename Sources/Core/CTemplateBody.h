// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringTable.h"

#include <memory>

namespace kor
{

// What an object that defines a template keeps: the type its instances are created as, and one compiled node that
// stays unparsed until an instance starts. The bytes are borrowed from an embedded resource, which is there for the
// life of the process, or copied; small ones into the record itself.
class CTemplateBody
{
public:
    /// isBorrowedData: the source bytes outlive this object.
    CTemplateBody(const CStringBuf& base, const unsigned char* source, std::size_t byteCount, bool isBorrowedData,
                  std::shared_ptr<const CStringTable> stringTable);
    ~CTemplateBody();
    CTemplateBody(const CTemplateBody&) = delete;
    CTemplateBody& operator=(const CTemplateBody&) = delete;

    const CStringBuf& baseTag() const noexcept { return baseTagText; }
    const unsigned char* data() const noexcept { return bytes; }
    std::size_t size() const noexcept { return count; }
    const std::shared_ptr<const CStringTable>& strings() const noexcept { return table; }

    /// True when the source bytes outlive this object, / when they lie in the record itself.
    bool isBorrowed() const noexcept { return borrowed; }
    bool isInline() const noexcept { return bytes == inlineBytes; }

private:
    static constexpr std::size_t inlineSize = 48;

    CStringBuf baseTagText;
    const unsigned char* bytes;
    std::size_t count;
    bool borrowed;
    unsigned char* owned = nullptr;
    unsigned char inlineBytes[inlineSize];
    std::shared_ptr<const CStringTable> table;
};

}
