// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/ParameterCreators.h"
#include "Support/CTestTree.h"

#include <memory>

namespace kor::test
{

using CAttrs = std::vector<std::pair<std::string, std::string>>;

/// Attributes of a plain parameter, 0 to 10, default 1, with some of them replaced or added.
inline CAttrs paramAttrs(const CAttrs& changes)
{
    std::map<std::string, std::string> all = {{"converter", "shared::audio.paramcvt.real"},
                                              {"min-values", "0"},
                                              {"max-values", "10"},
                                              {"def-values", "1"}};
    for (const auto& [name, value] : changes)
        all[name] = value;
    return {all.begin(), all.end()};
}

/// Marks a list of nodes, as against the attributes of one parameter.
enum class CNodes
{
    list
};

// Definitions in a tree of their own beside a shared tree with the converters.
class CParamTree
{
public:
    CParamTree(CNodes, std::vector<CTreeNode> nodes)
    {
        for (const CCreatorRow& row : parameterCreators())
            addTestType(row);
        const CTreeNode converters{"core:object", "paramcvt", {}, {
            {"audio:cvt-real", "real"},
            {"audio:cvt-gain", "gain"},
            {"audio:cvt-percent", "percent"},
            {"audio:cvt-text", "text"},
            {"audio:cvt-enum", "enum"},
        }};
        CTreeNode shared;
        shared.children = {{"core:object", "audio", {}, {converters}}};
        CTreeNode root;
        root.children = std::move(nodes);
        tree = std::make_unique<CTestTree>(shared, root);
    }

    /// One parameter definition named "p".
    explicit CParamTree(const CAttrs& changes) 
        : CParamTree(CNodes::list, {{"audio:param", "p", paramAttrs(changes)}})
    {
    }

    const std::string& failure() const { return tree->loadFailure(); }
    CTestTree& operator*() { return *tree; }
    CAudioParamDef& def(const char* name = "p") { return dynamic_cast<CAudioParamDef&>(tree->at(name)); }

private:
    std::unique_ptr<CTestTree> tree;
};

// An instance's side: environment and collector with four groups, and parameters made from definitions.
class CParamFixture
{
public:
    explicit CParamFixture(const CAttrs& changes) : tree(changes) { start(); }
    CParamFixture(CNodes, std::vector<CTreeNode> nodes) : tree(CNodes::list, std::move(nodes)) { start(); }

    CAudioParam& param(const char* name = "p") { return collector.defineParam(CStringBuf(name), tree.def(name)); }

    CParamTree tree;
    CAudioEnv env;
    CAudioParamCollector collector;

private:
    void start()
    {
        EXPECT_EQ(tree.failure(), "");
        collector.setEnvironment(env);
        collector.setGroupCount(4);
    }
};

// Follows parameters as a node does: takes records into storages and keeps a list of what came.
class CFollower
{
public:
    struct CSeen
    {
        int group;
        int first;
        int count;
        double value;                               // the first; 0 for none

        friend bool operator==(const CSeen&, const CSeen&) = default;
        friend std::ostream& operator<<(std::ostream& out, const CSeen& seen)
        {
            return out << "{group " << seen.group << ", element " << seen.first << " + " << seen.count << ", value "
                       << seen.value << "}";
        }
    };

    void bind(CAudioParam& param, int group, int element)
    {
        followed = &param;
        boundGroup = group;
        param.addListener(listener, storage, group, element);
    }

    /// What has come since the last call.
    std::vector<CSeen> take()
    {
        std::vector<CSeen> seen;
        listener.takeChanges(
            [&](const CAudioParamRecord& record)
            {
                const CAudioParamRequest& change = record.request();
                if (change.param == followed)
                    storage.applyChange(change);
                seen.push_back({change.group, change.firstElement, change.elementCount,
                                change.elementCount > 0 ? change.values[0] : 0.0});
            });
        return seen;
    }

    CAudioParam* followed = nullptr;
    int boundGroup = everyIndex;
    CAudioParamStorage storage;
    CAudioParamListener listener;
};

}
