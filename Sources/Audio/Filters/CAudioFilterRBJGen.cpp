// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterRBJGen.h"

#include "Audio/Filters/CAudioFilterStageKind.h"
#include "Audio/Filters/CBiquadDesign.h"

#include <cmath>
#include <numbers>

namespace kor
{

CError CAudioFilterRBJGen::init()
{
    KOR_TRY(CAudioFilterGen::init());
    KOR_TRY(readType(type, Type::lowLessHigh));
    isQ = getAttrBool("is-q");
    isType2 = getAttrBool("is-type2");
    isInverted = getAttrBool("is-inverted");
    return {};
}

void CAudioFilterRBJGen::generate(CAudioFilterSpec& spec, double sampleRate, const CAudioFilterParams& params,
                                  const CDCDAWFilterWorkspace* workspace) const
{
    double frequencyHz = 0.0;
    double gain = 1.0;
    double bandwidth = 0.0;
    if (!params.find("freq", frequencyHz) || !params.find("bw", bandwidth))
        return;
    const bool usesGain = type == Type::peak || type == Type::lowShelf || type == Type::highShelf;
    if (usesGain && !params.find("gain", gain))
        return;
    if (2.0 * frequencyHz > sampleRate)
        return;

    constexpr double halfLn2 = 0.34657359027997264;
    const double w0 = std::numbers::pi * (2.0 * frequencyHz / sampleRate);    // exactly pi at half the rate
    const double sn = std::sin(w0);
    const double cs = std::cos(w0);
    const double A = std::sqrt(gain);
    double alpha = 0.0;
    double beta = 0.0;
    if (isQ)
    {
        alpha = sn / (2.0 * bandwidth);
        beta = sn * std::sqrt(A) / bandwidth;
    }
    else
    {
        alpha = sn * std::sinh(isType2 ? halfLn2 * bandwidth : halfLn2 * bandwidth * w0 / sn);
        beta = 2.0 * std::sqrt(A) * alpha;
    }

    // What most designs share.
    double a0 = 1.0 + alpha;
    double a1 = -2.0 * cs;
    double a2 = 1.0 - alpha;
    double b0 = 0.0;
    double b1 = 0.0;
    double b2 = 0.0;
    int kind = filterKind::biquad;
    const double sign = isInverted ? -1.0 : 1.0;
    switch (type)
    {
    case Type::lowPass:
        b0 = b2 = sign * (1.0 - cs) / 2.0;
        b1 = sign * (1.0 - cs);
        kind = filterKind::biquadLowPass;
        break;
    case Type::highPass:
        b0 = b2 = sign * (1.0 + cs) / 2.0;
        b1 = -sign * (1.0 + cs);
        kind = filterKind::biquadHighPass;
        break;
    case Type::bandPass:
        b0 = alpha;
        b2 = -alpha;
        kind = filterKind::biquadBandPass;
        break;
    case Type::bandPassSkirt:
        b0 = sn / 2.0;
        b2 = -sn / 2.0;
        kind = filterKind::biquadBandPass;
        break;
    case Type::notch:
        b0 = b2 = 1.0;
        b1 = -2.0 * cs;
        kind = filterKind::biquadNotch;
        break;
    case Type::allPass:
        b0 = 1.0 - alpha;
        b1 = -2.0 * cs;
        b2 = 1.0 + alpha;
        break;
    case Type::peak:
        b0 = 1.0 + alpha * A;
        b1 = -2.0 * cs;
        b2 = 1.0 - alpha * A;
        a0 = 1.0 + alpha / A;
        a2 = 1.0 - alpha / A;
        break;
    case Type::lowShelf:
        b0 = A * ((A + 1.0) - (A - 1.0) * cs + beta);
        b1 = 2.0 * A * ((A - 1.0) - (A + 1.0) * cs);
        b2 = A * ((A + 1.0) - (A - 1.0) * cs - beta);
        a0 = (A + 1.0) + (A - 1.0) * cs + beta;
        a1 = -2.0 * ((A - 1.0) + (A + 1.0) * cs);
        a2 = (A + 1.0) + (A - 1.0) * cs - beta;
        break;
    case Type::highShelf:
        b0 = A * ((A + 1.0) + (A - 1.0) * cs + beta);
        b1 = -2.0 * A * ((A - 1.0) + (A + 1.0) * cs);
        b2 = A * ((A + 1.0) + (A - 1.0) * cs - beta);
        a0 = (A + 1.0) - (A - 1.0) * cs + beta;
        a1 = 2.0 * ((A - 1.0) - (A + 1.0) * cs);
        a2 = (A + 1.0) - (A - 1.0) * cs - beta;
        break;
    case Type::allPassRadius:
        b0 = bandwidth * bandwidth;
        b1 = -2.0 * bandwidth * cs;
        b2 = 1.0;
        a0 = 1.0;
        a1 = b1;
        a2 = b0;
        break;
    case Type::lowLessHigh:
        b0 = b2 = -cs;
        b1 = 2.0;
        break;
    }
    // At half the rate alpha is too small to be seen in a2, and the poles lie on the circle; the zeros lie on them.
    const bool atHalfRate = 2.0 * frequencyHz == sampleRate;
    appendBiquad(spec, {b0, b1, b2, a0, a1, a2}, kind, atHalfRate ? PoleLimit::onCircle : PoleLimit::insideCircle,
                 workspace);
}

}
