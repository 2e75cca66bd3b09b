// SPDX-License-Identifier: GPL-3.0-or-later
#include "PresetText/CPresetDefinitions.h"

#include "Audio/Parameters/CAudioParamDef.h"
#include "Core/CApplication.h"

#include <string_view>

namespace kor
{

namespace
{

struct CPlace
{
    const char* id;
    const char* definitions;
};

constexpr CPlace places[] = {
    {"q7ne", "audio.modMain"},
    {"KRIO", "audio.modMain.io-params"},
    {"q7ne0", "audio.modMain.modMorvaEQ.eq-params"},
    {"q7ne1", "audio.modMain.modMorvaEQ.dyn-params"},
    {"KRSP", "audio.modMain.modMorvaEQ.spectrum-params"},
    {"KREA", "audio.modMain.modMorvaEQ.eqareas-params"},
};

// A key from a file must not climb out of its place by the means that paths have for it.
bool isPlainName(const CStringBuf& key)
{
    bool wasDot = true;
    for (int i = 0; i < key.length(); ++i)
    {
        const char16_t c = key[i];
        if (c <= u' ' || std::u16string_view(u"^/#{}?*,;=:").find(c) != std::u16string_view::npos)
            return false;
        if (c == u'.' && wasDot)
            return false;
        wasDot = c == u'.';
    }
    return !wasDot;
}

}

CStringBuf CPresetDefinitions::definitionName(const CStringBuf& id, const CStringBuf& key)
{
    for (const CPlace& place : places)
        if (id.equals(place.id))
            return CStringBuf(place.definitions) + "." + key;
    return key;
}

const CAudioParamInfo* CPresetDefinitions::find(const CStringBuf& id, const CStringBuf& key)
{
    CObject* const shared = CApplication::getSharedRoot();
    if (shared == nullptr || !isPlainName(key))
        return nullptr;
    for (const CPlace& place : places)
        if (id.equals(place.id))
        {
            const auto* found = dynamic_cast<CAudioParamDef*>(shared->findObject(definitionName(id, key)));
            return found != nullptr ? &found->info() : nullptr;
        }
    return nullptr;
}

}
