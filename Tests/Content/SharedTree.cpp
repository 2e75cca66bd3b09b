// SPDX-License-Identifier: GPL-3.0-or-later
#include "SharedTree.h"

#include "Audio/Plugin/AudioCreators.h"
#include "Core/CApplication.h"
#include "Core/CLog.h"
#include "MorvaResources.h"
#include "Support/CFreshDataFolders.h"

namespace kor::test
{

namespace
{

struct CLines : CLogListener
{
    void onLogLine(const CStringBuf& line) override { all.push_back(line.toUtf8()); }
    std::vector<std::string> all;
};

CLines lines;

}

void SharedTree::SetUpTestSuite()
{
    static CFreshDataFolders folders;
    CLog::setListener(&lines);
    CApplicationSetup setup;
    setup.creators = allCreators();
    setup.resources = morvaResources;
    EXPECT_TRUE(succeeded(CApplication::initApplication(setup)));
    ASSERT_NE(CApplication::getSharedRoot(), nullptr);
}

void SharedTree::TearDownTestSuite()
{
    CLog::setListener(nullptr);
}

CObject& SharedTree::at(const std::string& path)
{
    CObject* found = CApplication::getSharedRoot()->findObject(CStringBuf(std::string_view(path)));
    EXPECT_NE(found, nullptr) << path;
    return found != nullptr ? *found : *CApplication::getSharedRoot();
}

const std::vector<std::string>& SharedTree::logged()
{
    return lines.all;
}

}
