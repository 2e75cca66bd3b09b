// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TreeCompiler/CTreeNode.h"
#include "TreeCompiler/CTypeList.h"

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace kor
{

struct CTemplateScope;

/// A template and, once somebody asked for it, its body with everything merged in.
struct CTemplate
{
    const CSourceNode* source;
    const CTemplateScope* scope;                    // where it is defined
    bool isComplete = false;
    CTreeNode body;
    int levels = 0;                                 // depth of the body, the body node itself counted
    std::size_t nodes = 0;                          // in the body
};

/// The templates defined directly under one element, with those that its own templates brought along.
struct CTemplateScope
{
    const CTemplateScope* outer;
    std::map<std::string, CTemplate*> own;
};

// Merges templates into the elements that use them. A tag means the template of that name nearest up the source tree,
// wherever in its parent it is defined; with no such template it is an object type. A template's base and body are read
// where the template stands, not where it is used; the base of a template never means the template itself, so that a
// template may bear the name of the type whose defaults it gives. What a template is made with is merged into its base,
// in the order written, before the template's own attributes and children.
// Of an element that uses a template the result has: the template's attributes in the template's order with the values
// that the element overrides, then the element's own; the template's children, an own child of the same name merged
// into the template's by this same rule, then the element's other children.
class CTreeExpander
{
public:
    explicit CTreeExpander(const CTypeList& typeList) : types(typeList) {}

    /// `source` and the types must outlive the object; `root` begins empty.
    CMistake expand(const CSourceNode& source, CTreeNode& root);

private:
    /// What a tag means: a template, or without one the object type.
    struct CMeaning
    {
        CTemplate* used;
        std::string type;
    };

    static CMeaning resolve(const std::string& tag, const CTemplateScope& scope, const CTemplate* except = nullptr);
    CMistake begin(CTreeNode& node, const CMeaning& meaning, const CSourceNode& user, int level);
    CMistake apply(CTreeNode& node, const CSourceNode& source, const CTemplateScope* outer, int level);
    CMistake applyChild(CTreeNode& node, const CSourceNode& child, std::size_t inherited, const CTemplateScope& scope,
                        std::map<std::string, std::size_t>& searched, int level);
    CMistake openScope(const CTreeNode& node, const CSourceNode& source, const CTemplateScope* outer,
                       CTemplateScope*& scope);
    CMistake complete(CTemplate& wanted, const CSourceNode& user);
    CMistake define(CTreeNode& node, CTemplate& definition, int level);
    CMistake mixIn(CTreeNode& node, const CTemplate& user);
    CMistake applyMixIn(CTreeNode& node, const CTemplate& added, const CSourceNode& user);
    CMistake checkCircle(const CTemplate& wanted, const CSourceNode& user) const;
    static CMistake checkMerge(const CTreeNode& into, const CSourceNode& child, const CTemplateScope& scope);

    const CTypeList& types;
    std::deque<CTemplate> templates;                // deques: what they hold never moves
    std::deque<CTemplateScope> scopes;
    std::vector<const CTemplate*> underWay;
    std::size_t nodeCount = 0;
    int calls = 0;                                  // of apply, one inside the other
};

}
