// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

// The loops without memory of a dynamic band, compiled once per instruction set; the best build for the processor is
// chosen once. Any count; an output may be any of the inputs, buffers are otherwise apart. How a block is cut changes
// nothing, the choice of the build a result by rounding only.
struct CBandKernel
{
    /// out = |in|
    void (*rectify)(const double* in, double* out, int count);

    /// The larger or the smaller of a and b.
    void (*larger)(const double* a, const double* b, double* out, int count);
    void (*smaller)(const double* a, const double* b, double* out, int count);

    /// out = in factor; / sum += in factor
    void (*scale)(const double* in, double factor, double* out, int count);
    void (*addScaled)(const double* in, double factor, double* sum, int count);

    /// out = (a - b) share + b
    void (*blend)(const double* a, const double* b, double share, double* out, int count);

    /// out = (a - b) position + b, with a position per sample; / that times gain
    void (*mix)(const double* a, const double* b, const double* position, double* out, int count);
    void (*mixWithGain)(const double* a, const double* b, const double* position, double gain, double* out, int count);
};

/// The build for this processor. Any thread.
const CBandKernel& bandKernel() noexcept;

}
