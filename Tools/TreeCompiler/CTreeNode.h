// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TreeCompiler/CSourceTree.h"

#include <string>
#include <vector>

namespace kor
{

struct CTemplate;

/// A node of the tree as it is compiled, all template uses merged in. A template definition has the tag "template",
/// the name of the template, the object type of its instances in `base`, and one child: the body, named "" and tagged
/// `base`.
struct CTreeNode
{
    std::string tag;
    std::string name;
    std::string base;
    bool isTemplate = false;
    std::vector<CTreeAttr> attrs;
    std::vector<CTreeNode> children;

    // Where it came from.
    const CSourceNode* source = nullptr;            // the element that had the last word; for mistakes
    std::vector<const CTemplate*> templates;        // those merged into it, the one written in the source first
    CTemplate* definition = nullptr;                // of a template definition
};

}
