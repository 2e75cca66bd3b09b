// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"
#include "Support/CTestTree.h"

#include <string>
#include <vector>

namespace kor::test
{

// Starts the real application once, so that its shared tree is there to look at.
class SharedTree : public ::testing::Test
{
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();

    /// The object of a path from the root of the shared tree; a missing one fails the test and gives the root.
    static CObject& at(const std::string& path);

    static std::string attr(const std::string& path, const char* name) { return at(path).getAttrString(name).toUtf8(); }

    /// What the application has logged since it started.
    static const std::vector<std::string>& logged();
};

}
