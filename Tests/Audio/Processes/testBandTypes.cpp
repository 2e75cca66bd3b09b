// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/DesignCases.h"
#include "ProcessTestKit.h"

#include <algorithm>
#include <cmath>

namespace kor::test
{

namespace
{

using nlohmann::json;

const CAudioFilterGen& generatorOf(CProductTree& tree, const json& in)
{
    if (in.at("gen") == "named")
        return tree.generator(in.at("name"));
    return *tree.bandTypes().getItem(in.at("mode"));
}

}

TEST(BandTypes, DesignReferenceCases)
{
    CProductTree tree;
    for (const char* file : {"generators_named", "band_modes"})
        for (const json& one : referenceCases(file, "design"))
            if (one.at("in").at("gen") != "serial")
                expectDesign(one, designCase(generatorOf(tree, one.at("in")), one.at("in"),
                                             &CDCDAWFilterWorkspace::instance()));
}

TEST(BandTypes, CountStagesAroundHalfTheRate)
{
    CProductTree tree;
    for (const json& one : referenceCases("generators_limits", "stage_count"))
    {
        if (one.at("in").at("gen") != "named")
            continue;
        const CAudioFilterSpec spec = designCase(generatorOf(tree, one.at("in")), one.at("in"), nullptr);
        EXPECT_EQ(spec.stages().size(), one.at("out").get<std::size_t>()) << caseName(one);
    }
}

TEST(BandTypes, RunReferenceCases)
{
    for (const json& one : referenceCases("kernels", "mode_filter"))
    {
        const json& in = one.at("in");
        for (const int block : {512, 17})
        {
            CBandChain chain(in.at("sr"));
            const int mode = in.at("mode");
            chain.setBand(mode == 0 ? 0 : std::max(mode, plainBell), in.at("freq"), in.at("gain"), in.at("bw"));
            chain.graph.restart();
            expectSequence(one, strided(one, chain.run(referenceSignal(in.at("input")), block)), one.at("out"),
                           sampleTolerance);
        }
    }
}

// Fine steps around 0.252525 of the rate, where the matched bell would be singular, and coarse ones over the range.
TEST(BandTypes, DesignFiniteStableFiltersOverTheWholeRange)
{
    CProductTree tree;
    for (const double rate : {44100.0, 48000.0, 88200.0, 96000.0, 176400.0, 192000.0, 352800.0, 384000.0})
        for (int mode = 1; mode <= 18; ++mode)
        {
            std::vector<double> frequencies;
            for (double f = 20.0; f <= 96000.0; f *= 1.013)
                frequencies.push_back(f);
            for (int step = -40; step <= 40; ++step)
                for (const double size : {1e-4, 1e-6, 1e-8, 1e-11})
                    for (int harmonic = 1; harmonic <= 8; ++harmonic)
                        frequencies.push_back(rate * 0.5 / 1.98 * (1.0 + step * size) / harmonic);
            for (const double frequency : frequencies)
                for (const double bandwidth : {0.01, 1.0, 7.0})
                    for (const double gain : {0.0316, 1.0, 31.6})
                    {
                        const CAudioFilterSpec spec =
                            design(*tree.bandTypes().getItem(mode), rate, frequency, gain, bandwidth);
                        for (const CAudioFilterStage& stage : spec.stages())
                        {
                            for (const double value : stage.numerator)
                                ASSERT_TRUE(std::isfinite(value)) << mode << " " << frequency << " " << rate;
                            const CArray<double>& a = stage.denominator;
                            const bool isAtHalfRate = a.size() == 2 && std::abs(1.0 - a[0] + a[1]) < 1e-12;
                            ASSERT_TRUE(std::abs(a.back()) < 1.0 || (isAtHalfRate && a.back() == 1.0))
                                << mode << " " << frequency << " " << rate;
                        }
                    }
        }
}

}
