// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/CAudioFilterGen.h"
#include "Audio/Filters/CAudioFilterMagnitude.h"
#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Support/ReferenceCases.h"

#include <gtest/gtest.h>

namespace kor::test
{

/// Designs with these values of `freq`, `gain` and `bw`.
inline CAudioFilterSpec design(const CAudioFilterGen& generator, double sampleRate, double frequency, double gain,
                               double bandwidth, const CDCDAWFilterWorkspace* workspace = nullptr)
{
    CAudioFilterParamNames names;
    for (const char* name : {"freq", "gain", "bw"})
        names.add(name);
    const double values[] = {frequency, gain, bandwidth};
    CAudioFilterSpec spec;
    generator.generate(spec, sampleRate, {names, values}, workspace);
    return spec;
}

/// Designs with the values of a reference case.
inline CAudioFilterSpec designCase(const CAudioFilterGen& generator, const nlohmann::json& in,
                                   const CDCDAWFilterWorkspace* workspace)
{
    return design(generator, in.at("sr"), in.at("freq"), in.value("gain", 1.0), in.value("bw", 1.0), workspace);
}

inline int kindId(const nlohmann::json& kind)
{
    if (kind.is_number())
        return kind.get<int>();
    return kind == "lp1"   ? filterKind::firstOrderLowPass
           : kind == "hp1" ? filterKind::firstOrderHighPass
                           : filterKind::firstOrderHighPassGain;
}

/// Compares a design with the result of a reference case: latency, stages, kinds, and the response where it has one.
inline void expectDesign(const nlohmann::json& one, const CAudioFilterSpec& spec)
{
    const nlohmann::json& out = one.at("out");
    EXPECT_EQ(spec.latency, out.at("latency").get<int>()) << caseName(one);
    ASSERT_EQ(spec.stages().size(), out.at("stages").size()) << caseName(one);
    for (std::size_t i = 0; i < spec.stages().size(); ++i)
    {
        const CAudioFilterStage& stage = spec.stages()[i];
        const nlohmann::json& want = out.at("stages").at(i);
        expectNumbers(one, stage.numerator, want.at("num"), "numerator of stage " + std::to_string(i));
        expectNumbers(one, stage.denominator, want.at("den"), "denominator of stage " + std::to_string(i));
        ASSERT_NE(stage.kind, nullptr) << caseName(one);
        EXPECT_EQ(stage.kind->id, kindId(want.at("kind"))) << caseName(one);
    }
    if (!out.contains("db"))
        return;
    std::vector<double> db;
    for (const nlohmann::json& frequency : one.at("in").at("freqs"))
        db.push_back(filterMagnitudeDb(spec, frequency, one.at("in").at("sr")));
    expectSequence(one, db, out.at("db"), decibelTolerance, "dB");
}

}
