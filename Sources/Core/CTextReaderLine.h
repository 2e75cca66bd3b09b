// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

namespace kor
{

// Reads text line by line from a block of memory that it does not own. A line ends at LF or at the end of the data; CR
// is dropped wherever it stands. Lines are narrow until a character above 255 appears.
class CTextReaderLine
{
public:
    enum class Encoding
    {
        utf8,
        singleByte,                                 // Latin-1
        units16,                                    // little-endian
        units32                                     // little-endian; above 0xFFFF a pair of units in the result
    };

    CTextReaderLine(const void* block, std::size_t size, Encoding textEncoding) noexcept;

    /// The next line without its end; false, and `line` untouched, when no data is left. A unit that the end of the
    /// data cuts is ignored, as is a mark of byte order at the start.
    bool readLine(CStringBuf& line);

private:
    char32_t unitAt(std::size_t index) const noexcept;

    const unsigned char* data;
    Encoding encoding;
    std::size_t unitBytes;
    std::size_t count;                              // units
    std::size_t position = 0;
};

}
