// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

#include <optional>

namespace kor
{

// A condition on one or two parameters (`audio:process-bypass-state`); nodes and links drop out of the graph while it
// is true.
class CAudioProcessBypassStateDef : public CObject
{
public:
    CError init() override;

    /// Whether the state is true for these values; `second` counts only with a second parameter. Any thread.
    bool evaluate(double value, double second) const;

    /// What bypass-state-id refers to.
    int id() const noexcept { return number; }

    /// True for the states of nodes that only measure for the display, which an object's name says:
    /// "process-bypass-state-viz". They are true while nobody looks.
    bool isForViz() const noexcept { return servesViz; }

    /// Names relative to the container; the second is empty when there is none.
    const CStringBuf& param() const noexcept { return paramName; }
    const CStringBuf& andParam() const noexcept { return andParamName; }

private:
    /// Bounds in whole steps; an absent one always passes.
    struct CRange
    {
        std::optional<double> low;
        std::optional<double> high;
        bool isLowIncluded = true;
        bool isHighIncluded = true;
        double step = 0.01;
    };

    struct CTest
    {
        double value = 1.0;
        std::optional<CRange> range;

        bool holds(double tested) const;
    };

    static bool parseRange(CRange& range, const CStringBuf& text);
    CError readTest(CTest& test, const char* valueAttribute, const char* rangeAttribute) const;

    int number = -1;
    CStringBuf paramName;
    CStringBuf andParamName;
    CTest test;
    CTest andTest;
    bool isInverted = false;
    bool servesViz = false;
};

}
