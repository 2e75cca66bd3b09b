// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterParams.h"
#include "Audio/Filters/CAudioFilterSpec.h"
#include "Core/CObject.h"

namespace kor
{

class CDCDAWFilterWorkspace;

// Turns design parameters into the sections of a filter. Generators stand in the shared tree and hold no signal state,
// so that every filter and every drawn curve of all instances may ask the same object.
class CAudioFilterGen : public CObject
{
public:
    /// Appends the stages of this design to `spec`, which it neither clears nor reads. With a workspace the stages can
    /// be run, without one (null) they only describe. Appends nothing when a parameter it needs is missing, or when the
    /// design has no meaning at this rate. sampleRate: hertz, above 0. Any thread; allocates only what `spec` has to
    /// grow, except for FIR designs.
    virtual void generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                          const CDCDAWFilterWorkspace* workspace) const = 0;

protected:
    /// Reads the attribute `type` as one of an enumeration that counts from 0; while the tree starts. Outside: "Invalid
    /// filter type '%1' specified."
    template <class T>
    CError readType(T& type, T last) const
    {
        int value = 0;
        KOR_TRY(readTypeNumber(value, static_cast<int>(last)));
        type = static_cast<T>(value);
        return {};
    }

private:
    CError readTypeNumber(int& type, int last) const;
};

}
