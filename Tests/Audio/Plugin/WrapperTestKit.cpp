// SPDX-License-Identifier: GPL-3.0-or-later
#include "WrapperTestKit.h"

#include "Support/CTestTree.h"

#include <cstdio>

namespace kor::test
{

namespace
{

std::string note(const char* what, int index, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%s %d %g", what, index, value);
    return text;
}

}

CNotedPlugin::CNotedPlugin(int channels, double rate)
{
    startApplication();
    EXPECT_TRUE(succeeded(init()));
    EXPECT_TRUE(succeeded(setSampleRate(rate)));
    setArrangement({channels, channels, 0}, {});
    activate();
    notes.clear();
}

int CNotedPlugin::row(const std::string& name) const
{
    const auto rows = extParams().rows();
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (rows[i]->extName() == name.c_str())
            return static_cast<int>(i);
    ADD_FAILURE() << "no row " << name;
    return -1;
}

double CNotedPlugin::value(const std::string& name) const
{
    return extParams().rows()[static_cast<std::size_t>(row(name))]->getNormalized();
}

void CNotedPlugin::sendValue(int index, double normalized)
{
    notes.push_back(note("value", index, normalized));
}

void CNotedPlugin::showValue(int index, double normalized)
{
    notes.push_back(note("show", index, normalized));
}

void CNotedPlugin::beginEdit(int index)
{
    notes.push_back("begin " + std::to_string(index));
}

void CNotedPlugin::endEdit(int index)
{
    notes.push_back("end " + std::to_string(index));
}

void CNotedPlugin::programChanged(bool isByHost)
{
    notes.push_back(isByHost ? "program by host" : "program");
}

}
