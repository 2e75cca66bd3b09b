// SPDX-License-Identifier: GPL-3.0-or-later
#include "TreeCompiler/CTreeExpander.h"

#include <algorithm>

namespace kor
{

namespace
{

/// A window holds a few thousand objects; templates that use each other twice and more reach this by mistake only.
constexpr std::size_t maxNodes = 1000000;

/// Elements under way at one moment. Templates are read where they are first used, so levels of several add up here;
/// a tree that may be loaded needs less than twice its levels.
constexpr int maxCalls = 2 * maxTreeLevels;

int levelsOf(const CTreeNode& node)
{
    int deepest = 0;
    for (const CTreeNode& child : node.children)
        deepest = std::max(deepest, levelsOf(child));
    return deepest + 1;
}

std::size_t nodesOf(const CTreeNode& node)
{
    std::size_t count = 1;
    for (const CTreeNode& child : node.children)
        count += nodesOf(child);
    return count;
}

void setAttr(std::vector<CTreeAttr>& attrs, const CTreeAttr& attr)
{
    const auto found = std::find_if(attrs.begin(), attrs.end(),
                                    [&](const CTreeAttr& present) { return present.first == attr.first; });
    if (found != attrs.end())
        found->second = attr.second;
    else
        attrs.push_back(attr);
}

CMistake tooDeep(const CSourceNode& node)
{
    return node.mistake("'" + node.tag + "' is nested deeper than " + std::to_string(maxTreeLevels) +
                        " levels, counting what templates bring along");
}

}

CMistake CTreeExpander::expand(const CSourceNode& source, CTreeNode& root)
{
    return apply(root, source, nullptr, 1);
}

CTreeExpander::CMeaning CTreeExpander::resolve(const std::string& tag, const CTemplateScope& scope,
                                               const CTemplate* except)
{
    for (const CTemplateScope* s = &scope; s != nullptr; s = s->outer)
    {
        const auto found = s->own.find(tag);
        if (found != s->own.end() && found->second != except)
            return {found->second, ""};
    }
    return {nullptr, tag};
}

CMistake CTreeExpander::begin(CTreeNode& node, const CMeaning& meaning, const CSourceNode& user, int level)
{
    std::size_t added = 1;
    if (meaning.used != nullptr)
    {
        if (meaning.used->source->isMixIn())
            return user.mistake("template '" + meaning.used->source->name + "' has no base, so it can only be mixed "
                                "into other templates (defined at " + meaning.used->source->place() + ")");
        if (CMistake m = complete(*meaning.used, user))
            return m;
        if (level + meaning.used->levels - 1 > maxTreeLevels)
            return tooDeep(user);
        added = meaning.used->nodes;
    }
    nodeCount += added;
    if (nodeCount > maxNodes)
        return user.mistake("the tree grows beyond " + std::to_string(maxNodes) + " nodes here");
    if (meaning.used == nullptr)
    {
        node.tag = meaning.type;
        return {};
    }
    node = meaning.used->body;
    node.templates.insert(node.templates.begin(), meaning.used);
    return {};
}

CMistake CTreeExpander::apply(CTreeNode& node, const CSourceNode& source, const CTemplateScope* outer, int level)
{
    if (calls >= maxCalls)
        return tooDeep(source);
    ++calls;
    node.source = &source;
    for (const CTreeAttr& attr : source.attrs)
        setAttr(node.attrs, attr);

    CTemplateScope* scope = nullptr;
    if (CMistake m = openScope(node, source, outer, scope))
        return m;
    const std::size_t inherited = node.children.size();
    std::map<std::string, std::size_t> searched;
    for (const CSourceNode& child : source.children)
        if (CMistake m = applyChild(node, child, inherited, *scope, searched, level + 1))
            return m;
    --calls;
    return {};
}

CMistake CTreeExpander::openScope(const CTreeNode& node, const CSourceNode& source, const CTemplateScope* outer,
                                  CTemplateScope*& scope)
{
    scope = &scopes.emplace_back(CTemplateScope{outer, {}});
    for (const CTreeNode& child : node.children)
        if (child.isTemplate)
            scope->own.emplace(child.name, child.definition);
    for (const CSourceNode& child : source.children)
    {
        if (!child.isTemplate)
            continue;
        CTemplate& added = templates.emplace_back();
        added.source = &child;
        added.scope = scope;
        const auto [place, isNew] = scope->own.emplace(child.name, &added);
        if (!isNew)
            return child.mistake("template '" + child.name + "' is already defined at " +
                                 place->second->source->place());
    }
    return {};
}

CMistake CTreeExpander::applyChild(CTreeNode& node, const CSourceNode& child, std::size_t inherited,
                                   const CTemplateScope& scope, std::map<std::string, std::size_t>& searched, int level)
{
    if (level > maxTreeLevels)
        return tooDeep(child);
    if (child.isMixIn())
    {
        // It leaves no trace of its own; this finds the mistakes in one that nobody uses.
        CTreeNode unused;
        return applyMixIn(unused, *scope.own.at(child.name), child);
    }
    if (child.isTemplate)
        return define(node.children.emplace_back(), *scope.own.at(child.name), level);

    // The first own child of a name meets the template's first of that name, the second the second.
    if (!child.name.empty())
    {
        std::size_t& next = searched[child.name];
        while (next < inherited && (node.children[next].isTemplate || node.children[next].name != child.name))
            ++next;
        if (next < inherited)
        {
            CTreeNode& into = node.children[next++];
            if (CMistake m = checkMerge(into, child, scope))
                return m;
            return apply(into, child, &scope, level);
        }
    }

    const CMeaning meaning = resolve(child.tag, scope);
    if (meaning.used == nullptr && !types.contains(meaning.type))
        return child.mistake("unknown object type '" + child.tag + "' (neither a type nor a template seen from here)");
    CTreeNode added;
    if (CMistake m = begin(added, meaning, child, level))
        return m;
    added.name = child.name;
    if (CMistake m = apply(added, child, &scope, level))
        return m;
    node.children.push_back(std::move(added));
    return {};
}

CMistake CTreeExpander::checkMerge(const CTreeNode& into, const CSourceNode& child, const CTemplateScope& scope)
{
    const CMeaning meaning = resolve(child.tag, scope);
    const auto used = std::find(into.templates.begin(), into.templates.end(), meaning.used);
    if (meaning.used != nullptr ? used != into.templates.end() : into.tag == meaning.type)
        return {};
    return child.mistake("'" + child.name + "' is a '" + child.tag + "' here, but a '" + into.source->tag + "' at " +
                         into.source->place() + ", into which it would be merged");
}

CMistake CTreeExpander::complete(CTemplate& wanted, const CSourceNode& user)
{
    if (wanted.isComplete)
        return {};
    const CSourceNode& source = *wanted.source;
    if (CMistake m = checkCircle(wanted, user))
        return m;
    underWay.push_back(&wanted);

    const CMeaning base = resolve(source.base, *wanted.scope, &wanted);
    if (base.used == nullptr && !types.contains(base.type))
        return source.mistake("template '" + source.name + "' has the unknown base '" + source.base +
                              "' (neither a type nor a template seen from here)");
    if (CMistake m = begin(wanted.body, base, source, 1))
        return m;
    if (CMistake m = mixIn(wanted.body, wanted))
        return m;
    if (CMistake m = apply(wanted.body, source, wanted.scope, 1))
        return m;
    wanted.levels = levelsOf(wanted.body);
    wanted.nodes = nodesOf(wanted.body);
    wanted.isComplete = true;
    underWay.pop_back();
    return {};
}

CMistake CTreeExpander::checkCircle(const CTemplate& wanted, const CSourceNode& user) const
{
    auto t = std::find(underWay.begin(), underWay.end(), &wanted);
    if (t == underWay.end())
        return {};
    const std::string& name = wanted.source->name;
    std::string circle;
    for (; t != underWay.end(); ++t)
        circle += (*t)->source->name + " > ";
    return user.mistake("template '" + name + "' needs itself (" + circle + name + ")");
}

CMistake CTreeExpander::mixIn(CTreeNode& node, const CTemplate& user)
{
    const CSourceNode& source = *user.source;
    for (const std::string& name : source.mixIns)
    {
        const CTemplate* found = resolve(name, *user.scope).used;
        if (found == nullptr || !found->source->isMixIn())
            return source.mistake("template '" + source.name + "' is made with '" + name + "', which " +
                                  (found == nullptr ? "is no template seen from here" : "has a base of its own"));
        if (CMistake m = applyMixIn(node, *found, source))
            return m;
    }
    return {};
}

CMistake CTreeExpander::applyMixIn(CTreeNode& node, const CTemplate& added, const CSourceNode& user)
{
    if (CMistake m = checkCircle(added, user))
        return m;
    underWay.push_back(&added);
    if (CMistake m = mixIn(node, added))
        return m;
    if (CMistake m = apply(node, *added.source, added.scope, 1))
        return m;
    underWay.pop_back();
    return {};
}

CMistake CTreeExpander::define(CTreeNode& node, CTemplate& definition, int level)
{
    if (CMistake m = complete(definition, *definition.source))
        return m;
    if (level + definition.levels > maxTreeLevels)
        return tooDeep(*definition.source);
    nodeCount += definition.nodes;
    node.tag = "template";
    node.name = definition.source->name;
    node.base = definition.body.tag;
    node.isTemplate = true;
    node.source = definition.source;
    node.definition = &definition;
    node.children.push_back(definition.body);
    return {};
}

}
