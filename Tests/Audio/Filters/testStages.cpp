// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CBiquadKernel.h"
#include "Audio/Filters/CBiquadStage.h"
#include "CGeneratorTree.h"
#include "Support/CRealtimeGuard.h"
#include "Support/Signals.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace kor::test
{

namespace
{

using nlohmann::json;
using CSamples = CSignal;

// A running section of a kind, with memory of its own.
class CRunningStage
{
public:
    CRunningStage(int kindId, const CSamples& coefficients, double sampleRate)
        : kind(*CDCDAWFilterWorkspace::instance().kind(kindId)),
          memory(::operator new(kind.stateSize, std::align_val_t(CAudioFilterStageKind::stateAlignment)))
    {
        kind.init(memory, coefficients, sampleRate);
    }
    ~CRunningStage() { ::operator delete(memory, std::align_val_t(CAudioFilterStageKind::stateAlignment)); }
    CRunningStage(const CRunningStage&) = delete;
    CRunningStage& operator=(const CRunningStage&) = delete;

    void update(const CSamples& coefficients) { kind.update(memory, coefficients); }
    void updateToIdentity() { kind.updateToIdentity(memory); }

    void process(const double* in, double* out, std::size_t count)
    {
        kind.process(memory, in, out, static_cast<int>(count));
    }

private:
    const CAudioFilterStageKind& kind;
    void* memory;
};

using CUpdates = std::vector<std::pair<std::size_t, CSamples>>;

// Runs a stage over a signal in the cuts that `cut` gives, with updates ahead of their samples.
template <class Cut>
CSamples run(CRunningStage& stage, const CSamples& in, const CUpdates& updates, Cut&& cut)
{
    CSamples out(in.size());
    auto next = updates.begin();
    for (std::size_t at = 0; at < in.size();)
    {
        for (; next != updates.end() && next->first == at; ++next)
            stage.update(next->second);
        std::size_t count = std::min<std::size_t>(cut(), in.size() - at);
        if (next != updates.end())
            count = std::min(count, next->first - at);
        stage.process(in.data() + at, out.data() + at, count);
        at += count;
    }
    return out;
}

auto fixedCut(std::size_t size)
{
    return [size] { return size; };
}

CUpdates updatesOf(const json& in)
{
    CUpdates updates;
    for (const json& one : in.at("updates"))
        updates.emplace_back(one.at(0).get<std::size_t>(), one.at(1).get<CSamples>());
    return updates;
}

void expectKernelCases(const char* fn)
{
    std::mt19937 random(7);
    for (const json& one : referenceCases("kernels", fn))
    {
        const json& in = one.at("in");
        const std::string name = in.value("kind", "biquad");
        const int kind = name == "lp1"    ? filterKind::firstOrderLowPass
                         : name == "hp1"  ? filterKind::firstOrderHighPass
                         : name == "hp1g" ? filterKind::firstOrderHighPassGain
                                          : filterKind::biquad;
        CRunningStage whole(kind, in.at("coef"), in.at("sr"));
        CRunningStage cut(kind, in.at("coef"), in.at("sr"));
        const CSamples input = referenceSignal(in.at("input"));
        const CUpdates updates = updatesOf(in);
        expectSequence(one, strided(one, run(whole, input, updates, fixedCut(512))), one.at("out"), sampleTolerance);
        expectSequence(one, strided(one, run(cut, input, updates, [&] { return random() % 21; })), one.at("out"),
                       sampleTolerance);
    }
}

CBiquadCoefficients coefficientsOf(const CAudioFilterSpec& spec)
{
    const CAudioFilterStage& stage = spec.stages()[0];
    return {stage.numerator[0], stage.numerator[1], stage.numerator[2], stage.denominator[0], stage.denominator[1]};
}

CSamples rowOf(const CBiquadCoefficients& c)
{
    return {c.b0, c.b1, c.b2, c.a1, c.a2};
}

double rms(const CSamples& a, const std::vector<long double>& b)
{
    long double sum = 0.0L;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += (a[i] - b[i]) * (a[i] - b[i]);
    return static_cast<double>(std::sqrt(sum / static_cast<long double>(a.size())));
}

// Direct form II, one sample at a time.
template <class Real>
std::vector<Real> plainRun(const CBiquadCoefficients& c, const CSamples& in)
{
    Real w1 = 0, w2 = 0;
    std::vector<Real> out;
    for (const double x : in)
    {
        const Real w = x - c.a1 * w1 - c.a2 * w2;
        out.push_back(c.b0 * w + c.b1 * w1 + c.b2 * w2);
        w2 = w1;
        w1 = w;
    }
    return out;
}

}

TEST(Stages, RunReferenceBiquads)
{
    expectKernelCases("biquad");
}

TEST(Stages, RunReferenceFirstOrders)
{
    expectKernelCases("first_order");
}

TEST(Stages, RunReferenceHalfBands)
{
    // The coefficients stand with the responses, by the name of the set.
    for (const json& one : referenceCases("halfband", "halfband_process"))
        for (const json& set : referenceCases("halfband", "halfband_response"))
        {
            if (set.at("in").at("name") != one.at("in").at("name"))
                continue;
            CSamples row = set.at("in").at("a");
            const CSamples b = set.at("in").at("b");
            const int kind = filterKind::halfBand1 + static_cast<int>(row.size()) - 1;
            row.insert(row.end(), b.begin(), b.end());
            for (const std::size_t cut : {1u, 7u, 512u})
            {
                CRunningStage stage(kind, row, 48000.0);
                const CSamples out = run(stage, referenceSignal(one.at("in").at("input")), {}, fixedCut(cut));
                expectSequence(one, strided(one, out), one.at("out"), sampleTolerance);
            }
        }
}

// RMS error against long double, for every build of the kernel and the loop of single samples. Where the plain loop
// itself is as good as a double can hold the output, a unit of the output's last place is allowed.
TEST(Stages, AreNoLessAccurateThanThePlainLoop)
{
    CGeneratorTree tree;
    const CAudioFilterGen* generators[] = {
        &tree.need("audio:fltgen-magnus", {{"type", "1"}}),
        &tree.need("audio:fltgen-rbj", {{"type", "0"}, {"is-type2", "true"}}),
        &tree.need("audio:fltgen-rbj", {{"type", "1"}, {"is-type2", "true"}}),
        &tree.need("audio:fltgen-rbj", {{"type", "4"}, {"is-type2", "true"}}),
        &tree.need("audio:fltgen-rbj", {{"type", "7"}, {"is-type2", "true"}}),
        &tree.need("audio:fltgen-rbj", {{"type", "8"}, {"is-type2", "true"}}),
    };
    const auto kernels = allBiquadKernels();
    const CSamples in = noise(16384);
    for (const double rate : {44100.0, 96000.0, 384000.0})
        for (const double frequency : {20.0, 55.0, 300.0, 1000.0, 4000.0, 9000.0, 11246.0, 20000.0})
            for (const double bandwidth : {0.01, 0.1, 1.0, 3.0, 7.0})
                for (const CAudioFilterGen* generator : generators)
                {
                    const CBiquadCoefficients c =
                        coefficientsOf(design(*generator, rate, frequency, 4.0, bandwidth));
                    const std::vector<long double> exact = plainRun<long double>(c, in);
                    const double plain = rms(plainRun<double>(c, in), exact);
                    const double floor = 0x1p-52 * rms(CSamples(in.size()), exact);
                    CBiquadBlock block;
                    block.design(c);
                    for (const CBiquadKernel* kernel : kernels)
                    {
                        CSamples out(in.size());
                        CBiquadMemory memory;
                        kernel->process(block, memory, in.data(), out.data(), static_cast<int>(in.size()));
                        EXPECT_LE(rms(out, exact), std::max(plain, floor))
                            << kernel->name << " rate " << rate << " frequency " << frequency << " bandwidth "
                            << bandwidth << " tag " << generator->fullName().toUtf8();
                    }
                }
}

TEST(Stages, GiveTheSameForAnyCutAndStayInside)
{
    CGeneratorTree tree;
    const CAudioFilterGen& bell = tree.need("audio:fltgen-magnus", {{"type", "1"}});
    const CSamples in = noise(6000);
    for (const double frequency : {20.0, 1000.0, 12000.0, 20000.0})
    {
        const CSamples from = rowOf(coefficientsOf(design(bell, 48000.0, frequency, 8.0, 0.2)));
        const CSamples to = rowOf(coefficientsOf(design(bell, 48000.0, frequency * 1.1, 0.1, 2.0)));
        const CUpdates updates = {{1001, to}, {1500, from}, {5003, to}};
        CRunningStage wholeStage(filterKind::biquad, from, 48000.0);
        const CSamples whole = run(wholeStage, in, updates, fixedCut(in.size()));
        for (const std::size_t cut : {1u, 3u, 7u, 8u, 9u, 64u, 511u, 512u})
        {
            CRunningStage stage(filterKind::biquad, from, 48000.0);
            const CSamples out = run(stage, in, updates, fixedCut(cut));
            for (std::size_t i = 0; i < in.size(); ++i)
                ASSERT_NEAR(out[i], whole[i], 1e-12) << "cut " << cut << " frequency " << frequency << " at " << i;
        }
    }
    for (const CBiquadKernel* kernel : allBiquadKernels())
        for (int count = 8; count <= 40; count += 8)
        {
            CBiquadBlock block;
            block.design({0.5, 0.2, 0.1, -1.2, 0.5});
            CBiquadMemory memory;
            CSamples guarded(64, 77.0);
            kernel->process(block, memory, in.data() + 1, guarded.data() + 3, count);
            EXPECT_EQ(std::count(guarded.begin(), guarded.end(), 77.0), 64 - count) << kernel->name;
            CSamples inPlace(in.begin() + 1, in.begin() + 1 + count);
            CBiquadMemory other;
            kernel->process(block, other, inPlace.data(), inPlace.data(), count);
            EXPECT_TRUE(std::equal(inPlace.begin(), inPlace.end(), guarded.begin() + 3)) << kernel->name;
        }
}

TEST(Stages, FadeToTheIdentity)
{
    const struct
    {
        int kind;
        CSamples row;
    } rows[] = {
        {filterKind::biquadLowPass, {0.02, 0.04, 0.02, -1.6, 0.68}},
        {filterKind::firstOrderLowPass, {0.1, 0.0, -0.9}},
        {filterKind::firstOrderHighPass, {0.9, -0.9, -0.9}},
        {filterKind::firstOrderHighPassGain, {0.8, -0.8, -0.9}},
        {filterKind::halfBand1, {0.1, 0.5}},
    };
    for (const auto& row : rows)
    {
        CRunningStage stage(row.kind, row.row, 48000.0);
        CSamples in = noise(4000);
        for (double& x : in)
            x += 0.5;
        CSamples out(in.size());
        stage.process(in.data(), out.data(), 1000);
        EXPECT_GT(std::abs(out[900] - in[900]), 1e-3) << row.kind;
        stage.updateToIdentity();
        stage.process(in.data() + 1000, out.data() + 1000, 3000);
        for (std::size_t i = 2300; i < 4000; ++i)
            ASSERT_NEAR(out[i], in[i], 1e-15) << row.kind;
    }
}

TEST(Stages, RecoverFromBadSamples)
{
    const std::pair<int, CSamples> rows[] = {
        {filterKind::biquad, {0.02, 0.04, 0.02, -1.6, 0.68}},
        {filterKind::firstOrderHighPass, {0.9, -0.9, -0.9}},
    };
    for (const auto& [kind, row] : rows)
        for (const double bad : {static_cast<double>(NAN), static_cast<double>(INFINITY)})
            for (const bool inFade : {false, true})
            {
                CRunningStage stage(kind, row, 48000.0);
                CSamples in = noise(20000);
                in[1000] = bad;
                CUpdates updates;
                if (inFade)
                    updates.emplace_back(900, row);
                const CSamples out = run(stage, in, updates, fixedCut(100));
                for (std::size_t i = 1100; i < in.size(); ++i)
                    ASSERT_TRUE(std::isfinite(out[i])) << kind << " " << bad << " at " << i;
            }
}

TEST(Stages, UpdateAndRunWithoutTouchingTheHeap)
{
    CRunningStage stage(filterKind::biquad, {0.02, 0.04, 0.02, -1.6, 0.68}, 48000.0);
    const CSamples in = noise(512);
    CSamples out(in.size());
    const CSamples rows[] = {{0.9, 0.1, 0.0, 1.6, 0.68}, {0.5, 0.0, 0.1, 0.1, 0.2}, {0.1, 0.1, 0.1, -1.9, 0.95}};
    stage.process(in.data(), out.data(), in.size());
    const CRealtimeGuard guard;
    for (int i = 0; i < 1000; ++i)
    {
        stage.update(rows[i % 3]);
        stage.process(in.data(), out.data(), static_cast<std::size_t>(1 + i % 512));
    }
    EXPECT_EQ(guard.faults(), 0u);
}

}
