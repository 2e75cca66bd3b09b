// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CHostApplication.h"

#include "Vst3Host/CHostAttributeList.h"
#include "Vst3Host/CHostMessage.h"
#include "Vst3Host/HostText.h"

#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivstunits.h"

#include <algorithm>

namespace kor
{

using namespace Steinberg;

tresult CHostApplication::queryInterface(const TUID wanted, void** object)
{
    const tresult found = CHostObject::queryInterface(wanted, object);
    return found == kNoInterface ? loop.queryInterface(wanted, object) : found;
}

tresult CHostApplication::getName(Vst::String128 text)
{
    Vst::String128 padded = {};
    putText(padded, name);
    std::copy(std::begin(padded), std::end(padded), text);
    return kResultOk;
}

tresult CHostApplication::createInstance(TUID classId, TUID interfaceId, void** object)
{
    if (object == nullptr)
        return kInvalidArgument;
    *object = nullptr;
    const auto isAsked = [&](const FUID& id)
    { return FUnknownPrivate::iidEqual(classId, id) && FUnknownPrivate::iidEqual(interfaceId, id); };
    if (isAsked(Vst::IMessage::iid))
        *object = static_cast<Vst::IMessage*>(new CHostMessage);
    else if (isAsked(Vst::IAttributeList::iid))
        *object = static_cast<Vst::IAttributeList*>(new CHostAttributeList);
    return *object != nullptr ? kResultOk : kNoInterface;
}

tresult CHostApplication::isPlugInterfaceSupported(const TUID wanted)
{
    const FUID* const used[] = {&Vst::IComponent::iid, &Vst::IAudioProcessor::iid, &Vst::IEditController::iid,
                                &Vst::IConnectionPoint::iid, &Vst::IUnitInfo::iid,
                                &Vst::IProcessContextRequirements::iid};
    return std::any_of(std::begin(used), std::end(used),
                       [&](const FUID* id) { return FUnknownPrivate::iidEqual(wanted, *id); })
               ? kResultTrue
               : kResultFalse;
}

}
