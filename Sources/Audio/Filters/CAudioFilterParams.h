// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"

#include <span>
#include <string_view>

namespace kor
{

// Names of design parameters in the order of their values: "freq", "gain", "bw". Made once, off the audio thread.
class CAudioFilterParamNames
{
public:
    static constexpr int maxCount = 16;

    /// False when the list is full.
    bool add(const CStringBuf& name)
    {
        if (count() == maxCount)
            return false;
        names.push_back(name);
        return true;
    }

    int count() const noexcept { return static_cast<int>(names.size()); }

    /// Index of a name, -1 when it is not there. Any thread.
    int find(std::string_view name) const noexcept
    {
        for (int i = 0; i < count(); ++i)
            if (names[static_cast<std::size_t>(i)].equals(name))
                return i;
        return -1;
    }

private:
    CArray<CStringBuf> names;
};

/// What a generator designs from: frequencies in hertz, gains linear, bandwidths in octaves (or Q, as the generator
/// says), lengths in seconds. Both belong to the caller for the time of the call.
struct CAudioFilterParams
{
    const CAudioFilterParamNames& names;
    std::span<const double> values;

    /// False, with `value` untouched, when the name is unknown or has no value.
    bool find(std::string_view name, double& value) const noexcept
    {
        const int index = names.find(name);
        if (index < 0 || static_cast<std::size_t>(index) >= values.size())
            return false;
        value = values[static_cast<std::size_t>(index)];
        return true;
    }
};

}
