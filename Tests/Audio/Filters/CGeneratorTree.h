// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Filters/DesignCases.h"
#include "Audio/Filters/FilterCreators.h"
#include "Support/CTestTree.h"

#include <utility>
#include <vector>

namespace kor::test
{

/// Attributes by name, as a tree would write them.
using CAttrTexts = std::vector<std::pair<const char*, std::string>>;

// A tree that generators are put into one by one, as their cases ask for them.
class CGeneratorTree
{
public:
    CGeneratorTree()
    {
        for (const CCreatorRow& row : filterCreators())
            addTestType(row);
    }

    /// A new object below `parent` (null: the root); `error` takes the failure, and the result is null then.
    CObject* make(CError& error, const char* tag, const CAttrTexts& texts, CObject* parent = nullptr,
                  const CStringBuf& name = "#")
    {
        CAttrMap attrs;
        for (const auto& [key, value] : texts)
            attrs[key].setString(CStringBuf(std::string_view(value)));
        CObject* made = nullptr;
        error = (parent != nullptr ? *parent : tree.root()).createChild(made, tag, name, false, nullptr, &attrs);
        return made;
    }

    /// The same for an object that has to work; the running test fails otherwise.
    template <class T = CAudioFilterGen>
    T& need(const char* tag, const CAttrTexts& texts, CObject* parent = nullptr)
    {
        CError error;
        auto* made = dynamic_cast<T*>(make(error, tag, texts, parent));
        EXPECT_TRUE(succeeded(error)) << tag;
        if (made == nullptr)
            std::abort();
        return *made;
    }

    /// The generator that the inputs of a reference case describe.
    CAudioFilterGen& fromCase(const nlohmann::json& in);

    CObject& root() { return tree.root(); }

private:
    CTestTree tree;
};

}
