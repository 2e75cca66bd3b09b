// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

#include <memory>

namespace kor
{

// Reads an embedded resource or, under an absolute path, a file; everything but opening is passed on to the reader
// inside. A name that is no absolute path is looked up in the resource table only: what happens to lie in a host's
// working directory is none of our content.
class CResourceReader : public CPosInputStream
{
public:
    /// Drops what was open before. "Unable to open file '%1' for reading (error %2)." when there is no such name.
    CError open(const CStringBuf& name);

    /// The contents of a resource or file that is one compressed block with this id.
    static CError readBlock(const CStringBuf& name, std::uint32_t id, CByteArray& contents);

    /// Embedded resources live as long as the process.
    const void* getDirectPointer() override;

    CError skip(std::int64_t count) override;
    CError read(void* buffer, std::int64_t count) override;
    CError readRef(void* buffer, std::int64_t& count) override;
    CError getPosition(std::int64_t& position) override;
    CError setPosition(std::int64_t position) override;
    CError getSize(std::int64_t& size) override;

private:
    CError requireOpen() const;

    std::unique_ptr<CPosInputStream> inner;
};

}
