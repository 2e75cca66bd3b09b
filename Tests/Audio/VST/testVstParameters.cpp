// SPDX-License-Identifier: GPL-3.0-or-later
#include "VstTestKit.h"

#include "Vst3Host/HostText.h"

#include <cmath>
#include <limits>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace kor::test
{

namespace
{

ParameterInfo infoOf(CTestEffect& effect, int index)
{
    ParameterInfo info{};
    EXPECT_EQ(effect.controller().getParameterInfo(index, info), kResultOk);
    return info;
}

FUnknownPtr<IUnitInfo> unitsOf(CTestEffect& effect)
{
    return FUnknownPtr<IUnitInfo>(&effect.controller());
}

}

TEST(VstParameters, AreTheRowsAndTheProgram)
{
    CTestEffect effect;
    ASSERT_EQ(effect.controller().getParameterCount(), 57);
    for (int i = 0; i < 56; ++i)
    {
        const ParameterInfo info = infoOf(effect, i);
        const bool isBypass = i == 0;
        EXPECT_EQ(info.id, static_cast<ParamID>(i));
        EXPECT_EQ(info.stepCount, isBypass ? 1 : 0) << i;
        EXPECT_EQ(info.flags, isBypass ? 0x10001 : 1) << i;
        EXPECT_EQ(info.unitId, 0);
        EXPECT_EQ(textOf(info.title), textOf(info.shortTitle));
    }
    const struct
    {
        int index;
        const char* title;
    } titles[] = {{0, "Bypass"}, {1, "Oversmp"}, {4, "1Mode1"}, {28, "1Dyn5"}, {29, "2Dynmod"}, {55, "2Dyn5"}};
    for (const auto& row : titles)
        EXPECT_EQ(textOf(infoOf(effect, row.index).title), row.title);

    const ParameterInfo program = infoOf(effect, 56);
    EXPECT_EQ(program.id, 999u);
    EXPECT_EQ(textOf(program.title), "Program");
    EXPECT_EQ(program.stepCount, 10);
    EXPECT_EQ(program.flags, 0x8008);
    ParameterInfo none{};
    for (const int index : {-1, 57, std::numeric_limits<int>::max()})
        EXPECT_NE(effect.controller().getParameterInfo(index, none), kResultOk);
}

TEST(VstParameters, ReadBackWhatTheyWrite)
{
    CTestEffect effect;
    for (const CVst3Parameter& one : effect->parameters())
    {
        constexpr int steps = 200;
        for (int i = 0; i <= steps; ++i)
        {
            const double value = static_cast<double>(i) / steps;
            const std::string text = effect->textOfValue(one, value);
            double back = -1.0;
            const CError failure = effect->valueOfText(one, text, back);
            ASSERT_FALSE(failure) << one.title << " '" << text << "'";
            // Texts round, so what must come back is the text.
            EXPECT_EQ(effect->textOfValue(one, back), text) << one.title << " at " << value << " reads as " << back;
        }
    }
}

TEST(VstParameters, BearWhatNoHostShouldSay)
{
    CTestEffect effect;
    IEditController& controller = effect.controller();
    String128 text{};
    double value = 0.0;
    const std::u16string endless(5000, u'9');
    for (const ParamID id : {ParamID{0}, ParamID{5}, ParamID{999}})
    {
        for (const double wrong : {-1.0, 2.0, std::nan(""), std::numeric_limits<double>::infinity()})
        {
            controller.setParamNormalized(id, wrong);
            const double now = controller.getParamNormalized(id);
            EXPECT_TRUE(now >= 0.0 && now <= 1.0) << id << ": " << now;
            EXPECT_EQ(controller.getParamStringByValue(id, wrong, text), kResultOk);
        }
        EXPECT_NE(controller.getParamValueByString(id, nullptr, value), kResultOk);
        controller.getParamValueByString(id, const_cast<TChar*>(endless.c_str()), value);
    }
    for (const ParamID id : {ParamID{56}, ParamID{998}, ParamID{1000}, ParamID{0xFFFFFFFF}})
    {
        EXPECT_NE(controller.setParamNormalized(id, 0.5), kResultOk);
        EXPECT_NE(controller.getParamStringByValue(id, 0.5, text), kResultOk);
        EXPECT_EQ(controller.getParamNormalized(id), 0.0);
    }
    EXPECT_EQ(controller.createView("editor"), nullptr);
    EXPECT_EQ(controller.createView(nullptr), nullptr);
    CHostStream stream;
    EXPECT_EQ(controller.setComponentState(&stream), kNotImplemented);
    EXPECT_EQ(controller.getState(&stream), kNotImplemented);
}

TEST(VstPrograms, AreAListOfNamesWithoutTheirIds)
{
    CTestEffect effect;
    const FUnknownPtr<IUnitInfo> units = unitsOf(effect);
    ASSERT_TRUE(units);
    EXPECT_EQ(units->getUnitCount(), 1);
    UnitInfo unit{};
    ASSERT_EQ(units->getUnitInfo(0, unit), kResultOk);
    EXPECT_EQ(textOf(unit.name), "Root");
    EXPECT_EQ(unit.programListId, 999);
    EXPECT_NE(units->getUnitInfo(1, unit), kResultOk);
    EXPECT_EQ(units->selectUnit(0), kResultOk);
    EXPECT_NE(units->selectUnit(1), kResultOk);

    ProgramListInfo list{};
    ASSERT_EQ(units->getProgramListInfo(0, list), kResultOk);
    EXPECT_EQ(list.id, 999);
    EXPECT_EQ(textOf(list.name), "Programs");
    ASSERT_EQ(list.programCount, 11);
    EXPECT_NE(units->getProgramListInfo(1, list), kResultOk);

    const CVst3Parameter& program = effect.parameter("Program");
    for (int i = 0; i < list.programCount; ++i)
    {
        String128 name{};
        ASSERT_EQ(units->getProgramName(999, i, name), kResultOk);
        EXPECT_EQ(textOf(name), effect->textOfValue(program, i * 0.1));
        EXPECT_EQ(textOf(name).find(':'), std::string::npos);
        EXPECT_FALSE(textOf(name).empty());
        EXPECT_NEAR(effect.controller().normalizedParamToPlain(999, i * 0.1), i, 1e-12);
        EXPECT_NEAR(effect.controller().plainParamToNormalized(999, i), i * 0.1, 1e-12);
    }
    EXPECT_EQ(effect->textOfValue(program, 0.0), "Default");
    String128 name{};
    for (const int index : {-1, 11, std::numeric_limits<int>::max()})
        EXPECT_NE(units->getProgramName(999, index, name), kResultOk);
    EXPECT_NE(units->getProgramName(1000, 0, name), kResultOk);
}

TEST(VstPrograms, ChosenByTheHostMoveAllValuesAndEchoNothing)
{
    CTestEffect effect;
    const CVst3Parameter& program = effect.parameter("Program");
    const std::vector<double> first = effect.values();
    int different = 0;
    for (int i = 10; i >= 0; --i)
    {
        effect->setValue(program, i * 0.1);
        EXPECT_NEAR(effect->value(program), i * 0.1, 1e-12);
        different += effect.values() != first;
        // A fresh instance that loads what this one saves shows the same.
        CTestEffect other;
        ASSERT_FALSE(other->setState(effect.state()));
        std::vector<double> mine = effect.values();
        std::vector<double> others = other.values();
        mine.pop_back(); // the place in the list is no part of a state
        others.pop_back();
        EXPECT_EQ(mine, others) << "program " << i;
    }
    EXPECT_EQ(different, 10);
    EXPECT_EQ(effect.values(), first);
    EXPECT_TRUE(effect->handler().takeEdits().empty());
    EXPECT_EQ(effect->handler().takeRestarts(), 0);
}

}
