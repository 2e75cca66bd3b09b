// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

namespace kor
{

// Evaluates the expressions in braces of one attribute value, the last opening brace first, so that braces nest and a
// result that holds braces is evaluated again. Text that came from a user stays text: its braces are never evaluated.
// The work is bounded (1,000 steps, 64 KB of text); past a bound the value stays as far as it got.
//
//   {attr?d}         attr here or inherited, else d      {/path attr?d}   the same from the object at path on
//   {@attr?d}        attr of this object only            {@/path attr?d}  attr of the object at path only
//   {*path attr}     live link: the value of attr now, and of every change from now on
//
// An absent attr is the name of the attribute being set.
class CAttrExpansion
{
public:
    CAttrExpansion(CObject& expandedObject, const CStringBuf& expandedAttr) : object(expandedObject), attr(expandedAttr)
    {
    }

    void expand(CStringBuf& out, const CStringBuf& text);

    /// True when the result of the last expansion took in text of a user.
    bool tookPlainText() const noexcept { return plainTaken; }

private:
    const CAttrValue* evaluate(const CStringBuf& key, bool& isEmptyResult);
    const CAttrValue* evaluateLink(const CStringBuf& key);
    void reportStop() const;

    CObject& object;
    const CStringBuf& attr;
    bool plainTaken = false;
};

}
