// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CFirDesign.h"
#include "Support/ReferenceCases.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace kor::test
{

namespace
{
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

std::vector<double> convolved(const std::vector<double>& a, const std::vector<double>& b)
{
    std::vector<double> result(a.size() + b.size() - 1);
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; j < b.size(); ++j)
            result[i + j] += a[i] * b[j];
    return result;
}
}

TEST(FirDesign, AgreesWithReference)
{
    for (const nlohmann::json& testCase : referenceCases("fir.json", "fir_design"))
    {
        const nlohmann::json &in = testCase["in"], &want = testCase["out"];
        CFirDesign design;
        ASSERT_TRUE(designFirLowPass({in["sr"], in["length"], in["freq"], in["power"]}, design)) << caseName(testCase);
        const std::size_t latency = want["latency"];
        EXPECT_EQ(design.latency, static_cast<int>(latency)) << caseName(testCase);
        ASSERT_EQ(design.taps.size(), want["count"].get<std::size_t>()) << caseName(testCase);
        std::vector<double> expected = referenceNumbers(want["taps_to_centre"]);
        for (std::size_t i = latency; i-- > 0;)
            expected.push_back(expected[i]);
        expected.resize(design.taps.size(), 0.0);
        expectSequence(testCase, design.taps, expected, tapTolerance, "tap");
        expectNumber(testCase, std::accumulate(design.taps.begin(), design.taps.end(), 0.0), want["sum"], "sum");
    }
}

TEST(FirDesign, LongDesignsKeepThePrecisionOfTheFormula)
{
    // Half a window of 60,000.4 samples: the recurrences run over all of it.
    const double rate = 48000.0, frequency = 1234.5, span = 60000.4;
    CFirDesign design;
    ASSERT_TRUE(designFirLowPass({rate, span * frequency / (0.125 * rate * rate), frequency, 0.0}, design));
    ASSERT_EQ(design.latency, 60000);
    const long double pi = 3.14159265358979323846L, cutoff = 2.0L * pi * frequency / rate;
    for (int i = 1; i <= design.latency; ++i)
    {
        const long double angle = pi * i / span;
        const long double window = 0.42L + 0.5L * std::cos(angle) + 0.08L * std::cos(2.0L * angle);
        const double want = static_cast<double>(window * std::sin(cutoff * i) / (pi * i));
        ASSERT_NEAR(design.taps[static_cast<std::size_t>(design.latency + i)], want, 1e-15) << i;
    }
}

TEST(FirDesign, PowerConvolvesTheResponseWithItself)
{
    CFirLowPassSettings settings{44100.0, 0.001, 9000.0, 0.0};
    CFirDesign design;
    ASSERT_TRUE(designFirLowPass(settings, design));
    std::vector<double> want(design.taps.begin(), design.taps.end());
    const int latency = design.latency;
    for (int power = 1; power <= 4; ++power)
    {
        want = convolved(want, want);
        settings.power = power;
        ASSERT_TRUE(designFirLowPass(settings, design));
        EXPECT_EQ(design.latency, latency << power);
        ASSERT_GE(design.taps.size(), want.size());
        for (std::size_t i = 0; i < design.taps.size(); ++i)
            ASSERT_NEAR(design.taps[i], i < want.size() ? want[i] : 0.0, 1e-14) << "power " << power << ", tap " << i;
    }
}

TEST(FirDesign, RefusesWhatHasNoSensibleLength)
{
    const CFirLowPassSettings cases[] = {
        {384000.0, 0.5, 20.0, 4.0},        // 7 thousand million taps
        {44100.0, 0.5, 900.0, 4.0},       // too long only once it is convolved with itself
        {48000.0, 0.001, 9000.0, 30.0},
        {48000.0, 0.001, 9000.0, infinity},
        {48000.0, 0.001, 9000.0, notANumber},
        {48000.0, 0.001, 0.0, 1.0},
        {48000.0, 0.001, notANumber, 1.0},
        {48000.0, 0.0, 9000.0, 1.0},
        {48000.0, notANumber, 9000.0, 1.0},
        {48000.0, infinity, 9000.0, 1.0},
        {0.0, 0.001, 9000.0, 1.0},
        {notANumber, 0.001, 9000.0, 1.0},
        {infinity, 0.001, infinity, 1.0},
        {48000.0, -0.001, -9000.0, 1.0},   // signs that cancel
    };
    for (const CFirLowPassSettings& c : cases)
    {
        CFirDesign design{{1.0, 2.0}, 3};
        EXPECT_FALSE(designFirLowPass(c, design))
            << c.sampleRateHz << " " << c.lengthSeconds << " " << c.frequencyHz << " " << c.power;
        EXPECT_EQ(design.taps, (CArray<double>{1.0, 2.0}));
        EXPECT_EQ(design.latency, 3);
    }
    // A response of a single tap: the window is shorter than a sample.
    CFirDesign design;
    ASSERT_TRUE(designFirLowPass({8000.0, 0.0001, 22050.0, 1.0}, design));
    EXPECT_EQ(design.latency, 0);
    ASSERT_EQ(design.taps.size(), 2u);
    EXPECT_NEAR(design.taps[0], 5.5125 * 5.5125, 1e-12);
    EXPECT_NEAR(design.taps[1], 0.0, 1e-12);
}

}
