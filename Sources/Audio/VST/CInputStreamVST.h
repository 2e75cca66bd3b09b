// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStream.h"

#include <pluginterfaces/base/ibstream.h>

namespace kor
{

// Reads a host's stream. What the host says about its stream is not believed: counts outside what was asked are a
// failure, and a stream that ends early fails every read but readRef.
class CInputStreamVST : public CPosInputStream
{
public:
    /// The stream must outlive this.
    explicit CInputStreamVST(Steinberg::IBStream& hostStream) noexcept : stream(hostStream) {}

    CError read(void* buffer, std::int64_t count) override;
    CError readRef(void* buffer, std::int64_t& count) override;
    CError getPosition(std::int64_t& position) override;
    CError setPosition(std::int64_t position) override;
    CError getSize(std::int64_t& size) override;

private:
    Steinberg::IBStream& stream;
};

}
