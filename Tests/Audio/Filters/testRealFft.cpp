// SPDX-License-Identifier: GPL-3.0-or-later
// The FFT service, in every build that this processor can run, against sums in extended precision.

#include "Audio/Filters/CFftPool.h"
#include "Audio/Filters/CRealFft.h"
#include "Support/ReferenceCases.h"
#include "Support/Signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <set>
#include <thread>

namespace kor::test
{

namespace
{

using CWide = std::complex<long double>;
constexpr double guardValue = 12345.678;

// Buffers of exactly the sizes that a build names, each with a guard behind it.
struct CPrepared
{
    const CRealFft& fft;
    const int size;
    CRealFft::CSizes sizes;
    CAlignedBuffer specification, init, work;

    CPrepared(const CRealFft& build, int order) : fft(build), size(1 << order)
    {
        EXPECT_TRUE(fft.getSizes(order, CRealFft::noScaling, 0, sizes));
        allocate(specification, sizes.specification);
        allocate(init, sizes.init);
        allocate(work, sizes.work);
        EXPECT_TRUE(fft.init(order, CRealFft::noScaling, 0, specification.data(), init.data()));
    }

    static void allocate(CAlignedBuffer& buffer, std::size_t bytes)
    {
        ASSERT_EQ(bytes % sizeof(double), 0u);
        ASSERT_TRUE(buffer.allocate(bytes / sizeof(double) + 1));
        buffer.data()[bytes / sizeof(double)] = guardValue;
    }

    bool guardsStand() const
    {
        return specification.data()[sizes.specification / sizeof(double)] == guardValue &&
               init.data()[sizes.init / sizeof(double)] == guardValue &&
               work.data()[sizes.work / sizeof(double)] == guardValue;
    }

