// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/VST/CSharedParameter.h"
#include "Core/CStringBuf.h"

namespace kor
{

class CAudioWrapper;

// The current program towards the host, as a list of names.
class CAudioWrapperVST3ProgramParameter : public CSharedParameter
{
public:
    static constexpr Steinberg::Vst::ParamID programId = 999;

    /// The wrapper must outlive this.
    explicit CAudioWrapperVST3ProgramParameter(CAudioWrapper& owner);

    /// Takes the current program over, without a word to the host.
    void refresh();

    /// A program's name as the host shows it; empty for an index out of range.
    CStringBuf programName(int index) const;

    void changed(Steinberg::int32 message) override;
    void toString(Steinberg::Vst::ParamValue value, Steinberg::Vst::String128 text) const override;
    bool fromString(const Steinberg::Vst::TChar* text, Steinberg::Vst::ParamValue& value) const override;

    /// Plain values are indices.
    Steinberg::Vst::ParamValue toPlain(Steinberg::Vst::ParamValue value) const override;
    Steinberg::Vst::ParamValue toNormalized(Steinberg::Vst::ParamValue plain) const override;

private:
    int indexOf(Steinberg::Vst::ParamValue value) const;

    CAudioWrapper& wrapper;
    const int last; // index of the last program
};

}
