// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessTerminalDef.h"
#include "Audio/Processes/CMetaTubeKernel.h"
#include "CNodeBench.h"
#include "Support/ReferenceCases.h"

#include <cmath>
#include <random>

namespace kor::test
{

namespace
{

struct CTubeParam
{
    const char* name;
    const char* reference; // name in the reference file
    const char* byDefault;
};

// In the order of the slots.
const CTubeParam tubeParams[] = {
    {"ratio-a", "ratio_a", "0.76923076923076923"},
    {"ratio-b", "ratio_b", "0.5714285714285714"},
    {"knee-a", "knee_a", "3.5"},
    {"knee-b", "knee_b", "4.8"},
    {"bias-I", "bias_i", "-1.8"},
    {"bias-V", "bias_v", "0.5"},
    {"gain-I", "gain_i", "1"},
    {"gain-V", "gain_v", "0.15"},
    {"auto-gain-point", "auto_gain_point", "1.009"},
    {"feed-freq", "feed_freq", "50"},
    {"feed-freq-inv", "feed_freq_inv", "0"},
    {"type", "type", "0"},
    {"makeup-gain", "makeup_gain", "1"},
};

/// What test:player puts out, whatever comes in.
CSignal played;

class CPlayerModule : public CAudioModule
{
public:
    void process(const double*, double* out, int count) override
    {
        for (int i = 0; i < count; ++i)
            out[i] = at < played.size() ? played[at++] : 0.0;
    }
    void reset() override { at = 0; }

private:
    std::size_t at = 0;
};

// A waveshaper whose port 1 is fed by test:player, or by nothing.
class CTubeBench : public CNodeBench
{
public:
    explicit CTubeBench(bool hasDry, CAttrs attrs = {}) : CNodeBench(nodes(hasDry, std::move(attrs)), {}) {}

    void setAll(const nlohmann::json& in)
    {
        for (const CTubeParam& param : tubeParams)
            set(std::string("tube.") + param.name, in.at(param.reference).get<double>());
        restart();
    }

