// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <pluginterfaces/vst/ivstcomponent.h>

namespace kor
{

// A host's component, with names of its own for setState and getState: the edit controller has two of the same name,
// and an object that is both must tell them apart.
class CComponentFace : public Steinberg::Vst::IComponent
{
public:
    Steinberg::tresult PLUGIN_API setState(Steinberg::IBStream* stream) final { return loadComponent(stream); }
    Steinberg::tresult PLUGIN_API getState(Steinberg::IBStream* stream) final { return saveComponent(stream); }

protected:
    virtual Steinberg::tresult loadComponent(Steinberg::IBStream* stream) = 0;
    virtual Steinberg::tresult saveComponent(Steinberg::IBStream* stream) = 0;
};

}
