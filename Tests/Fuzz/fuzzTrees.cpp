// SPDX-License-Identifier: GPL-3.0-or-later
// Compiled object trees, with the types of the product.
#include "Core/CApplication.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Core/CResourceTable.h"
#include "Core/CTreeReader.h"
#include "Fuzz/FuzzTargets.h"
#include "Support/RichTree.h"

namespace kor::test
{
namespace
{

/// A stream that is no memory, as a file is.
class CIndirectReader : public CMemoryReader
{
public:
    using CMemoryReader::CMemoryReader;
    const void* getDirectPointer() override { return nullptr; }
};

std::size_t walk(const CObject& object)
{
    std::size_t characters = 0;
    for (const auto& [name, value] : object.attributes())
        characters += static_cast<std::size_t>(value.asString().length());
    for (const CObject* child : object.children())
        characters += walk(*child);
    return characters;
}

}

int fuzzTree(const unsigned char* data, std::size_t size)
{
    // The sanitizers see a step past the end only of a block of its own.
    const std::vector<unsigned char> bytes(data, data + size);
    bool isLoaded = false;
    for (const bool isDirect : {true, false})
    {
        CObject* root = nullptr;
        require(!CApplication::initRootObject(root, ""), "a root is made");
        CMemoryReader memory(bytes.data(), bytes.size());
        CIndirectReader indirect(bytes.data(), bytes.size());
        CPosInputStream& stream = isDirect ? static_cast<CPosInputStream&>(memory) : indirect;
        isLoaded = !CTreeReader::load(*root, stream, true);
        if (isLoaded)
            for (const char* name : {"small", "big", "nested"})
            {
                CObject* made = nullptr;
                root->createChild(made, name, "i", true).ignore();
            }
        walk(*root);
        CApplication::destroyRootObject(root);
    }
    return isLoaded;
}

std::vector<std::string> treeSeeds()
{
    const CTreeBytes::CBytes rich = CTreeBytes::of(richTree());
    // Several times, since a load of the product's whole tree takes thousands of times as long.
    std::vector<std::string> seeds(50, std::string(rich.begin(), rich.end()));
    const CResourceTable::CBlock* shared = CResourceTable::find("SharedData.xml");
    require(shared != nullptr, "the product's tree is there");
    seeds.emplace_back(reinterpret_cast<const char*>(shared->data), shared->size);
    return seeds;
}

}