    static std::vector<CTreeNode> nodes(bool hasDry, CAttrs attrs)
    {
        addTestType(creatorRow<CAudioProcessTerminalDef<CAudioProcessTerminal<CPlayerModule>>>("test:player"));
        CTreeNode tube{"audio:modMetaTube", "tube", std::move(attrs), {}, {}};
        int index = 0;
        for (const CTubeParam& param : tubeParams)
        {
            tube.children.push_back(globalParam(param.name, param.byDefault));
            tube.children.push_back(slot(param.name, index++));
        }
        std::vector<CTreeNode> list = {tube, link("*", "tube"), link("tube", "*")};
        if (hasDry)
            list.insert(list.end(), {node("test:player", "player"), link("*", "player"), link("player", "tube/1")});
        return list;
    }
};

CMetaTubeSettings randomSettings(unsigned seed)
{
    std::mt19937 random(seed);
    const auto between = [&random](double low, double high)
    { return std::uniform_real_distribution<double>(low, high)(random); };
    CMetaTubeSettings s;
    s.curveA.design(between(0.0, 1.2), seed % 5 == 0 ? 0.0 : between(0.0, 40.0));
    s.curveB.design(between(0.0, 1.0), between(0.0, 10.0));
    s.gainI = between(0.0, 2.0);
    s.biasI = between(-5.0, 5.0);
    s.gainV = between(0.0, 0.2);
    s.biasV = between(0.0, 1.0);
    s.dcOffset = s.slide(s.biasI, s.biasV);
    s.outputGain = between(0.1, 4.0);
    s.feedCoefficient = seed % 4 == 0 ? 1e-5 : between(-0.05, 0.8);
    return s;
}

/// The definition of both routines, a sample at a time.
void plainTube(const CMetaTubeSettings& s, bool isDry, double& state, const double* x, const double* c, double* out,
               int count)
{
    for (int i = 0; i < count; ++i)
    {
        const double drawn = state + (c[i] - state) * s.feedCoefficient;
        const double m = (isDry ? c[i] - drawn : drawn) * s.gainV + s.biasV;
        const double v = x[i] * s.gainI + s.biasI;
        const double a = s.curveA.at(v);
        const double r = a + (s.curveB.at(v) - a) * m - s.dcOffset;
        out[i] = r * s.outputGain;
        state = isDry ? drawn : r;
    }
}

CMetaTubeRoutine routineOf(const CMetaTubeKernel& kernel, bool isDry)
{
    return isDry ? kernel.processDry : kernel.processFeedback;
}

}

TEST(MetaTube, CurveFollowsTheReference)
{
    for (const auto& testCase : referenceCases("saturation", "curve"))
    {
        const auto& in = testCase["in"];
        const auto& want = testCase["out"];
        CMetaTubeCurve curve;
        curve.design(in["ratio"], in["knee"]);
        expectNumber(testCase, curve.slope, want["slope"], "slope");
        expectNumber(testCase, curve.kneeStart, want["knee_start"], "knee start");
        expectNumber(testCase, curve.arcOffset, want["arc_offset"], "arc offset");
        expectNumber(testCase, curve.kneeEnd, want["knee_end"], "knee end");
        expectNumber(testCase, curve.arcRadius2, want["arc_radius2"], "radius");
        CSignal got;
        for (const double v : referenceNumbers(in["v"]))
            got.push_back(curve.at(v));
        expectSequence(testCase, got, want["y"], sampleTolerance);
    }
}

TEST(MetaTube, FollowsTheReference)
{
    for (const auto& testCase : referenceCases("saturation", "kernel"))
        for (const int block : {1, 7, 64, 500})
        {
            const auto& in = testCase["in"];
            played = referenceSignal(in["control"]);
            CTubeBench bench(true);
            bench.start({0}, in["sr"].get<double>());
            bench.setAll(in);
            const CSignal got = bench.run(referenceSignal(in["input"]), block);
            expectSequence(testCase, strided(testCase, got), testCase["out"]["y"], sampleTolerance);
        }
}

// Without port 1 the signal steers itself.
TEST(MetaTube, SettlesOnTheReference)
{
    for (const auto& testCase : referenceCases("saturation", "settled"))
        for (const bool hasDry : {false, true})
        {
            const auto& in = testCase["in"];
            const auto count = in["samples"].get<std::size_t>();
            const CSignal constant(count, in["constant"].get<double>());
            played = constant;
            CTubeBench bench(hasDry);
            bench.start({0}, in["sr"].get<double>());
            bench.setAll(in);
            expectNumber(testCase, bench.run(constant, 512).back(), testCase["out"].get<double>());
        }
}

TEST(MetaTube, AChannelWithoutADryCompanionSteersItself)
{
    const CSignal in = noise(1000);
    CSignals want;
    {
        CTubeBench alone(false);
        alone.start({0, 0});
        want = alone.run({in, in}, 100);
    }
    std::vector<CTreeNode> nodes = CTubeBench::nodes(false, {});
    nodes.insert(nodes.end(), {routerNode("firstOnly", false, "1,0"), link("*", "firstOnly"), echoNode("dry", "0.1"),
                               link("firstOnly", "dry"), link("dry", "tube/1")});
    CNodeBench bench(nodes, {});
    bench.start({0, 0});
    const CSignals got = bench.run({in, in}, 100);
    EXPECT_EQ(difference(got[1], want[1]), 0.0);
    EXPECT_GT(difference(got[0], want[0]), 1e-6);
}

TEST(MetaTube, EveryBuildFollowsThePlainLoopForAnyCut)
{
    constexpr double guard = 12345.0;
    for (const CMetaTubeKernel* kernel : allMetaTubeKernels())
        for (unsigned seed = 0; seed < 40; ++seed)
            for (const bool isDry : {false, true})
            {
                const CMetaTubeSettings settings = randomSettings(seed);
                const CSignal x = noise(3000, seed + 1);
                const CSignal c = noise(3000, seed + 2);
                CSignal want(x.size());
                double plainState = 0.0;
                plainTube(settings, isDry, plainState, x.data(), c.data(), want.data(), 3000);

                CSignal got = x; // in place
                got.push_back(guard);
                double state = 0.0;
                std::mt19937 random(seed);
                for (int at = 0; at < 3000;)
                {
                    const int count = std::min(1 + static_cast<int>(random() % 40), 3000 - at);
                    const double next = got[static_cast<std::size_t>(at + count)];
                    routineOf(*kernel, isDry)(settings, state, got.data() + at, c.data() + at, got.data() + at, count);
                    ASSERT_EQ(got[static_cast<std::size_t>(at + count)], next) << kernel->name << " " << count;
                    at += count;
                }
                got.pop_back();
                EXPECT_LE(difference(got, want), 1e-12 * std::max(1.0, largestValue(want)))
                    << kernel->name << " seed " << seed << (isDry ? " dry" : " feedback");
            }
}

TEST(MetaTube, SilenceStaysExactlySilent)
{
    const CSignal zeros(77);
    for (const CMetaTubeKernel* kernel : allMetaTubeKernels())
        for (unsigned seed = 0; seed < 300; ++seed)
            for (const bool isDry : {false, true})
            {
                CSignal out(zeros.size(), 1.0);
                double state = 0.0;
                routineOf(*kernel, isDry)(randomSettings(seed), state, zeros.data(), zeros.data(), out.data(), 77);
                ASSERT_EQ(largestValue(out), 0.0) << kernel->name << " seed " << seed;
                ASSERT_EQ(state, 0.0);
            }
}

// At the level of normalisation, with the control there too, the output is the input; a level that has no output of
// its own leaves silence silent.
TEST(MetaTube, BringsOneLevelBackToItself)
{
    for (const double point : {1.009, -0.4, 2.0, 0.0})
    {
        const double half = std::sin(3.14159265358979323846 * 50.0 / 48000.0);
        const double feed = 2.0 * (std::sqrt(half * half * (half * half + 1.0)) - half * half);
        played = {point / feed};
        CTubeBench bench(true);
        bench.start({0}, 48000.0);
        bench.set("tube.auto-gain-point", point);
        bench.restart();
        EXPECT_NEAR(bench.run(CSignal{point})[0], point == 0.0 ? 0.0 : 1.0, 1e-11) << point;
    }
}

TEST(MetaTube, SoundsAgainAfterNonsense)
{
    for (const double nonsense : {std::nan(""), double{INFINITY}})
        for (const double type : {0.0, 1.0})
        {
            const CSignal in = noise(1024);
            played = noise(1024, 2);
            played.insert(played.end(), 64, nonsense);
            played.insert(played.end(), played.begin(), played.begin() + 1024);
            CTubeBench bench(true);
            bench.start({0});
            bench.set("tube.type", type);
            bench.restart();
            const CSignal want = bench.run(in, 64);
            EXPECT_GT(largestValue(bench.run(CSignal(64))), 1e3);
            EXPECT_EQ(difference(bench.run(in, 64), want), 0.0) << nonsense << " " << type;
        }
}

TEST(MetaTube, RunsChangesInEveryBlockWithoutTouchingTheHeap)
{
    CTubeBench bench(false, {{"is-smooth-update", "true"}});
    bench.start({0, 0});
    const auto change = [&](int block)
    {
        bench.set("tube.bias-I", -2.0 + 0.01 * (block % 100));
        bench.set("tube.type", block / 50 % 2);
        return true;
    };
    EXPECT_EQ(bench.faults(400, 200, change), 0u);
}

}
