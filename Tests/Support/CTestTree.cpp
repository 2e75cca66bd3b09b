// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

#include <list>

namespace kor::test
{

CTestTree::CTestTree()
{
    makeShared("");
    makeRoot("");
}

CTestTree::CTestTree(const CTreeNode& node)
{
    addTestResource("test-tree", CTreeBytes::of(node));
    makeShared("");
    makeRoot("test-tree");
}

CTestTree::CTestTree(const CTreeNode& sharedNode, const CTreeNode& node)
{
    addTestResource("test-shared", CTreeBytes::of(sharedNode));
    addTestResource("test-tree", CTreeBytes::of(node));
    makeShared("test-shared");
    makeRoot("test-tree");
}

CTestTree::~CTestTree()
{
    CApplication::destroyRootObject(rootObject);
    CApplication::destroySharedObjectForTests();
}

CObject& CTestTree::at(const char* path)
{
    CObject* found = rootObject->findObject(path);
    EXPECT_NE(found, nullptr) << path;
    return found != nullptr ? *found : *rootObject;
}

void CTestTree::makeShared(const char* resource)
{
    addTestType(creatorRow<CObject>("core:object"));
    EXPECT_TRUE(succeeded(CApplication::initSharedObject(resource)));
}

void CTestTree::makeRoot(const char* resource)
{
    if (CError error = CApplication::initRootObject(rootObject, resource))
    {
        failure = error.text();
        // The test that expects this goes on with an empty root.
        EXPECT_TRUE(succeeded(CApplication::initRootObject(rootObject, "")));
    }
}

void addTestResource(const std::string& name, const CTreeBytes::CBytes& bytes)
{
    struct CKept
    {
        std::string name;
        CTreeBytes::CBytes block;
    };
    // Blocks borrowed by templates must outlive every tree, so they are kept; the list keeps their places.
    static std::list<CKept>& kept = *new std::list<CKept>;
    kept.push_back({name, CTreeBytes::blockOf(bytes)});
    const CResourceEntry table[] = {{kept.back().block.data(), kept.back().name.c_str()}, {nullptr, nullptr}};
    CResourceTable::add(table);
}

void addTestType(const CCreatorRow& row)
{
    if (CCreatorTable::find(row.tag) != nullptr)
        return;
    EXPECT_TRUE(succeeded(CCreatorTable::registerCreator(row.tag, row.creator, row.classInit)));
}

}
