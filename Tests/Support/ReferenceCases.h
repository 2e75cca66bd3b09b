// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <span>
#include <string>
#include <vector>

namespace kor::test
{

// The reference values in Tests/Reference: cases with inputs and expected results that come from a plain, slow,
// independent program in double precision. Every case names what it computes (`fn`), its inputs (`in`) and the result
// (`out`); the tolerances are the reference's own and live here, in one place.

/// All cases of a file ("kernels" or "kernels.json") that compute `fn`. A file that cannot be read, or holds no such
/// case, fails the running test.
std::vector<nlohmann::json> referenceCases(const char* file, const char* fn);

/// The samples of a signal description: a generated noise with segments, an impulse, a list, or a plain array.
std::vector<double> referenceSignal(const nlohmann::json& description);

/// All samples where the case has no `stride`, else the samples 0, stride, 2 stride, ...
std::vector<double> strided(const nlohmann::json& testCase, std::span<const double> samples);

/// Expected numbers of a JSON array.
std::vector<double> referenceNumbers(const nlohmann::json& array);

/// Coefficients and other single numbers: max(1e-12, rel |want|), where rel is 1e-9 unless the case has its own.
double numberTolerance(const nlohmann::json& testCase, double want);

/// The comparisons fail the running test and name case, what, index and both numbers; a result that is not finite
/// where the expected one is fails too. Stop at the first mismatch of a sequence.
void expectNumber(const nlohmann::json& testCase, double got, double want, const std::string& what = "value");
void expectNumbers(const nlohmann::json& testCase, std::span<const double> got, const nlohmann::json& want,
                   const std::string& what = "value");

/// One absolute tolerance for a whole sequence: 1e-9 for samples, 1e-6 for decibels, 1e-12 for FIR taps.
void expectSequence(const nlohmann::json& testCase, std::span<const double> got, const nlohmann::json& want,
                    double tolerance, const std::string& what = "sample");

/// The case's `id`, for messages.
std::string caseName(const nlohmann::json& testCase);

constexpr double sampleTolerance = 1e-9;
constexpr double decibelTolerance = 1e-6;
constexpr double tapTolerance = 1e-12;

}
