// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterMagnitude.h"
#include "Audio/Filters/COnePole.h"
#include "CGeneratorTree.h"

#include <cmath>

namespace kor::test
{

namespace
{

using nlohmann::json;

bool needsTree(const json& one)
{
    return one.at("in").at("gen") == "named" || one.at("in").at("gen") == "mode";
}

}

TEST(Generators, DesignReferenceCases)
{
    CGeneratorTree tree;
    for (const char* file : {"generators_rbj", "generators_magnus", "generators_first_order", "generators_named"})
        for (const json& one : referenceCases(file, "design"))
            if (!needsTree(one))
                expectDesign(one, designCase(tree.fromCase(one.at("in")), one.at("in"),
                                             &CDCDAWFilterWorkspace::instance()));
}

TEST(Generators, CountStagesAroundHalfTheRate)
{
    CGeneratorTree tree;
    for (const json& one : referenceCases("generators_limits", "stage_count"))
    {
        if (needsTree(one))
            continue;
        const CAudioFilterSpec spec = designCase(tree.fromCase(one.at("in")), one.at("in"), nullptr);
        EXPECT_EQ(spec.stages().size(), one.at("out").get<std::size_t>()) << caseName(one);
    }
}

TEST(Generators, MapOnePoles)
{
    for (const json& one : referenceCases("misc", "one_pole_frequency"))
        expectNumber(one, onePoleOfFrequency(one.at("in").at("freq"), one.at("in").at("sr")), one.at("out"));
    for (const json& one : referenceCases("misc", "one_pole_time"))
        expectNumber(one, onePoleOfTime(one.at("in").at("time"), one.at("in").at("sr")), one.at("out"));
}

TEST(Generators, WithoutWorkspaceDescribeTheSame)
{
    CGeneratorTree tree;
    const CAudioFilterGen& generator = tree.need("audio:fltgen-rbj", {{"type", "7"}, {"is-type2", "true"}});
    const CAudioFilterSpec shown = design(generator, 48000.0, 300.0, 2.0, 1.0);
    const CAudioFilterSpec heard =
        design(generator, 48000.0, 300.0, 2.0, 1.0, &CDCDAWFilterWorkspace::instance());
    ASSERT_EQ(shown.stages().size(), 1u);
    EXPECT_EQ(shown.stages()[0].kind, nullptr);
    EXPECT_EQ(shown.stages()[0].numerator, heard.stages()[0].numerator);
    EXPECT_EQ(shown.stages()[0].denominator, heard.stages()[0].denominator);
}

TEST(Generators, DesignNothingFromMissingParameters)
{
    CGeneratorTree tree;
    const std::pair<const char*, const char*> kinds[] = {
        {"audio:fltgen-rbj", "6"}, {"audio:fltgen-magnus", "1"}, {"audio:fltgen-lphp1", "0"}};
    for (const auto& [tag, type] : kinds)
    {
        const CAudioFilterGen& generator = tree.need(tag, {{"type", type}});
        CAudioFilterSpec spec;
        CAudioFilterParamNames others;
        others.add("bw");
        CAudioFilterParamNames all;
        for (const char* name : {"bw", "gain", "freq"})
            all.add(name);
        const double values[] = {1.0, 2.0};                     // none for the last name
        generator.generate(spec, 48000.0, {others, values}, nullptr);
        generator.generate(spec, 48000.0, {all, values}, nullptr);
        EXPECT_TRUE(spec.stages().empty()) << tag;
    }
}

// Closed forms of the matched bell: DC, centre and half the rate; near 0.2525 of the rate the centre is moved twice.
TEST(Generators, MatchTheBellAtItsPoints)
{
    CGeneratorTree tree;
    const CAudioFilterGen& bell = tree.need("audio:fltgen-magnus", {{"type", "1"}});
    const CAudioFilterSpec spec = design(bell, 44100.0, 1000.0, 2.0, 1.0);
    EXPECT_NEAR(stageMagnitude(spec.stages()[0], 0.0, 44100.0), 1.0, 1e-12);
    EXPECT_NEAR(stageMagnitude(spec.stages()[0], 1000.0, 44100.0), 2.0, 1e-9);
    EXPECT_NEAR(stageMagnitude(spec.stages()[0], 22050.0, 44100.0), 1.00077, 1e-5);
    EXPECT_NEAR(stageMagnitude(design(bell, 44100.0, 11025.0, 2.0, 1.0).stages()[0], 11025.0, 44100.0), 1.99879, 1e-5);

    for (const double rate : {44100.0, 48000.0, 384000.0})
        for (const double offset : {-1e-3, -1e-6, -1e-9, -1e-12, 0.0, 1e-12, 1e-9, 1e-6, 1e-3})
        {
            const double frequency = rate * (0.5 / 0.99 / 2.0) * (1.0 + offset);
            const CAudioFilterSpec near = design(bell, rate, frequency, 4.0, 1.0);
            ASSERT_EQ(near.stages().size(), 1u) << rate << " " << offset;
            const double peak = stageMagnitude(near.stages()[0], frequency, rate);
            EXPECT_NEAR(peak, 4.0, 0.05) << rate << " " << offset;
        }
    EXPECT_EQ(design(bell, 48000.0, 1000.0, 1.0, 1.0).stages().size(), 1u);     // 0 dB still designs
}

TEST(Generators, DropDesignsThatWouldRunAway)
{
    CGeneratorTree tree;
    const CAudioFilterGen& radius = tree.need("audio:fltgen-rbj", {{"type", "9"}});
    EXPECT_EQ(design(radius, 48000.0, 1000.0, 1.0, 0.99).stages().size(), 1u);
    EXPECT_EQ(design(radius, 48000.0, 1000.0, 1.0, 1.0).stages().size(), 0u);
    const CAudioFilterGen& lowPass = tree.need("audio:fltgen-rbj", {{"type", "0"}, {"is-type2", "true"}});
    EXPECT_EQ(design(lowPass, 48000.0, 0.0, 1.0, 1.0).stages().size(), 0u);
    EXPECT_EQ(design(lowPass, 48000.0, 1000.0, 1.0, NAN).stages().size(), 0u);
    const CAudioFilterGen& first = tree.need("audio:fltgen-lphp1", {{"type", "2"}});
    EXPECT_EQ(design(first, 48000.0, INFINITY, 1.0, 1.0).stages().size(), 0u);
    EXPECT_EQ(design(first, 48000.0, 30000.0, 1.0, 1.0).stages().size(), 1u);   // no rule above half the rate
}

TEST(Generators, GiveHalfBandResponses)
{
    CGeneratorTree tree;
    for (const json& one : referenceCases("halfband", "halfband_response"))
    {
        std::string lists[2];
        for (int side = 0; side < 2; ++side)
            for (const json& value : one.at("in").at(side == 0 ? "a" : "b"))
                lists[side] += (lists[side].empty() ? "" : ",") + value.dump();
        const CAudioFilterGen& generator = tree.need("audio:fltgen-hbf", {{"a", lists[0]}, {"b", lists[1]}});
        const CAudioFilterSpec spec = design(generator, 1.0, 0.0, 0.0, 0.0);
        ASSERT_EQ(spec.stages().size(), 1u);
        for (std::size_t i = 0; i < one.at("out").size(); ++i)
        {
            const double want = one.at("out").at(i);
            EXPECT_NEAR(filterMagnitudeDb(spec, one.at("in").at("freqs").at(i), 1.0), want,
                        want < -100.0 ? 1e-3 : decibelTolerance)
                << caseName(one);
        }
    }
}

TEST(Generators, RefuseBadAttributes)
{
    CGeneratorTree tree;
    CAudioFilterGenArray& array = tree.need<CAudioFilterGenArray>("audio:fltgen-array", {});
    CAudioFilterGen& bypass = tree.need("audio:fltgen-bypass", {});
    const std::string path = "/" + bypass.fullName().toUtf8();
    CObject& serial = tree.need<CObject>("audio:fltgen-serial", {});
    const struct
    {
        const char* tag;
        CAttrTexts attrs;
        CObject* parent;
        const char* message;
    } rows[] = {
        {"audio:fltgen-rbj", {{"type", "11"}}, nullptr, "Invalid filter type '11' specified."},
        {"audio:fltgen-magnus", {{"type", "6"}}, nullptr, "Invalid filter type '6' specified."},
        {"audio:fltgen-lphp1", {{"type", "3"}}, nullptr, "Invalid filter type '3' specified."},
        {"audio:fltgen-hbf", {{"a", "0.5,0.6"}, {"b", "0.5"}}, nullptr,
         "Coefficient count should match in 'a' and 'b'"},
        {"audio:fltgen-hbf", {{"a", ""}, {"b", "0.5"}}, nullptr, "Not enough 'a' coefficients defined."},
        {"audio:fltgen-hbf", {{"a", "0.5,x"}, {"b", "0.5,0.6"}}, nullptr, "Invalid number 'x' specified."},
        {"audio:fltgen-array-item", {{"index", "0"}, {"fltgen", path}}, nullptr,
         "CAudioFilterGenArray class parent expected."},
        {"audio:fltgen-array-item", {{"index", "-1"}, {"fltgen", path}}, &array, "Invalid index '-1' specified."},
        {"audio:fltgen-array-item", {{"index", "4096"}, {"fltgen", path}}, &array, "Invalid index '4096' specified."},
        {"audio:fltgen-serial-item", {{"fltgen", "/" + serial.fullName().toUtf8()}}, &serial, "contains itself."},
        {"audio:fltgen-serial-item", {{"fltgen", "/missing"}}, &serial, "missing"},
    };
    for (const auto& row : rows)
    {
        CError error;
        EXPECT_EQ(tree.make(error, row.tag, row.attrs, row.parent), nullptr) << row.message;
        EXPECT_NE(error.message().find(row.message), std::string::npos) << error.message();
    }
}

TEST(Generators, ArrayAnswersForEverySlot)
{
    CGeneratorTree tree;
    CAudioFilterGenArray& array = tree.need<CAudioFilterGenArray>("audio:fltgen-array", {});
    CAudioFilterGen& bypass = tree.need("audio:fltgen-bypass", {});
    const std::string path = "/" + bypass.fullName().toUtf8();
    for (const char* index : {"4", "1"})
        tree.need<CObject>("audio:fltgen-array-item", {{"index", index}, {"fltgen", path}}, &array);
    for (const int index : {-2147483647 - 1, -1, 0, 2, 3, 5, 2147483647})
        EXPECT_EQ(array.getItem(index), nullptr) << index;
    EXPECT_EQ(array.getItem(1), &bypass);
    EXPECT_EQ(array.getItem(4), &bypass);
}

}
