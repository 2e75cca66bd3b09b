// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

class CAudioFilterSpec;
class CDCDAWFilterWorkspace;

/// The six numbers of a second-order design, before the division by a0.
struct CBiquadDesign
{
    double b0, b1, b2, a0, a1, a2;
};

/// How far out a design may have its poles.
enum class PoleLimit
{
    insideCircle,
    onCircle
};

/// Divides by a0 and appends one stage of the kind; a design that is not finite, or whose poles lie beyond the limit,
/// appends nothing, so that no filter can run away. `workspace` may be null. Any thread.
void appendBiquad(CAudioFilterSpec& spec, const CBiquadDesign& design, int kind, PoleLimit limit,
                  const CDCDAWFilterWorkspace* workspace);

}
