// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CCoefficientFade.h"

#include <algorithm>

namespace kor
{

/// How a section gets from one set of coefficients to the next: in fades of a fixed length, one after the other. What
/// arrives during a fade waits in one slot, the last one winning, so that a stream of changes never starts a fade anew.
template <class Coefficients>
struct CCoefficientWalk
{
    Coefficients current{};
    Coefficients target{};              // of the running fade, else the last one reached
    Coefficients pending{};
    bool hasPending = false;
    CCoefficientFade fade;

    /// Where the walk ends if nothing more arrives.
    const Coefficients& goal() const noexcept { return hasPending ? pending : target; }

    /// Takes the next coefficients. `started` is called when their fade begins at once, with `target` set.
    template <class Started>
    void aim(const Coefficients& next, Started&& started) noexcept
    {
        if (fade.remaining > 0)
        {
            pending = next;
            hasPending = true;
            return;
        }
        target = next;
        started();
        fade.start();
    }

    /// Runs the part of a block that fades, and moves the arguments to what is left for the settled filter.
    /// fading(in, out, count) processes and takes its samples off fade.remaining; started() as in aim; settled() when
    /// the last fade has ended, with `current` set.
    template <class Fading, class Started, class Settled>
    void run(const double*& in, double*& out, int& count, Fading&& fading, Started&& started,
             Settled&& settled) noexcept
    {
        while (fade.remaining > 0 && count > 0)
        {
            const int length = std::min(count, fade.remaining);
            fading(in, out, length);
            in += length;
            out += length;
            count -= length;
            if (fade.remaining > 0)
                return;
            current = target;
            if (!hasPending)
            {
                settled();
                return;
            }
            hasPending = false;
            aim(pending, started);
        }
    }
};

}
