// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterStages.h"

#include "Audio/Filters/CBiquadStage.h"
#include "Audio/Filters/CFirstOrderStage.h"
#include "Audio/Filters/CHalfBandStage.h"

#include <algorithm>
#include <new>

namespace kor
{

namespace
{

constexpr std::align_val_t alignment{CAudioFilterStageKind::stateAlignment};

// Room for every kind of section.
constexpr std::size_t stateCapacity =
    std::max({sizeof(CBiquadStage), sizeof(CFirstOrderStage), sizeof(CHalfBandStage<8>)});

}

void CAudioFilterStages::CRelease::operator()(std::byte* memory) const noexcept
{
    ::operator delete(memory, alignment);
}

void CAudioFilterStages::reserve(std::size_t count)
{
    row.reserve(16);
    while (sections.size() < count)
        sections.emplace_back().state.reset(static_cast<std::byte*>(::operator new(stateCapacity, alignment)));
}

std::span<const double> CAudioFilterStages::rowOf(const CAudioFilterStage& stage)
{
    row.assign(stage.numerator.begin(), stage.numerator.end());
    row.insert(row.end(), stage.denominator.begin(), stage.denominator.end());
    return row;
}

void CAudioFilterStages::start(CSection& section, const CAudioFilterStage& stage, double sampleRate)
{
    section.kind = stage.kind;
    section.isIdentity = false;
    stage.kind->init(section.state.get(), rowOf(stage), sampleRate);
}

void CAudioFilterStages::update(const CAudioFilterSpec& spec, double sampleRate)
{
    const auto stages = spec.stages();
    if (std::ranges::any_of(stages, [](const CAudioFilterStage& stage) { return stage.kind == nullptr; }))
    {
        clear();
        return;
    }
    reserve(stages.size());
    for (std::size_t i = 0; i < stages.size(); ++i)
    {
        CSection& section = sections[i];
        // The patterns of a biquad run alike; anything else in the place of another kind has to start anew.
        if (i < running && section.kind->process == stages[i].kind->process)
        {
            section.kind->update(section.state.get(), rowOf(stages[i]));
            section.isIdentity = false;
        }
        else
            start(section, stages[i], sampleRate);
    }
    for (std::size_t i = stages.size(); i < running; ++i)
    {
        CSection& section = sections[i];
        if (!section.isIdentity)
            section.kind->updateToIdentity(section.state.get());
        section.isIdentity = true;
    }
    running = std::max(running, stages.size());
}

void CAudioFilterStages::restart(const CAudioFilterSpec& spec, double sampleRate)
{
    clear();
    update(spec, sampleRate);
}

void CAudioFilterStages::process(const double* in, double* out, int count) noexcept
{
    if (running == 0 && in != out)
        std::copy_n(in, count, out);
    for (std::size_t i = 0; i < running; ++i)
        sections[i].kind->process(sections[i].state.get(), i == 0 ? in : out, out, count);
}

}
