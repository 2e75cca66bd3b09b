// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioProcessDefBase.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamRemapDef.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "SharedTree.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace kor::test
{

namespace
{

using nlohmann::json;
using CAttrs = std::map<std::string, std::string>;

/// One line for each object: where, type, attributes.
using CLineSet = std::multiset<std::string>;

const json& product()
{
    static const json read = json::parse(std::ifstream(MORVA_TEST_REFERENCE "/tree.json"));
    return read;
}

std::string lineOf(const std::string& place, const std::string& type, const CAttrs& attrs)
{
    std::string line = place + " " + type;
    for (const auto& [name, value] : attrs)
        if (!value.empty() && value != "false")
            line += " " + name + "='" + value + "'";
    return line;
}

/// "a{b,c}d" stands for abd and acd.
std::vector<std::string> expand(const std::string& text)
{
    const std::size_t open = text.find('{');
    if (open == std::string::npos)
        return {text};
    const std::size_t close = text.find('}', open);
    std::vector<std::string> all;
    std::istringstream choices(text.substr(open + 1, close - open - 1));
    for (std::string choice; std::getline(choices, choice, ',');)
        for (const std::string& rest : expand(text.substr(close + 1)))
            all.push_back(text.substr(0, open) + choice + rest);
    return all;
}

void add(CLineSet& lines, const std::string& places, const std::string& type, const CAttrs& own)
{
    CAttrs attrs = own;
    const json& defaults = product().at("defaults");
    if (defaults.contains(type))
        for (const auto& [name, value] : defaults.at(type).items())
            attrs.emplace(name, value);
    for (const std::string& place : expand(places))
        lines.insert(lineOf(place, type, attrs));
}

CAttrs paramAttrs(const json& row)
{
    CAttrs attrs = {{"converter", "shared::audio.paramcvt." + row.at("converter").get<std::string>()},
                    {"def-values", row.at("default")}};
    const std::string range = row.at("range");
    const std::size_t dots = range.find("..");
    if (dots == std::string::npos)
        attrs["data-type"] = range;
    else
    {
        attrs["min-values"] = range.substr(0, dots);
        attrs["max-values"] = range.substr(dots + 2);
    }
    std::istringstream flags(row.at("flags").get<std::string>());
    for (std::string flag; flags >> flag;)
        attrs["is-" + flag] = "true";
    for (const char* name : {"visual-name", "state-names", "param-registry"})
        attrs[name] = row.value(name, "");
    return attrs;
}

CLineSet wantedLines()
{
    CLineSet lines;
    for (const json& row : product().at("objects"))
        add(lines, row.at("path"), row.at("type"), row.value("attributes", CAttrs()));
    for (const json& row : product().at("parameters"))
        add(lines, row.at("path"), "audio:param", paramAttrs(row));
    for (const json& row : product().at("slots"))
    {
        const std::vector<std::string> names = row.at("parameters");
        for (std::size_t i = 0; i < names.size(); ++i)
        {
            CAttrs attrs = {{"param-name", names[i]}, {"index", std::to_string(i)}};
            for (const char* flag : {"use-all-groups", "use-all-elements", "is-smooth-update"})
                for (const std::string& name : row.value(flag, std::vector<std::string>()))
                    if (name == names[i])
                        attrs[flag] = "true";
            add(lines, row.at("of"), "audio:param-alloc", attrs);
        }
    }
    for (const auto& [list, type] : {std::pair("remaps", "audio:param-remap"), std::pair("links", "audio:process-link"),
                                     std::pair("bypass-states", "audio:process-bypass-state")})
        for (const json& row : product().at(list))
        {
            CAttrs attrs = row;
            attrs.erase("of");
            add(lines, row.at("of"), type, attrs);
        }
    return lines;
}

CAttrs attrsOf(const CObject& object)
{
    CAttrs attrs;
    for (const auto& [name, value] : object.attributes())
        if (!name.equals("name") && !name.equals("full-name"))
            attrs[name.toUtf8()] = value.asString().toUtf8();
    return attrs;
}

/// The one name of a bypass state that means something.
const std::string vizState = "process-bypass-state-viz";

/// The lines of everything below an object. The names of slots, remaps, links and other states mean nothing.
void addLinesBelow(CLineSet& lines, const CObject& object, const std::string& place)
{
    static const std::set<std::string> elsewhere = {"paramcvt", "flt", "fltarray", "morvafilters"};
    static const std::set<std::string> nameless = {"audio:param-alloc", "audio:process-link",
                                                   "audio:process-bypass-state"};
    for (const CObject* child : object.children())
    {
        const std::string type = child->tag().toUtf8();
        const std::string name = child->name().toUtf8();
        if (child->isTemplate() || (place.empty() && elsewhere.contains(name)))
            continue;
        if (const auto* remap = dynamic_cast<const CAudioParamRemapDef*>(child))
        {
            for (const CAudioParamRemapDef::CPair& pair : remap->pairs())
                lines.insert(lineOf(place, type, {{"orig", pair.orig.toUtf8()}, {"new", pair.replacement.toUtf8()}}));
            continue;
        }
        const std::string childPlace = place.empty() ? name : place + "." + name;
        CAttrs attrs = attrsOf(*child);
        if (name.starts_with(vizState)) // with an index behind it where there are several
            attrs["name"] = vizState;
        lines.insert(lineOf(nameless.contains(type) ? place : childPlace, type, attrs));
        addLinesBelow(lines, *child, childPlace);
    }
}

}

TEST_F(SharedTree, HasTheEqualizerAsDefinedAndNothingElse)
{
    const CLineSet wanted = wantedLines();
    ASSERT_GT(wanted.size(), 500u);
    CLineSet present;
    addLinesBelow(present, at("audio"), "");
    std::vector<std::string> missing;
    std::vector<std::string> surplus;
    std::ranges::set_difference(wanted, present, std::back_inserter(missing));
    std::ranges::set_difference(present, wanted, std::back_inserter(surplus));
    for (const std::string& line : missing)
        ADD_FAILURE() << "missing: " << line;
    for (const std::string& line : surplus)
        ADD_FAILURE() << "surplus: " << line;
}

// Where nodes are linked by themselves, their order is the way of the sound.
TEST_F(SharedTree, KeepsTheOrderOfItsNodes)
{
    for (const auto& [place, names] : product().at("order").items())
    {
        std::vector<std::string> present;
        for (const CObject* child : at(place.empty() ? "audio" : "audio." + place).children())
            if (!child->isTemplate() && (place.empty() || dynamic_cast<const CAudioProcessDefBase*>(child) != nullptr))
                present.push_back(child->name().toUtf8());
        EXPECT_EQ(present, names.get<std::vector<std::string>>()) << place;
    }
}

// What a project stores is known by these names for ever.
TEST_F(SharedTree, StoresTheStateOfAnInstanceUnderItsKeys)
{
    CAudioInstance instance;
    ASSERT_TRUE(succeeded(instance.create()));
    std::set<std::string> stored;
    for (const CStringBuf& key : instance.paramKeys())
    {
        const CAudioParamInfo& info = instance.findParam(key)->info();
        // The times of a dyn mode are stored with the modes.
        if ((info.isStorable || info.isPersistent) && !key.startsWith("modMorvaEQ.dyn-params."))
            stored.insert(key.toUtf8());
    }
    EXPECT_EQ(stored, product().at("state-keys").get<std::set<std::string>>());
}

}
