// SPDX-License-Identifier: GPL-3.0-or-later
#include "MeteringTestKit.h"

#include <algorithm>
#include <cmath>

namespace kor::test
{

using nlohmann::json;

CMeterCase meterCase(const json& testCase)
{
    const json& in = testCase.at("in");
    CMeterCase read;
    read.kind.isDiff = in.at("is_diff");
    read.kind.isCompression = in.at("is_compression");
    read.kind.isInverted = in.value("is_inverted", false);
    read.settings.peakTime = in.at("peak_time");
    read.settings.rmsTime = in.at("rms_time");
    read.settings.gain = in.at("gain");
    read.settings.biasTime = in.at("bias_time");
    read.settings.useBias = in.value("use_bias", false);
    read.settings.release = in.at("release");
    read.settings.peakGain = in.at("peak_gain");
    read.settings.rmsTime2 = in.value("rms_time2", 0.1);
    read.settings.release2 = in.value("release2", 0.5);
    read.settings.useTime2 = in.value("use_time2", false);
    read.rateHz = in.at("sr");
    read.framesPerSecond = in.at("fps");
    read.input = referenceSignal(in.at("input"));
    if (in.contains("input2"))
    {
        read.input2 = referenceSignal(in.at("input2"));
        const std::size_t both = std::min(read.input.size(), read.input2.size());
        read.input.resize(both);
        read.input2.resize(both);
    }
    return read;
}

void expectPosts(const json& testCase, const std::vector<CMeterPost>& got, const json& want)
{
    ASSERT_EQ(got.size(), want.size()) << caseName(testCase);
    for (std::size_t i = 0; i < got.size(); ++i)
    {
        const double both[][2] = {{got[i].time, want[i][0]}, {got[i].value, want[i][1]}, {got[i].peak, want[i][2]}};
        for (const auto& [is, shouldBe] : both)
            ASSERT_NEAR(is, shouldBe, std::max(1e-9, 1e-9 * std::abs(shouldBe))) << caseName(testCase) << " post " << i;
    }
}

CSpectrumCase spectrumCase(const json& testCase)
{
    const json& in = testCase.at("in");
    CSpectrumCase read;
    read.settings.blockSize = in.at("block_size");
    read.settings.overlap = in.at("overlap");
    read.settings.averageTime = in.at("avg_time");
    read.settings.type = static_cast<CSpectrumType>(in.at("type").get<int>());
    read.settings.secondType = static_cast<CSpectrumType>(in.at("sec_type").get<int>());
    read.settings.hasSecond = in.at("sec_enable");
    read.rateHz = in.at("sr");
    read.framesPerSecond = in.at("fps");
    read.input = referenceSignal(in.at("input"));
    return read;
}

void expectPosts(const json& testCase, const std::vector<CSpectrumPost>& first,
                 const std::vector<CSpectrumPost>& second)
{
    const json& out = testCase.at("out");
    EXPECT_EQ(first.size(), out.at("post_count")) << caseName(testCase);
    for (const json& want : out.at("posts"))
    {
        const std::size_t index = want.at("index");
        for (const auto& [posts, key] : {std::pair(&first, "primary"), std::pair(&second, "secondary")})
        {
            if (!want.contains(key) || want.at(key).is_null())
                continue;
            ASSERT_LT(index, posts->size()) << caseName(testCase);
            const CSpectrumPost& got = (*posts)[index];
            const json& expected = want.at(key);
            const std::string what = std::string(key) + " post " + std::to_string(index);
            expectNumber(testCase, got.time, expected.at("time"), what + " time");
            EXPECT_EQ(got.type, expected.at("type")) << caseName(testCase) << what;
            expectNumber(testCase, got.averageTime, expected.at("average_time"), what + " average time");
            expectSequence(testCase, got.values, expected.at("values"), sampleTolerance, what);
        }
    }
}

}
