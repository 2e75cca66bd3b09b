// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamStateName.h"
#include "Audio/Parameters/CAudioPresetBank.h"
#include "Core/CApplicationData.h"
#include "Platform/CLock.h"

#include <memory>

namespace kor
{

/// The first bank of a list of banks in a store; null when there is none. A list that does not parse is reported under
/// `reporter` and counts as none. Any thread but the audio thread.
std::shared_ptr<const CAudioPresetBank> readPresetList(CApplicationData& store, const CStringBuf& name,
                                                       const CStringBuf& reporter);

// The titles of a list of presets as the names of states ("@dynmode-presets" stands for the local data of that name).
// They follow the list as it is now. Any thread but the audio thread.
class CAudioPresetNameList : public CAudioParamNameList
{
public:
    explicit CAudioPresetNameList(const CStringBuf& storeName);

    /// None while the list has no banks or no presets.
    CArray<CAudioParamStateName> stateNames() const override;

    /// The list of a name, made at first use and kept for the rest of the process; null for what cannot be a name.
    static const CAudioParamNameList* find(const CStringBuf& storeName);

private:
    CStringBuf name;
    mutable CLock lock;
    mutable CByteArray readFrom;                    // the list that `titles` were taken from
    mutable CArray<CAudioParamStateName> titles;
};

}
