// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

#include <pluginterfaces/base/ibstream.h>

namespace kor
{

// Writes to a host's stream, all or failure.
class COutputStreamVST : public CPosOutputStream
{
public:
    /// The stream must outlive this.
    explicit COutputStreamVST(Steinberg::IBStream& hostStream) noexcept : stream(hostStream) {}

    CError write(const void* buffer, std::int64_t count) override;
    CError getPosition(std::int64_t& position) override;
    CError setPosition(std::int64_t position) override;
    CError getSize(std::int64_t& size) override;

private:
    Steinberg::IBStream& stream;
};

}
