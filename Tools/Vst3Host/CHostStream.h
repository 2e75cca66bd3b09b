// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"

#include "pluginterfaces/base/ibstream.h"

#include <span>
#include <vector>

namespace kor
{

// Bytes in memory as a plug-in's state stream. A read behind the end is short and succeeds, as in hosts.
class CHostStream : public CHostObject<Steinberg::IBStream>
{
public:
    CHostStream() = default;
    explicit CHostStream(std::span<const char> contents) : bytes(contents.begin(), contents.end()) {}

    Steinberg::tresult PLUGIN_API read(void* buffer, Steinberg::int32 count, Steinberg::int32* done) override;
    Steinberg::tresult PLUGIN_API write(void* buffer, Steinberg::int32 count, Steinberg::int32* done) override;
    Steinberg::tresult PLUGIN_API seek(Steinberg::int64 offset, Steinberg::int32 mode,
                                       Steinberg::int64* result) override;
    Steinberg::tresult PLUGIN_API tell(Steinberg::int64* result) override;

    const std::vector<char>& contents() const noexcept { return bytes; }

private:
    std::vector<char> bytes;
    std::size_t position = 0;           // never behind the end
};

}
