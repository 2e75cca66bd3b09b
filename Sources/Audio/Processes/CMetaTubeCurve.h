// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

// Static curve of the waveshaper: slope 1 below a knee, `slope` above it, and a circular arc between. The arc lives in
// the plane of v against y - v, where it touches both straight parts; the two meet at the origin, so that the knee
// straddles 0. A new curve is the identity.
struct CMetaTubeCurve
{
    double slope = 1.0; // above the knee
    double kneeStart = 0.0; // signal units, 0 or below
    double arcOffset = 0.0; // of the arc's centre on the axis of y - v; its size is the radius
    double kneeEnd = 0.0;
    double arcRadius2 = 0.0;

    /// ratio: the slope above the knee, 0 to 1; taken as 0.9999 above that, since a straight line has no arc, and as 0
    /// up to 0.002. knee: width in signal units, 0 or above; 0 makes a corner at the origin. Audio thread.
    void design(double ratio, double knee) noexcept;

    /// The curve at v, the plain way; every kernel does the same operations in the same order.
    double at(double v) const noexcept;
};

}
