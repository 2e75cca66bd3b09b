// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CNumberList.h"

namespace kor
{

CError readNumberList(CArray<double>& out, const CStringBuf& text)
{
    CArray<double> numbers;
    if (!text.trimmed().isEmpty())
    {
        CArray<CStringBuf> pieces;
        text.split(pieces, u',', false);
        for (const CStringBuf& piece : pieces)
        {
            bool ok = false;
            numbers.push_back(piece.trimmed().toDouble(ok));
            if (!ok)
                return KOR_FAIL("Invalid number '%1' specified.", piece);
        }
    }
    out = std::move(numbers);
    return {};
}

}
