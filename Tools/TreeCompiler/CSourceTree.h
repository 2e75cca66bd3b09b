// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TreeCompiler/CMistake.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace pugi
{
class xml_node;
}

namespace kor
{

/// One attribute: name and value, as written.
using CTreeAttr = std::pair<std::string, std::string>;

/// Compiled trees nest at most this deep, their root counted: what loads them refuses more.
inline constexpr int maxTreeLevels = 256;

/// An element of a source tree as it was written, includes resolved. For a template `tag` is "template", `base` its
/// base type, `mixIns` the names in its `with`, and the attributes are those that its instances get. A template without
/// a base is there only to be mixed into others.
struct CSourceNode
{
    std::shared_ptr<const std::string> file;
    int line = 0;
    std::string tag;
    std::string name;
    std::string base;
    std::vector<std::string> mixIns;
    bool isTemplate = false;
    std::vector<CTreeAttr> attrs;
    std::vector<CSourceNode> children;

    bool isMixIn() const { return isTemplate && base.empty(); }
    CMistake mistake(const std::string& text) const { return {*file, line, text}; }
    std::string place() const { return *file + ":" + std::to_string(line); }
};

// Reads a source tree with everything that it includes, and checks all that can be seen without knowing types and
// templates: well-formed XML, names, what `template` and `include` need, no text, no circle of includes.
class CSourceReader
{
public:
    /// `root` becomes the element `tree` of the file, with empty tag and name.
    CMistake read(const std::string& path, CSourceNode& root);

    /// Every file read or tried so far, once each, in order of first use.
    const std::vector<std::string>& files() const { return used; }

private:
    struct CFile;

    CMistake readFile(const std::string& path, const CSourceNode* include, CSourceNode& parent, int level);
    CMistake readChildren(const CFile& file, const pugi::xml_node& element, CSourceNode& parent, int level);
    CMistake readElement(const CFile& file, const pugi::xml_node& element, CSourceNode& parent, int level);
    CMistake readInclude(const CFile& file, const pugi::xml_node& element, CSourceNode& parent, int level);
    CMistake readAttributes(const pugi::xml_node& element, CSourceNode& node);

    std::vector<std::string> used;
    std::vector<std::string> openFiles;             // canonical paths of the files being read, outermost first
};

}
