// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/ReferenceCases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>

namespace kor::test
{

namespace
{

using nlohmann::json;

const json& loadFile(const std::string& name)
{
    static std::map<std::string, json> files;
    const auto known = files.find(name);
    if (known != files.end())
        return known->second;
    const std::string path = std::string(MORVA_TEST_REFERENCE) + "/" + name;
    std::ifstream stream(path);
    json parsed = json::parse(stream, nullptr, false);
    if (parsed.is_discarded() || !parsed.contains("cases"))
    {
        ADD_FAILURE() << "Reference file " << path << " cannot be read";
        parsed = json{{"cases", json::array()}};
    }
    return files.emplace(name, std::move(parsed)).first->second;
}

void compare(const json& testCase, double got, double want, double tolerance, const std::string& what)
{
    // Written so that a result that is no number fails.
    if (!(std::abs(got - want) <= tolerance))
        ADD_FAILURE() << caseName(testCase) << " " << what << ": got " << json(got).dump() << ", want "
                      << json(want).dump() << ", off by " << std::abs(got - want) << ", allowed " << tolerance;
}

}

std::vector<json> referenceCases(const char* file, const char* fn)
{
    std::string name = file;
    if (!name.ends_with(".json"))
        name += ".json";
    std::vector<json> found;
    for (const json& one : loadFile(name)["cases"])
        if (one.at("fn") == fn)
            found.push_back(one);
    if (found.empty())
        ADD_FAILURE() << "Reference file " << name << " has no case of '" << fn << "'";
    return found;
}

std::vector<double> referenceSignal(const json& description)
{
    if (description.is_array())
        return referenceNumbers(description);
    const std::string type = description.at("type");
    if (type == "list")
        return referenceNumbers(description.at("values"));
    std::vector<double> samples;
    if (type == "impulse")
    {
        samples.assign(description.at("count").get<std::size_t>(), 0.0);
        samples.at(description.at("at").get<std::size_t>()) = description.at("value").get<double>();
        return samples;
    }
    if (type != "lcg")
    {
        ADD_FAILURE() << "Unknown kind of signal: " << description.dump();
        return samples;
    }
    auto state = description.at("seed").get<std::uint32_t>();
    for (const json& segment : description.at("segments"))
    {
        const auto count = segment.at(0).get<std::size_t>();
        const auto scale = segment.at(1).get<double>();
        const auto offset = segment.at(2).get<double>();
        for (std::size_t i = 0; i < count; ++i)
        {
            state = state * 1664525u + 1013904223u;
            samples.push_back((static_cast<double>(state) / 2147483648.0 - 1.0) * scale + offset);
        }
    }
    return samples;
}

std::vector<double> strided(const json& testCase, std::span<const double> samples)
{
    const std::size_t stride = testCase.at("in").value("stride", std::size_t{1});
    std::vector<double> kept;
    for (std::size_t i = 0; i < samples.size(); i += stride)
        kept.push_back(samples[i]);
    return kept;
}

std::vector<double> referenceNumbers(const json& array)
{
    return array.get<std::vector<double>>();
}

double numberTolerance(const json& testCase, double want)
{
    return std::max(1e-12, testCase.value("rel", 1e-9) * std::abs(want));
}

void expectNumber(const json& testCase, double got, double want, const std::string& what)
{
    compare(testCase, got, want, numberTolerance(testCase, want), what);
}

void expectNumbers(const json& testCase, std::span<const double> got, const json& want, const std::string& what)
{
    const std::vector<double> expected = referenceNumbers(want);
    ASSERT_EQ(got.size(), expected.size()) << caseName(testCase) << " " << what;
    for (std::size_t i = 0; i < got.size() && !::testing::Test::HasFailure(); ++i)
        expectNumber(testCase, got[i], expected[i], what + " " + std::to_string(i));
}

void expectSequence(const json& testCase, std::span<const double> got, const json& want, double tolerance,
                    const std::string& what)
{
    const std::vector<double> expected = referenceNumbers(want);
    ASSERT_EQ(got.size(), expected.size()) << caseName(testCase) << " " << what;
    for (std::size_t i = 0; i < got.size() && !::testing::Test::HasFailure(); ++i)
        compare(testCase, got[i], expected[i], tolerance, what + " " + std::to_string(i));
}

std::string caseName(const json& testCase)
{
    return testCase.value("id", std::string("(unnamed case)"));
}

}
