// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"

#include "pluginterfaces/base/smartpointer.h"
#include "pluginterfaces/vst/ivstmessage.h"

#include <string>

namespace kor
{

// A message between the two halves of a plug-in: a name and attributes. Belongs to one thread at a time.
class CHostMessage : public CHostCounted<Steinberg::Vst::IMessage>
{
public:
    CHostMessage();

    Steinberg::FIDString PLUGIN_API getMessageID() override { return name.c_str(); }
    void PLUGIN_API setMessageID(Steinberg::FIDString id) override { name = id != nullptr ? id : ""; }
    Steinberg::Vst::IAttributeList* PLUGIN_API getAttributes() override { return attributes; }

private:
    std::string name;
    Steinberg::IPtr<Steinberg::Vst::IAttributeList> attributes;
};

}
