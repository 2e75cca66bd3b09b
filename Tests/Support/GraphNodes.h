// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CStringBuf.h"
#include "Support/CTreeBytes.h"

#include <string>
#include <utility>
#include <vector>

namespace kor::test
{

// Definition trees of graphs as tests write them.

using CAttrs = std::vector<std::pair<std::string, std::string>>;

inline CTreeNode node(const char* tag, const std::string& name, CAttrs attrs = {}, std::vector<CTreeNode> children = {})
{
    return {tag, name, std::move(attrs), std::move(children), {}};
}

inline CTreeNode process(const char* name, CAttrs attrs, std::vector<CTreeNode> children)
{
    return node("audio:process-def", name, std::move(attrs), std::move(children));
}

inline CTreeNode autoProcess(const char* name, std::vector<CTreeNode> children)
{
    return process(name, {{"is-auto-links", "true"}}, std::move(children));
}

inline CTreeNode link(const std::string& src, const std::string& dst, const char* bypassStateIds = "")
{
    return node("audio:process-link", "link-" + src + "-" + dst,
                {{"src", src}, {"dst", dst}, {"bypass-state-id", bypassStateIds}});
}

inline CTreeNode state(int id, const char* param, CAttrs attrs = {})
{
    attrs.insert(attrs.end(), {{"id", std::to_string(id)}, {"param", param}});
    return node("audio:process-bypass-state", "state" + std::to_string(id), std::move(attrs));
}

inline CTreeNode remap(const char* orig, const char* replacement)
{
    return node("audio:param-remap", std::string("remap-") + orig, {{"orig", orig}, {"new", replacement}});
}

/// The converter that parameters made here use, for the shared tree.
inline CTreeNode converters()
{
    return node("core:object", "cvt", {}, {node("audio:cvt-real", "real")});
}

/// A parameter from -100000 to 100000; `defaults` is a list of groups of elements, as in "1,2;3".
inline CTreeNode param(const char* name, const std::string& defaults, CAttrs attrs = {})
{
    attrs.insert(attrs.end(), {{"converter", "shared::cvt.real"},
                               {"min-values", "-100000"},
                               {"max-values", "100000"},
                               {"def-values", defaults}});
    return node("audio:param", name, std::move(attrs));
}

inline CTreeNode param(const char* name, double value = 0.0, CAttrs attrs = {})
{
    return param(name, CStringBuf::fromDouble(value).toUtf8(), std::move(attrs));
}

/// The same for all groups that have none of their own.
inline CTreeNode globalParam(const char* name, const std::string& defaults)
{
    return param(name, defaults, {{"is-global", "true"}});
}

inline CTreeNode globalParam(const char* name, double value = 0.0)
{
    return param(name, value, {{"is-global", "true"}});
}

/// The slot that takes a parameter.
inline CTreeNode slot(const char* paramName, int index, CAttrs attrs = {})
{
    attrs.insert(attrs.end(), {{"param-name", paramName}, {"index", std::to_string(index)}});
    return node("audio:param-alloc", std::string("slot-") + paramName, std::move(attrs));
}

}
