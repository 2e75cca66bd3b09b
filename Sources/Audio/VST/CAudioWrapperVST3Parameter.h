// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/VST/CSharedParameter.h"

namespace kor
{

class CAudioExtParam;

// A row of the external parameters towards the host, which sees normalised values only. Every write of the host's ends
// in the row.
class CAudioWrapperVST3Parameter : public CSharedParameter
{
public:
    /// id: the row's index. The row must outlive this.
    CAudioWrapperVST3Parameter(CAudioExtParam& row, Steinberg::Vst::ParamID id);

    /// What a block brought counts from then on.
    Steinberg::Vst::ParamValue present() const noexcept override;

    void changed(Steinberg::int32 message) override;
    void toString(Steinberg::Vst::ParamValue value, Steinberg::Vst::String128 text) const override;
    bool fromString(const Steinberg::Vst::TChar* text, Steinberg::Vst::ParamValue& value) const override;
    Steinberg::Vst::ParamValue toPlain(Steinberg::Vst::ParamValue value) const override { return value; }
    Steinberg::Vst::ParamValue toNormalized(Steinberg::Vst::ParamValue plain) const override { return plain; }

private:
    CAudioExtParam& target;
};

}
