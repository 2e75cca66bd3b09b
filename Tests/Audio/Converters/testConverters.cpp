// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Parameters/ParameterCreators.h"
#include "Support/CTestTree.h"
#include "Support/CRealtimeGuard.h"
#include "Support/ReferenceCases.h"

#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <memory>

namespace kor::test
{
namespace
{

using CAttrs = std::vector<std::pair<std::string, std::string>>;

// A converter of a type with attributes, alone in a tree.
class CConverterTree
{
public:
    CConverterTree(const std::string& type, const CAttrs& attrs)
    {
        for (const CCreatorRow& row : parameterCreators())
            addTestType(row);
        CTreeNode root;
        root.children = {{"audio:cvt-" + type, "cvt", attrs}};
        tree = std::make_unique<CTestTree>(root);
    }
    const std::string& failure() const { return tree->loadFailure(); }
    const CAudioParamConverter& operator*() const { return dynamic_cast<CAudioParamConverter&>(tree->at("cvt")); }
    const CAudioParamConverter* operator->() const { return &**this; }

private:
    std::unique_ptr<CTestTree> tree;
};

CAudioParamInfo infoOf(double min, double max, const std::string& states = "")
{
    CAudioParamInfo info;
    info.minValues = {min};
    info.maxValues = {max};
    EXPECT_TRUE(succeeded(info.parseStateNames(CStringBuf(states))));
    return info;
}

std::string formatted(const CAudioParamConverter& converter, double value, int mode = 0,
                      const CAudioParamInfo& info = infoOf(0, 1))
{
    CStringBuf out = "left over";
    converter.format(out, info, 0, value, static_cast<CAudioParamTextMode>(mode));
    return out.toUtf8();
}

}

// The cases of one reference function, each with its converter and range.
class ConverterReference : public testing::Test
{
protected:
    template <class Check>
    void run(const char* fn, Check&& check)
    {
        for (const nlohmann::json& testCase : referenceCases("converters", fn))
        {
            const nlohmann::json& in = testCase["in"];
            const nlohmann::json& c = in["converter"];
            CAttrs attrs;
            for (const char* key : {"decimals", "scale_power", "scale_threshold", "is_exact", "is_log", "scale"})
            {
                if (!c.contains(key))
                    continue;
                std::string name = key;
                for (char& letter : name)
                    letter = letter == '_' ? '-' : letter;
                attrs.emplace_back(name, c[key].dump());
            }
            const std::string type = c["class"];
            if (type == "time" && !c.contains("scale"))
                attrs.emplace_back("scale", "0.001");
            std::string states;
            for (const nlohmann::json& state : c.value("states", nlohmann::json::array()))
                states += (states.empty() ? "" : ";") + state.get<std::string>();
            const CConverterTree converter(type, attrs);
            ASSERT_EQ(converter.failure(), "") << caseName(testCase);
            check(testCase, *converter, infoOf(in.value("min", 0.0), in.value("max", 1.0), states));
        }
    }
};

TEST_F(ConverterReference, PositionToReal)
{
    run("to_real", [](const nlohmann::json& t, const CAudioParamConverter& converter, const CAudioParamInfo& info)
        { expectNumber(t, converter.normalisedToReal(info, 0, t["in"]["x"]), t["out"]); });
}

TEST_F(ConverterReference, RealToPosition)
{
    run("to_normalised", [](const nlohmann::json& t, const CAudioParamConverter& converter, const CAudioParamInfo& info)
        { expectNumber(t, converter.realToNormalised(info, 0, t["in"]["value"]), t["out"]); });
}

TEST_F(ConverterReference, PositionToDisplay)
{
    run("to_display", [](const nlohmann::json& t, const CAudioParamConverter& converter, const CAudioParamInfo& info)
        { expectNumber(t, converter.normalisedToDisplay(info, 0, t["in"]["x"]), t["out"]); });
}

TEST_F(ConverterReference, TextToReal)
{
    const auto check = [](const nlohmann::json& t, const CAudioParamConverter& converter, const CAudioParamInfo& info)
    {
        const CStringBuf text = CStringBuf::fromUtf8(t["in"]["text"].get<std::string>());
        bool ok = false;
        const double value = t["fn"] == "parse" ? converter.parse(info, 0, text, ok) : converter.parseBare(text, ok);
        EXPECT_EQ(ok, t["out"]["ok"].get<bool>()) << caseName(t) << " '" << text.toUtf8() << "'";
        expectNumber(t, value, t["out"]["value"]);
    };
    run("parse", check);
    run("parse_bare", check);
}

TEST_F(ConverterReference, RealToText)
{
    run("format", [](const nlohmann::json& t, const CAudioParamConverter& converter, const CAudioParamInfo& info)
        { EXPECT_EQ(formatted(converter, t["in"]["value"], t["in"]["mode"], info), t["out"]) << caseName(t); });
}

TEST(Converter, TextsOfTheFreeFormats)
{
    struct Case
    {
        const char* type;
        CAttrs attrs;
        double value;
        int mode;
        const char* text;
    };
    const CAttrs ms = {{"scale", "0.001"}};
    const Case cases[] = {
        {"percent", {}, 0.0499, 0, "5.0"},      {"percent", {}, 0.09994, 0, "10"},  // breaks at the rounded 10
        {"percent", {}, 0.5, 0, "50"},          {"percent", {}, -0.5, 1, "-50"},
        {"percent", {}, 0.5, 3, "50.0"},        {"percent", {}, 1.0, 3, "100"},
        {"time", ms, 0.0002, 0, "0.20"},        {"time", ms, 0.0099949, 0, "9.99"},
        {"time", ms, 0.0099951, 0, "10.0"},     {"time", ms, 0.0999501, 0, "100"},
        {"time", ms, 0.25, 1, "250"},           {"time", ms, 0.005, 1, "5.0"},
        {"time", {{"scale", "0.001"}, {"is-exact", "true"}}, 0.25, 0, "250.00"},
        {"time", {{"scale", "0.001"}, {"is-precise", "true"}}, 0.005, 0, "5.000"},
        {"ratio", {}, 1.0, 0, "1.00"},          {"ratio", {}, 4.0, 0, "4.00"},
        {"ratio", {}, 0.25, 0, "4.00:1"},       {"ratio", {}, 0.0001, 0, "10000:1"},
        {"ratio", {{"decimals", "1"}}, 0.4, 0, "2.5:1"},
        {"real", {}, -0.001, 0, "0.00"},        // no negative zero
        {"real", {{"decimals", "9"}}, 123456789012345.0, 0, "123456789012345"},
        {"real", {}, std::numeric_limits<double>::infinity(), 0, "inf"},
        {"gain", {}, 0.0, 0, "-inf"},           {"gain", {}, -1.0, 0, "nan"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(formatted(*CConverterTree(c.type, c.attrs), c.value, c.mode), c.text) << c.type << " " << c.value;

    CStringBuf out;
    const CStringBuf item = "Lead {vocal}";
    CConverterTree("text", {})->format(out, infoOf(0, 1), 0, 7, CAudioParamTextMode::normal, &item);
    EXPECT_EQ(out, item);
}

TEST(Converter, ReadsItsAttributes)
{
    struct Case
    {
        const char* type;
        CAttrs attrs;
        const char* failure;                        // "" for none
    };
    const Case cases[] = {
        {"gain", {{"scale-power", "0"}}, "Invalid 'scale-power' attribute value 0 specified."},
        {"freq", {{"scale-threshold", "1.5"}}, "Invalid 'scale-threshold' attribute value 1.5 specified."},
        {"gain", {{"scale-threshold", "1"}}, ""},
        {"gain", {{"decimals", "-1"}}, "Invalid 'decimals' attribute value -1 specified."},
        {"ratio", {{"decimals", "-2"}}, "Invalid decimals -2 specified."},
        {"real", {{"decimals", "-3"}}, "Invalid decimals -3 specified."},
        {"time", {{"scale", "0"}}, "Invalid scale 0 specified."},
    };
    for (const Case& c : cases)
    {
        const CConverterTree converter(c.type, c.attrs);
        EXPECT_EQ(converter.failure().empty(), *c.failure == 0) << c.type << converter.failure();
        EXPECT_NE(converter.failure().find(c.failure), std::string::npos) << c.failure << "\n" << converter.failure();
    }
}

TEST(Converter, UsesTheParametersNamesElseItsOwn)
{
    const CConverterTree onOff("enum", {{"state-names", "Off;On|1st"}});
    EXPECT_EQ(formatted(*onOff, 1.0, 0), "On");
    EXPECT_EQ(formatted(*onOff, 1.0, 1), "1st");
    EXPECT_EQ(formatted(*onOff, 2.0, 1), "Rsv");
    EXPECT_EQ(formatted(*onOff, -1.0, 0), "Reserve");
    EXPECT_EQ(formatted(*onOff, 1.0, 0, infoOf(0, 1, "A;B")), "B");
    bool ok = false;
    EXPECT_EQ(onOff->parseBare("1ST", ok), 1.0);
    EXPECT_TRUE(ok);
}

TEST(Converter, ClampsToARangeThatRunsDownwards)
{
    bool ok = false;
    const CConverterTree real("real", {});
    const CAudioParamInfo down = infoOf(10, -10);
    EXPECT_EQ(real->parse(down, 0, "20", ok), 10.0);
    EXPECT_EQ(real->parse(down, 0, "-20", ok), -10.0);
    EXPECT_EQ(real->parse(down, 0, "x", ok), 10.0);
    EXPECT_FALSE(ok);
}

TEST(Converter, ReadsRatiosInBothForms)
{
    bool ok = false;
    const CConverterTree ratio("ratio", {});
    for (const auto& [text, value] : std::map<const char*, double>{{"4:1", 0.25}, {"4", 4.0}, {"2,5:1", 0.4}})
        EXPECT_EQ(ratio->parseBare(text, ok), value) << text;
    for (const char* text : {"1:4", "0:1", "4:", ":1", "-2:1"})
    {
        EXPECT_EQ(ratio->parseBare(text, ok), 0.0) << text;
        EXPECT_FALSE(ok) << text;
    }
}

// Every class but Enum: position to value and back gives the position, and neither way touches the heap.
RC_GTEST_PROP(Converter, PositionsRoundTrip, ())
{
    static const struct
    {
        const char* type;
        CAttrs attrs;
        double min, max;
    } classes[] = {
        {"gain", {}, 0.0316227766016838, 31.62277660168379},
        {"gain", {{"scale-power", "2"}}, 0.0316227766016838, 31.62277660168379},
        {"gain", {{"scale-power", "0.5"}, {"scale-threshold", "0.7"}}, 0.001, 4.0},
        {"freq", {}, 20.0, 96000.0},
        {"bw", {}, 0.01, 7.0},
        {"real", {}, -9.0, 9.0},
        {"real", {}, 9.0, -9.0},
        {"percent", {}, 0.0, 1.0},
        {"ratio", {}, 0.1, 20.0},
        {"text", {}, 0.0, 8388608.0},
        {"time", {{"is-log", "true"}}, 0.0001, 5.0},
        {"time", {{"is-exact", "true"}}, 0.0, 5.0},
        {"time", {}, 0.0001, 5.0},
    };
    const auto& c = classes[*rc::gen::inRange<std::size_t>(0, std::size(classes))];
    const double x = *rc::gen::inRange(0, 1000001) / 1e6;
    const CAudioParamInfo info = infoOf(c.min, c.max);
    const CConverterTree converter(c.type, c.attrs);
    const CAudioParamConverter& used = *converter;
    const CRealtimeGuard guard;
    const double back = used.realToNormalised(info, 0, used.normalisedToReal(info, 0, x));
    const std::size_t faults = guard.faults();
    RC_ASSERT(faults == 0u);
    // A square root near its zero and logarithms of wide ranges lose a few digits.
    RC_ASSERT(std::abs(back - x) <= 1e-8);
}

}
