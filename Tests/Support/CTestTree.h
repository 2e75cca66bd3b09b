// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CApplication.h"
#include "Core/CObject.h"
#include "Support/CTreeBytes.h"

#include <gtest/gtest.h>

#include <string>

namespace kor::test
{

/// Succeeds when `error` is empty, and shows the trace otherwise: EXPECT_TRUE(succeeded(object.init()))
inline ::testing::AssertionResult succeeded(const CError& error)
{
    return error ? ::testing::AssertionFailure() << error.text() : ::testing::AssertionSuccess();
}

// A tree of a test's own, beside an empty shared tree unless the test brings one. It takes away both when it goes, so
// that the next test starts without any.
class CTestTree
{
public:
    /// A root that has run its start stages.
    CTestTree();

    /// Loads `node` as the tree of the root; loadFailure tells how that went.
    explicit CTestTree(const CTreeNode& node);

    /// The same beside a shared tree loaded from `sharedNode`, which is frozen.
    CTestTree(const CTreeNode& sharedNode, const CTreeNode& node);
    ~CTestTree();
    CTestTree(const CTestTree&) = delete;
    CTestTree& operator=(const CTestTree&) = delete;

    CObject& root() { return *rootObject; }
    CObject& shared() { return *CApplication::getSharedRoot(); }
    CObject* find(const char* path) { return rootObject->findObject(path); }

    /// The object at the path; a missing one fails the test and gives the root.
    CObject& at(const char* path);

    /// Attribute `name` of the object at `path`, as UTF-8.
    std::string attr(const char* path, const char* name) { return at(path).getAttrString(name).toUtf8(); }
    const std::string& loadFailure() const { return failure; }

private:
    void makeShared(const char* resource);
    void makeRoot(const char* resource);

    CObject* rootObject = nullptr;
    std::string failure;
};

/// Enters a block under a name in the resource table. The bytes are kept for the rest of the process.
void addTestResource(const std::string& name, const CTreeBytes::CBytes& bytes);

/// Registers a type unless a test has done so before.
void addTestType(const CCreatorRow& row);

}
