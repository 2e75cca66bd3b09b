// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "EqualizerTestKit.h"

#include <map>
#include <random>

namespace kor::test
{

/// What an equalizer keeps: every stored parameter's lists with all their bytes, by key, the switches that follow them,
/// and what the current program is called and shows.
using CStateSnapshot = std::map<std::string, std::string>;

enum class CSnapshotOf
{
    presets,                    // what a program switch restores
    projects                    // persistent parameters too
};
CStateSnapshot snapshot(const CAudioInstance& instance, CSnapshotOf part);

/// Keys whose content differs; empty when nothing does.
std::string differences(const CStateSnapshot& a, const CStateSnapshot& b);

/// Parameters that a random edit may change: those in presets, without what the dynamics mode selects.
std::vector<CAudioParam*> editableParams(const CAudioInstance& instance, CSnapshotOf part);

/// Changes elements to random values within the range, texts in and beyond Latin-1 and the basic plane, bytes of many
/// lengths up to 100,000.
void changeAtRandom(CAudioParam& param, CAudioParamRequest request, std::mt19937& random,
                    CAudioParamUndoContext* undo = nullptr);

/// Random lists of random lengths in all groups of all editable parameters.
void scatter(CAudioInstance& instance, unsigned seed);

/// The body of the preset that a registry captures now.
CByteArray captured(CAudioParamRegistry& registry, int group = everyIndex);
CAudioPreset presetOf(const CByteArray& body);
CByteArray bodyOf(const CAudioPreset& preset);

/// Applies a body, and says what went wrong.
std::string activate(CAudioParamRegistry& registry, const CByteArray& body, int group = everyIndex,
                     CAudioPresetScope scope = CAudioPresetScope::storable,
                     CAudioPresetUndo undoing = CAudioPresetUndo::none);

/// The presets of a built-in list: the first bank of the store's entry.
CAudioPresetBank builtInList(CApplicationData& store, const char* name);

/// The instance's history.
CAudioParamUndo& historyOf(const CAudioInstance& instance);

}
