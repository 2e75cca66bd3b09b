// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamRequest.h"
#include "Audio/Parameters/CAudioParamStateName.h"
#include "Core/CStream.h"

namespace kor
{

class CAudioParamConverter;
class CObject;

// The parsed definition of a parameter: layout, flags, range, defaults, the names of its states. Read once and then
// never changed; any thread may read it. All numbers are real values (a gain is a linear factor), one range per
// component.
class CAudioParamInfo
{
public:
    int elementSize = 1;                // doubles in an element, 1 to 4
    CAudioParamType type = CAudioParamType::real;
    bool isGlobal = false;              // exists whether or not a node is running
    bool isStorable = false;            // part of presets and of the host's state
    bool isPersistent = false;          // saved with the instance, kept out of presets
    bool isSingleGroup = false;
    bool isSingleElement = false;
    CStringBuf visualName;              // may be empty
    CStringBuf paramRegistry;           // registry that this parameter selects presets of; empty for none
    CArray<CStringBuf> converterNames;
    CArray<const CAudioParamConverter*> converters;     // of the shared tree; one a component
    CArray<double> minValues;           // may lie above the maximum: the range then runs downwards
    CArray<double> maxValues;
    CArray<CArray<double>> defaultValues;       // a list for each group named; list 0 serves the rest
    CArray<CArray<CStringBuf>> defaultTexts;    // the same for a text parameter
    CStringBuf stateNamesText;                  // as given, "@" form included

    static constexpr int maxElementSize = 4;      // as many as there are converter attributes

    /// True until a definition was read.
    bool isEmpty() const noexcept { return minValues.empty(); }

    /// Range of a component; 0 to 1 for a component that has none.
    double minValue(int component) const noexcept;
    double maxValue(int component) const noexcept;

    /// Into the range whichever way it runs; NaN becomes the low end.
    double clamp(int component, double value) const noexcept;

    /// Default of an element; entry 0 of its list where the list is shorter.
    double defaultValue(int group, int element, int component = 0) const noexcept;

    /// Converter of a component, the last one given for components beyond; null only while empty.
    const CAudioParamConverter* converter(int component = 0) const noexcept;

    /// Names of the states, fixed or from the list of an "@" form as it is now. Empty when there are none.
    CArray<CAudioParamStateName> stateNames() const;
    bool hasStateNames() const noexcept { return !fixedStateNames.empty() || nameList != nullptr; }

    /// Name of a state without copying the whole list; false when it has none.
    bool getStateName(CAudioParamStateName& out, int index) const;

    /// Reads all of a definition from the attributes of an `audio:param` object, which also resolves converter names.
    /// On failure this info is partly filled and of no use.
    CError read(CObject& definition);

    /// Finds the objects that converterNames names, one a component.
    CError parseConverterNames(CObject& context);
    CError parseMinMaxValues(const CStringBuf& minText, const CStringBuf& maxText);
    CError parseDefValues(const CStringBuf& text);
    CError parseStateNames(const CStringBuf& text);

    /// Stored form, version 1: layout, flags, names, range, defaults. `load` finds the converters through `context`;
    /// on failure this info is untouched. An empty info stays one.
    CError save(COutputStream& stream) const;
    CError load(CInputStream& stream, CObject& context);

    /// Same definition, in all that bears on values.
    friend bool operator==(const CAudioParamInfo& a, const CAudioParamInfo& b) noexcept;

private:
    CArray<CAudioParamStateName> fixedStateNames;
    const CAudioParamNameList* nameList = nullptr;
};

}
