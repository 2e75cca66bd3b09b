// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"

#include "pluginterfaces/vst/ivstattributes.h"

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace kor
{

// The contents of a message between the two halves of a plug-in. Belongs to one thread at a time.
class CHostAttributeList : public CHostCounted<Steinberg::Vst::IAttributeList>
{
public:
    using AttrID = Steinberg::Vst::IAttributeList::AttrID;

    Steinberg::tresult PLUGIN_API setInt(AttrID id, Steinberg::int64 value) override;
    Steinberg::tresult PLUGIN_API getInt(AttrID id, Steinberg::int64& value) override;
    Steinberg::tresult PLUGIN_API setFloat(AttrID id, double value) override;
    Steinberg::tresult PLUGIN_API getFloat(AttrID id, double& value) override;
    Steinberg::tresult PLUGIN_API setString(AttrID id, const Steinberg::Vst::TChar* text) override;

    /// A text that does not fit is cut, and ended in every case.
    Steinberg::tresult PLUGIN_API getString(AttrID id, Steinberg::Vst::TChar* text, Steinberg::uint32 bytes) override;
    Steinberg::tresult PLUGIN_API setBinary(AttrID id, const void* data, Steinberg::uint32 bytes) override;
    Steinberg::tresult PLUGIN_API getBinary(AttrID id, const void*& data, Steinberg::uint32& bytes) override;

private:
    template <class Value>
    const Value* find(AttrID id) const;

    std::map<std::string, std::variant<Steinberg::int64, double, std::u16string, std::vector<char>>> values;
};

}
