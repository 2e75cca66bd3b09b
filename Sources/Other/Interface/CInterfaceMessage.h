// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CWriteSeqBuffer.h"

namespace kor
{

// A message in the making: the command's name, then its fields.
// `CInterfaceMessage("listen-param").text(name).number(id)`
class CInterfaceMessage
{
public:
    explicit CInterfaceMessage(const CStringBuf& command) { text(command); }

    // Writing to memory does not fail.
    CInterfaceMessage& text(const CStringBuf& value)
    {
        buffer.writeString(value).ignore();
        return *this;
    }
    CInterfaceMessage& number(std::uint32_t value)
    {
        buffer.writeU32(value).ignore();
        return *this;
    }
    CInterfaceMessage& number(int value) { return number(static_cast<std::uint32_t>(value)); }
    CInterfaceMessage& number(bool value) { return number(value ? 1u : 0u); }
    CInterfaceMessage& real(double value)
    {
        buffer.writeDouble(value).ignore();
        return *this;
    }

    /// For fields with a form of their own.
    COutputStream& stream() noexcept { return buffer; }

    CByteArray block() const { return buffer.getContents(); }

private:
    CWriteSeqBuffer buffer{256};
};

}
