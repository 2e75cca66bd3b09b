// SPDX-License-Identifier: GPL-3.0-or-later
#include "TreeCompiler/CSourceTree.h"

#include "TreeCompiler/CXmlScan.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace kor
{

namespace fs = std::filesystem;

struct CSourceReader::CFile
{
    std::shared_ptr<const std::string> path;
    std::string text;
    std::vector<std::size_t> lineStarts;

    /// Of a text: where its first character that is not blank stands.
    int lineOf(const pugi::xml_node& node) const
    {
        const auto start = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, node.offset_debug()));
        const std::size_t offset = text.find_first_not_of(" \t\r\n", start);
        return static_cast<int>(std::upper_bound(lineStarts.begin(), lineStarts.end(), offset) - lineStarts.begin());
    }
};

namespace
{

/// Whether an object can be reached by this name: nothing in it means something in a path, in a list of names or in an
/// expression in braces.
bool isObjectName(const std::string& name)
{
    return std::none_of(name.begin(), name.end(), [](char c)
    {
        return static_cast<unsigned char>(c) <= ' ' || c == '\x7F' || std::strchr(".^/#{}?*,;=", c) != nullptr;
    });
}

bool readBytes(const std::string& path, std::string& bytes, std::string& reason)
{
    std::error_code ignored;
    if (fs::is_directory(path, ignored))
    {
        reason = "it is a directory";
        return false;
    }
    std::ifstream in(path, std::ios::binary);
    if (in)
        bytes.assign(std::istreambuf_iterator<char>(in), {});
    if (!in || in.bad())
    {
        reason = std::strerror(errno);
        return false;
    }
    if (bytes.compare(0, 3, "\xEF\xBB\xBF") == 0)
        bytes.erase(0, 3);
    return true;
}

}

CMistake CSourceReader::read(const std::string& path, CSourceNode& root)
{
    return readFile(path, nullptr, root, 1);
}

CMistake CSourceReader::readFile(const std::string& path, const CSourceNode* include, CSourceNode& parent, int level)
{
    if (std::find(used.begin(), used.end(), path) == used.end())
        used.push_back(path);

    CFile file;
    file.path = std::make_shared<const std::string>(path);
    std::string reason;
    if (!readBytes(path, file.text, reason))
    {
        if (include != nullptr)
            return include->mistake("cannot include '" + path + "' (" + reason + ")");
        return {path, "cannot be read (" + reason + ")"};
    }
    std::error_code ignored;
    const std::string canonical = fs::weakly_canonical(path, ignored).string();
    if (include != nullptr && std::find(openFiles.begin(), openFiles.end(), canonical) != openFiles.end())
        return include->mistake("'" + path + "' includes itself, directly or through others");

    if (CMistake m = CXmlScan(*file.path, file.text).check())
        return m;
    file.lineStarts.push_back(0);
    for (std::size_t i = 0; i < file.text.size(); ++i)
        if (file.text[i] == '\n')
            file.lineStarts.push_back(i + 1);

    pugi::xml_document document;
    const pugi::xml_parse_result parsed = document.load_buffer(
        file.text.data(), file.text.size(), pugi::parse_default | pugi::parse_declaration, pugi::encoding_utf8);
    if (!parsed)
    {
        const auto stop = file.text.begin() + std::min<std::ptrdiff_t>(parsed.offset, std::ssize(file.text));
        return {path, static_cast<int>(1 + std::count(file.text.begin(), stop, '\n')), parsed.description()};
    }
    const std::string encoding = document.first_child().type() == pugi::node_declaration
                                     ? document.first_child().attribute("encoding").as_string("UTF-8")
                                     : "UTF-8";
    if (encoding != "UTF-8" && encoding != "utf-8")
        return {path, 1, "the encoding is '" + encoding + "' (source trees are UTF-8)"};

    const pugi::xml_node top = document.document_element();
    const int line = file.lineOf(top);
    if (std::strcmp(top.name(), "tree") != 0)
        return {path, line, "the root element is '" + std::string(top.name()) + "' (should be 'tree')"};
    if (include == nullptr)
    {
        parent.file = file.path;
        parent.line = line;
        if (CMistake m = readAttributes(top, parent))
            return m;
        if (!parent.name.empty())
            return parent.mistake("the root of a tree has no name");
    }
    else if (top.first_attribute())
    {
        const std::string attr = top.first_attribute().name();
        return {path, line, "an included 'tree' has no attributes, but here is '" + attr + "'"};
    }

    openFiles.push_back(canonical);
    if (CMistake m = readChildren(file, top, parent, level))
        return m;
    openFiles.pop_back();
    return {};
}

CMistake CSourceReader::readChildren(const CFile& file, const pugi::xml_node& element, CSourceNode& parent, int level)
{
    for (const pugi::xml_node child : element.children())
    {
        CMistake m;
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
            m = {*file.path, file.lineOf(child),
                 "text in '" + std::string(element.name()) + "' (an element holds attributes and elements only)"};
        else if (std::strcmp(child.name(), "include") == 0)
            m = readInclude(file, child, parent, level);
        else
            m = readElement(file, child, parent, level + 1);
        if (m)
            return m;
    }
    return {};
}

CMistake CSourceReader::readElement(const CFile& file, const pugi::xml_node& element, CSourceNode& parent, int level)
{
    CSourceNode node;
    node.file = file.path;
    node.line = file.lineOf(element);
    node.tag = element.name();
    node.isTemplate = node.tag == "template";
    if (node.tag == "tree")
        return node.mistake("'tree' can be the root element only");
    if (level > maxTreeLevels)
        return node.mistake("'" + node.tag + "' is nested deeper than " + std::to_string(maxTreeLevels) + " levels");
    if (CMistake m = readAttributes(element, node))
        return m;
    if (node.isTemplate && node.name.empty())
        return node.mistake("a template without a name");
    if (CMistake m = readChildren(file, element, node, level))
        return m;
    parent.children.push_back(std::move(node));
    return {};
}

CMistake CSourceReader::readAttributes(const pugi::xml_node& element, CSourceNode& node)
{
    for (const pugi::xml_attribute attr : element.attributes())
    {
        const std::string name = attr.name();
        if (name == "name")
        {
            node.name = attr.value();
            if (!isObjectName(node.name))
                return node.mistake("the name '" + node.name +
                                    "' holds a blank or one of . ^ / # { } ? * , ; =, so no path could reach it");
        }
        else if (name == "base" && node.isTemplate)
            node.base = attr.value();
        else if (name == "with" && node.isTemplate)
        {
            std::istringstream names(attr.value());
            for (std::string mixIn; names >> mixIn;)
                node.mixIns.push_back(mixIn);
        }
        else if (name == "full-name")
            return node.mistake("attribute 'full-name' is set by the program and cannot be written");
        else
            node.attrs.emplace_back(name, attr.value());
    }
    return {};
}

CMistake CSourceReader::readInclude(const CFile& file, const pugi::xml_node& element, CSourceNode& parent, int level)
{
    CSourceNode include;
    include.file = file.path;
    include.line = file.lineOf(element);
    std::string target;
    for (const pugi::xml_attribute attr : element.attributes())
    {
        if (std::strcmp(attr.name(), "file") != 0)
            return include.mistake("unknown attribute '" + std::string(attr.name()) + "' of an include");
        target = attr.value();
    }
    if (target.empty())
        return include.mistake("an include without a file");
    if (element.first_child())
        return include.mistake("an include holds nothing");
    return readFile((fs::path(*file.path).parent_path() / target).string(), &include, parent, level);
}

}
