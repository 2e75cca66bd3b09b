// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterSpec.h"
#include "Audio/Filters/CAudioFilterStageKind.h"

#include <memory>

namespace kor
{

// The running sections of one channel's recursive filter. It follows the designs that it is given: a section that runs
// takes new coefficients by its own fade, a new one starts at once, one that the design no longer has fades to passing
// its input and waits there for a design that revives it. Belongs to one thread. The memory of a section is kept for
// the next, so that the steady state allocates nothing.
class CAudioFilterStages
{
public:
    /// Makes room for so many sections. May allocate.
    void reserve(std::size_t count);

    /// Takes over a design for a rate in hertz. A stage without kind cannot run: then nothing does, and the filter
    /// passes its input. Allocates only for more sections than there ever were.
    void update(const CAudioFilterSpec& spec, double sampleRate);

    /// Starts all sections of the design afresh, with empty memory and without a fade.
    void restart(const CAudioFilterSpec& spec, double sampleRate);

    /// Drops all sections.
    void clear() noexcept { running = 0; }

    bool isEmpty() const noexcept { return running == 0; }

    /// `in` and `out` are the same or apart. With no section it copies.
    void process(const double* in, double* out, int count) noexcept;

private:
    struct CRelease
    {
        void operator()(std::byte* memory) const noexcept;
    };

    struct CSection
    {
        const CAudioFilterStageKind* kind = nullptr;
        std::unique_ptr<std::byte, CRelease> state;     // large enough for every kind
        bool isIdentity = false;        // on the way to passing its input, or there
    };

    void start(CSection& section, const CAudioFilterStage& stage, double sampleRate);
    std::span<const double> rowOf(const CAudioFilterStage& stage);

    CArray<CSection> sections;
    std::size_t running = 0;            // the first so many of `sections`
    CArray<double> row;
};

}
