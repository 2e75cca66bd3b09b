// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CAttrExpansion.h"

#include "Core/CLog.h"

#include <algorithm>

namespace kor
{
namespace
{

constexpr int maxSteps = 1000;
constexpr std::size_t maxLength = 65536;
constexpr char32_t textMark = 0x10000;

char16_t unitOf(char32_t unit) noexcept
{
    return static_cast<char16_t>(unit & 0xFFFF);
}

template <class Iterator>
CStringBuf textOf(Iterator from, Iterator to)
{
    CStringBuf text;
    for (; from != to; ++from)
        text.append(unitOf(*from));
    return text;
}

}

void CAttrExpansion::expand(CStringBuf& out, const CStringBuf& text)
{
    plainTaken = false;
    CWork work;
    CWork result;
    work.reserve(static_cast<std::size_t>(text.length()) + 64);
    for (int i = 0; i < text.length(); ++i)
        work.push_back(text[i]);

    for (int step = 0;; ++step)
    {
        const auto lastOpen = std::find(work.rbegin(), work.rend(), U'{');
        if (lastOpen == work.rend())
            break;
        const auto open = std::next(lastOpen).base();
        const auto close = std::find(open, work.end(), U'}');
        if (close == work.end())
            break;
        if (step == maxSteps)
        {
            CLog::write("Expansion of attribute '"_s + attr + "' stopped.", object.fullName());
            break;
        }

        const auto question = std::find(open + 1, close, U'?');
        bool isEmptyResult = false;
        const CAttrValue* value = evaluate(textOf(open + 1, question), isEmptyResult);
        result.clear();
        if (value != nullptr)
        {
            const CStringBuf& found = value->asString();
            const char32_t mark = value->isPlainText() ? textMark : 0;
            plainTaken = plainTaken || value->isPlainText();
            for (int i = 0; i < found.length(); ++i)
            {
                const bool isBrace = found[i] == u'{' || found[i] == u'}';
                result.push_back(isBrace ? mark | found[i] : found[i]);
            }
        }
        else if (!isEmptyResult && question != close)
            result.assign(question + 1, close);

        const std::size_t cut = static_cast<std::size_t>(close + 1 - open);
        if (work.size() - cut + result.size() > maxLength)
        {
            CLog::write("Expansion of attribute '"_s + attr + "' stopped.", object.fullName());
            break;
        }
        const auto place = work.erase(open, close + 1);
        work.insert(place, result.begin(), result.end());
    }
    out = textOf(work.begin(), work.end());
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
