// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CAttrExpansion.h"

#include "Core/CLog.h"

namespace kor
{
namespace
{

constexpr int maxSteps = 1000;
constexpr int maxLength = 65536;

// What braces that are text turn into while braces are being looked for: two code units that no text uses.
constexpr char16_t textOpen = 0xFDD0;
constexpr char16_t textClose = 0xFDD1;

void exchangeUnits(CStringBuf& text, char16_t from, char16_t to)
{
    for (int place = text.findChar(from); place >= 0; place = text.findChar(from, place + 1))
        text.replace(place, 1, CStringBuf(std::u16string_view(&to, 1)));
}

}

void CAttrExpansion::expand(CStringBuf& out, const CStringBuf& text)
{
    plainTaken = false;
    bool hidesBraces = false;
    CStringBuf work = text;
    CStringBuf key;
    CStringBuf fallback;
    CStringBuf hidden;
    for (int step = 0;; ++step)
    {
        const int open = work.findLastChar(u'{');
        const int close = open >= 0 ? work.findChar(u'}', open) : -1;
        if (close < 0)
            break;
        if (step == maxSteps)
        {
            reportStop();
            break;
        }
        const int question = work.findChar(u'?', open);
        const bool hasDefault = question >= 0 && question < close;
        work.substr(key, open + 1, (hasDefault ? question : close) - open - 1);
        fallback.clear();
        if (hasDefault)
            work.substr(fallback, question + 1, close - question - 1);
        if (hidesBraces)
        {
            exchangeUnits(key, textOpen, u'{');
            exchangeUnits(key, textClose, u'}');
        }

        bool isEmptyResult = false;
        const CAttrValue* value = evaluate(key, isEmptyResult);
        const CStringBuf* result = value != nullptr ? &value->asString() : isEmptyResult ? &gEmptyString : &fallback;
        if (value != nullptr && value->isPlainText())
        {
            plainTaken = true;
            if (result->findChar(u'{') >= 0 || result->findChar(u'}') >= 0)
            {
                hidesBraces = true;
                hidden = *result;
                exchangeUnits(hidden, u'{', textOpen);
                exchangeUnits(hidden, u'}', textClose);
                result = &hidden;
            }
        }
        const int cut = close + 1 - open;
        if (work.length() - cut + result->length() > maxLength)
        {
            reportStop();
            break;
        }
        work.replace(open, cut, *result);
    }
    if (hidesBraces)
    {
        exchangeUnits(work, textOpen, u'{');
        exchangeUnits(work, textClose, u'}');
    }
    out = std::move(work);
}

void CAttrExpansion::reportStop() const
{
    CLog::write("Expansion of attribute '"_s + attr + "' stopped.", object.fullName());
}

// The value that the key stands for, or null for the default (with isEmptyResult: for the empty text).
const CAttrValue* CAttrExpansion::evaluate(const CStringBuf& key, bool& isEmptyResult)
{
    if (!key.isEmpty() && key[0] == u'*')
    {
        isEmptyResult = true;
        return evaluateLink(key);
    }
    const bool ownOnly = !key.isEmpty() && key[0] == u'@';
    CStringBuf wanted = ownOnly ? key.substr(1) : key;
    const CObject* from = &object;
    if (!wanted.isEmpty() && wanted[0] == u'/')
    {
        const int blank = wanted.findChar(u' ');
        from = object.findObject(blank < 0 ? wanted.substr(1) : wanted.substr(1, blank - 1));
        if (from == nullptr)
            return nullptr;
        wanted = blank < 0 ? CStringBuf() : wanted.substr(blank + 1);
    }
    const CStringBuf& wantedAttr = wanted.isEmpty() ? attr : wanted;
    return ownOnly ? from->findAttr(wantedAttr) : from->findInheritedAttr(wantedAttr);
}

const CAttrValue* CAttrExpansion::evaluateLink(const CStringBuf& key)
{
    CArray<CStringBuf> words;
    key.substr(1).split(words, u' ', true);
    if (words.size() < 2)
        return nullptr;
    const CStringBuf& path = words[0];
    const CStringBuf& sourceAttr = words[1];
    CObject* source = path[0] == u'/' ? object.findObject(path.substr(1)) : object.findNearestNamed(path);
    if (source == nullptr || source->isReadOnly() || source == &object)
        return nullptr;
    if (!source->isFrozen())
        object.linkAttr(*source, sourceAttr, attr);
    // A scheme is each object's own choice; only its changes are followed.
    return sourceAttr.equals("scheme") ? nullptr : source->findAttr(sourceAttr);
}

}
