// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamInfo.h"
#include "Core/CObject.h"

namespace kor
{

/// How a value is written.
enum class CAudioParamTextMode
{
    normal = 0,
    compact = 1,                // for narrow readouts
    plain = 2,                  // as normal
    precise = 3
};

// The one place that knows what a parameter's numbers mean: moves a value between the definition's text, the real
// value, the position 0 to 1 of knobs and hosts, and the text a user reads and types. An object of the shared tree
// without state of its own; the range comes with each call. Immutable after init: any thread, no lock. Positions and
// values allocate nothing.
class CAudioParamConverter : public CObject
{
public:
    CError init() override;

    /// Unit behind a value in a readout.
    const CStringBuf& label() const noexcept { return labelText; }

    /// The parameter moves in whole steps.
    bool isDiscrete() const noexcept { return discrete; }

    /// Text, typed or defined, to a real value inside the range. Unreadable: the range's low end and ok false.
    virtual double parse(const CAudioParamInfo& info, int component, const CStringBuf& text, bool& ok) const;

    /// The same reading without a range, for the ends of the range itself. Unreadable: 0 and ok false.
    virtual double parseBare(const CStringBuf& text, bool& ok) const = 0;

    /// Real value to text. A value outside the range is written as it is. `itemText` is the text of a text parameter's
    /// element, which only the text converter looks at.
    virtual void format(CStringBuf& out, const CAudioParamInfo& info, int component, double value,
                        CAudioParamTextMode mode = CAudioParamTextMode::normal,
                        const CStringBuf* itemText = nullptr) const = 0;

    /// Position 0 to 1 to real value and back; the other's inverse.
    virtual double normalisedToReal(const CAudioParamInfo& info, int component, double x) const = 0;
    virtual double realToNormalised(const CAudioParamInfo& info, int component, double value) const = 0;

    /// Value in display units (dB, %, ms) at a position.
    virtual double normalisedToDisplay(const CAudioParamInfo& info, int component, double x) const;

protected:
    /// Reads the attribute `decimals` if it is there: "Invalid decimals %1 specified." below 0.
    CError readDecimals(int& decimals) const;

private:
    CStringBuf labelText;
    bool discrete = false;
};

}