    void forward(const double* in, double* out) { fft.forward(in, out, specification.data(), work.data()); }
    void inverse(const double* in, double* out) { fft.inverse(in, out, specification.data(), work.data()); }
};

// exp(-2 pi i k / n) for all k.
std::vector<CWide> roots(std::size_t n)
{
    std::vector<CWide> result(n);
    for (std::size_t k = 0; k < n; ++k)
        result[k] = std::polar(1.0L, -2.0L * std::numbers::pi_v<long double> * k / n);
    return result;
}

// All indices below `count`, or those at the ends and a choice between.
std::vector<std::size_t> chosen(std::size_t count)
{
    std::set<std::size_t> indices;
    std::mt19937 random(7);
    for (std::size_t i = 0; i < std::min<std::size_t>(count, 600); ++i)
        indices.insert(count <= 600 ? i : i < 20 ? i : i < 40 ? count - 1 - (i - 20) : i < 100 ? random() % count : 0);
    return {indices.begin(), indices.end()};
}

CWide binOf(const std::vector<double>& packed, std::size_t k)
{
    const std::size_t n = packed.size();
    return k == 0 ? packed[0] : k == n / 2 ? packed[1] : CWide(packed[2 * k], packed[2 * k + 1]);
}

// The error of a transform grows with the number of passes: eps log2 N relative to the values' size is generous.
double allowed(int order, double size)
{
    return 0.5 * std::numeric_limits<double>::epsilon() * std::max(order, 2) * size;
}

}

TEST(RealFft, ForwardEqualsTheSumInEveryBuildAndOrder)
{
    for (int order = 0; order <= 17; ++order)
    {
        const std::size_t n = std::size_t(1) << order;
        const std::vector<double> x = noise(n, 100 + order);
        const std::vector<CWide> root = roots(n);
        const std::vector<std::size_t> bins = chosen(n / 2 + 1);
        std::vector<CWide> want;
        for (const std::size_t k : bins)
        {
            CWide sum = 0.0L;
            for (std::size_t i = 0; i < n; ++i)
                sum += static_cast<long double>(x[i]) * root[i * k & (n - 1)];
            want.push_back(sum);
        }
        for (const CRealFft* build : allRealFftBuilds())
        {
            SCOPED_TRACE(std::string(build->name) + ", order " + std::to_string(order));
            CPrepared fft(*build, order);
            // Blocks off any alignment, with guards at both ends.
            std::vector<double> source(n + 2, guardValue), result(n + 2, guardValue);
            std::copy(x.begin(), x.end(), source.begin() + 1);
            fft.forward(source.data() + 1, result.data() + 1);
            EXPECT_EQ(result.front(), guardValue);
            EXPECT_EQ(result.back(), guardValue);
            EXPECT_TRUE(std::equal(x.begin(), x.end(), source.begin() + 1));
            EXPECT_TRUE(fft.guardsStand());

            const std::vector<double> packed(result.begin() + 1, result.end() - 1);
            for (std::size_t i = 0; i < bins.size(); ++i)
                EXPECT_LT(std::abs(binOf(packed, bins[i]) - want[i]), allowed(order, 4.0 * std::sqrt(n)))
                    << "bin " << bins[i];
            fft.forward(source.data() + 1, source.data() + 1);
            EXPECT_TRUE(std::equal(packed.begin(), packed.end(), source.begin() + 1)) << "in place";
        }
    }
}

TEST(RealFft, InverseEqualsTheSumAndUndoesForwardTimesN)
{
    for (int order = 0; order <= 17; ++order)
    {
        const std::size_t n = std::size_t(1) << order;
        const std::vector<double> packed = noise(n, 200 + order);
        const std::vector<CWide> root = roots(n);
        const std::vector<std::size_t> places = chosen(n);
        std::vector<long double> want;
        for (const std::size_t i : places)
        {
            long double sum = packed[0] + (n == 1 ? 0.0 : i % 2 == 0 ? packed[1] : -packed[1]);
            for (std::size_t k = 1; k < n / 2; ++k)
                sum += 2.0L * (binOf(packed, k) * std::conj(root[i * k & (n - 1)])).real();
            want.push_back(sum);
        }
        for (const CRealFft* build : allRealFftBuilds())
        {
            SCOPED_TRACE(std::string(build->name) + ", order " + std::to_string(order));
            CPrepared fft(*build, order);
            std::vector<double> source(n + 2, guardValue), result(n + 2, guardValue), back(n);
            std::copy(packed.begin(), packed.end(), source.begin() + 1);
            fft.inverse(source.data() + 1, result.data() + 1);
            EXPECT_EQ(result.front(), guardValue);
            EXPECT_EQ(result.back(), guardValue);
            EXPECT_TRUE(fft.guardsStand());
            for (std::size_t i = 0; i < places.size(); ++i)
                EXPECT_LT(std::abs(result[1 + places[i]] - want[i]), allowed(order, 6.0 * std::sqrt(n)))
                    << "sample " << places[i];

            fft.inverse(source.data() + 1, source.data() + 1);
            EXPECT_TRUE(std::equal(source.begin(), source.end(), result.begin())) << "in place";
            fft.forward(result.data() + 1, back.data());
            for (std::size_t i = 0; i < n; ++i)
                ASSERT_NEAR(back[i], n * packed[i], n * allowed(order, 4.0)) << i;
        }
    }
}

TEST(RealFft, PackedProductsTreatBinsZeroAndHalfAsReal)
{
    for (const CRealFft* build : allRealFftBuilds())
        for (int order = 0; order <= 9; ++order)
        {
            SCOPED_TRACE(std::string(build->name) + ", order " + std::to_string(order));
            const std::size_t n = std::size_t(1) << order;
            const int count = static_cast<int>(n);
            const std::vector<double> a = noise(n, 1), b = noise(n, 2), c = noise(n, 3);
            const auto run = [&](auto&& operation, std::vector<double> result, const char* what, auto&& want) {
                result.push_back(guardValue);
                operation(result.data());
                EXPECT_EQ(result.back(), guardValue) << what;
                result.pop_back();
                for (std::size_t k = 0; k <= n / 2 && (n > 1 || k == 0); ++k)
                    EXPECT_LT(std::abs(binOf(result, k) - want(k)), 2e-15L) << what << ", bin " << k;
            };
            const auto product = [&](std::size_t k) { return binOf(a, k) * binOf(b, k); };
            run([&](double* r) { build->multiplyPacked(a.data(), b.data(), r, count); }, c, "apart", product);
            run([&](double* r) { build->multiplyPacked(r, b.data(), r, count); }, a, "over a", product);
            run([&](double* r) { build->multiplyPacked(a.data(), r, r, count); }, b, "over b", product);
            const auto sum = [&](std::size_t k) { return binOf(c, k) + product(k); };
            run([&](double* r) { build->multiplyAddPacked(a.data(), b.data(), r, count); }, c, "add", sum);
            const auto square = [&](std::size_t k) { return binOf(a, k) * binOf(a, k); };
            run([&](double* r) { build->squarePacked(a.data(), r, count); }, c, "square", square);
            run([&](double* r) { build->squarePacked(r, r, count); }, a, "square in place", square);
        }
}

TEST(RealFft, AgreesWithReference)
{
    for (const nlohmann::json& testCase : referenceCases("spectrum.json", "fft_packed"))
        for (const CRealFft* build : allRealFftBuilds())
        {
            SCOPED_TRACE(build->name);
            std::vector<double> a = referenceSignal(testCase["in"]["a"]), b = referenceSignal(testCase["in"]["b"]);
            const int n = testCase["in"]["n"];
            CPrepared fft(*build, static_cast<int>(std::log2(n)));
            std::vector<double> square(a.size());
            fft.forward(a.data(), a.data());
            fft.forward(b.data(), b.data());
            expectSequence(testCase, a, testCase["out"]["forward_a"], sampleTolerance, "forward_a");
            build->squarePacked(a.data(), square.data(), n);
            expectSequence(testCase, square, testCase["out"]["square_a"], sampleTolerance, "square_a");
            build->multiplyPacked(a.data(), b.data(), a.data(), n);
            expectSequence(testCase, a, testCase["out"]["product"], sampleTolerance, "product");
            fft.inverse(a.data(), a.data());
            expectSequence(testCase, a, testCase["out"]["inverse_of_product"], sampleTolerance, "inverse");
        }
}

TEST(RealFft, RefusesOrdersAndFlagsItDoesNotHave)
{
    const struct
    {
        int order, flags;
    } cases[] = {{-1, 8}, {CRealFft::maxOrder + 1, 8}, {std::numeric_limits<int>::max(), 8}, {8, 0}, {8, 1}, {8, 9}};
    for (const auto& c : cases)
    {
        CRealFft::CSizes sizes{1, 2, 3};
        EXPECT_FALSE(realFft().getSizes(c.order, c.flags, 0, sizes)) << c.order << " " << c.flags;
        EXPECT_EQ(sizes.specification + sizes.init + sizes.work, 0u);
        EXPECT_FALSE(realFft().init(c.order, c.flags, 0, nullptr, nullptr));
    }
    CRealFft::CSizes largest;
    ASSERT_TRUE(realFft().getSizes(CRealFft::maxOrder, CRealFft::noScaling, 0, largest));
    EXPECT_LT(largest.specification + largest.init + largest.work, std::size_t(300) << 20);
}

TEST(FftPool, HandsOutEachObjectToOneUserAndReusesIt)
{
    CFftPool& pool = CFftPool::instance();
    for (const int order : {0, 5, 9, CFftPool::preparedOrder + 1})
    {
        CFftObject* const first = pool.take(order);
        CFftObject* const second = pool.take(order);
        ASSERT_TRUE(first && second);
        EXPECT_NE(first, second);
        EXPECT_EQ(first->order, order);
        EXPECT_EQ(first->size, 1 << order);
        EXPECT_EQ(first->scale * first->size, 1.0);
        pool.give(first);
        EXPECT_EQ(pool.take(order), first);
        pool.give(second);
        CFftObject* const other = pool.take(order == 0 ? 1 : order - 1);
        EXPECT_NE(other, second) << "lists of other orders stay apart";
        pool.give(other);
        pool.give(first);
    }
    EXPECT_EQ(pool.take(-1), nullptr);
    EXPECT_EQ(pool.take(CRealFft::maxOrder + 1), nullptr);
    pool.give(nullptr);
}

TEST(FftPool, ObjectsOfSeveralThreadsDoNotDisturbEachOther)
{
    // The largest order has its tables made by whichever thread comes first.
    const auto work = [](unsigned seed, int& wrong) {
        for (int round = 0; round < 60; ++round)
        {
            const int order = round % 20 == 19 ? 17 : 6 + round % 4;
            CFftObject* const fft = CFftPool::instance().take(order);
            const std::vector<double> x = noise(static_cast<std::size_t>(fft->size), seed);
            std::vector<double> y(x.size());
            fft->forward(x.data(), y.data());
            fft->inverse(y.data(), y.data());
            for (std::size_t i = 0; i < x.size(); ++i)
                wrong += std::abs(y[i] * fft->scale - x[i]) > 1e-14;
            CFftPool::instance().give(fft);
        }
    };
    int wrong[4] = {};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i)
        threads.emplace_back(work, i + 1, std::ref(wrong[i]));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong[0] + wrong[1] + wrong[2] + wrong[3], 0);
}

}
