// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ProcessTestKit.h"
#include "Support/GraphNodes.h"
#include "Support/ReferenceCases.h"

#include <string>

namespace kor::test
{

// The product's shared tree and a root of a test's own beside it.
struct CBandTree
{
    ~CBandTree() { CApplication::destroyRootObject(root); }
    CProductTree product;
    CObject* root = nullptr;
};

// A small graph of a test's own beside the product's shared tree, every channel of it seen: of a dynamic band as the
// product wires it, or of a single node.
class CBandBench : private CBandTree, public CRunningGraph
{
public:
    using CLinks = std::vector<std::pair<const char*, const char*>>;

    /// The band's nodes, wired; what `outputNode` puts out is heard. linking: of both levelers at the start.
    static CBandBench band(const char* outputNode = "modSignalMix", double linking = 1.0);

    /// One node of the band alone, with links of the test's own.
    static CBandBench node(const char* name, const CLinks& links);
    CBandBench(const CBandBench&) = delete;
    CBandBench& operator=(const CBandBench&) = delete;

    /// Sets what a reference case says of a band but for its linking.
    void setBand(const nlohmann::json& in);

private:
    CBandBench(std::vector<CTreeNode> nodes, const CLinks& links);
};

}
