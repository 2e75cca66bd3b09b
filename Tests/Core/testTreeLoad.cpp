// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "Core/CTemplateBody.h"
#include "Core/CTreeReader.h"
#include "Support/CFreshDataFolders.h"
#include "Support/RichTree.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>

namespace kor::test
{
namespace
{

using CBytes = CTreeBytes::CBytes;

/// A stream that is no memory, as a file is.
class CIndirectReader : public CMemoryReader
{
public:
    using CMemoryReader::CMemoryReader;
    const void* getDirectPointer() override { return nullptr; }
};

CTreeNode nest(int depth)
{
    CTreeNode node{"core:object", "n", {{"depth", std::to_string(depth)}}};
    if (depth > 1)
        node.children.push_back(nest(depth - 1));
    return node;
}

/// Loads bytes into a root beside the test's own; the outcome as text, "" for success.
std::string load(const CBytes& bytes, bool direct, CObject* root)
{
    CMemoryReader memory(bytes.data(), bytes.size());
    CIndirectReader indirect(bytes.data(), bytes.size());
    return CTreeReader::load(*root, direct ? memory : indirect, true).message();
}

struct CLoaded
{
    CLoaded(const CBytes& bytes, bool direct)
    {
        root->makeRoot(nullptr);
        failure = load(bytes, direct, root);
    }
    ~CLoaded() { CObject::destroy(root); }

    CObject* root = new CObject;
    std::string failure;
};

std::string describeTree(const CObject& object)
{
    std::string text = object.tag().toUtf8() + "(";
    for (const auto& [name, value] : object.attributes())
        text += name.toUtf8() + "=" + value.asString().toUtf8() + ";";
    for (const CObject* child : object.children())
        text += describeTree(*child);
    return text + ")";
}

}

TEST(TreeLoad, BytesOnTheWire)
{
    // Written by hand: strings "", "core:object", "k", "v"; root with one attribute and one child "k" (k=v).
    const unsigned char bytes[] = {
        4, 0, 0, 0,  33, 0, 0, 0,
        16, 0, 0, 0,  17, 0, 0, 0,  29, 0, 0, 0,  31, 0, 0, 0,
        0,  'c', 'o', 'r', 'e', ':', 'o', 'b', 'j', 'e', 'c', 't', 0,  'k', 0,  'v', 0,
        0, 0,  0, 0,  0,  1, 0,  3, 0, 2, 0,  1, 0,
        1, 0,  2, 0,  0,  1, 0,  2, 0, 3, 0,  0, 0,
    };
    CTestTree tree;
    for (const bool direct : {true, false})
    {
        const CLoaded loaded(CBytes(std::begin(bytes), std::end(bytes)), direct);
        EXPECT_EQ(loaded.failure, "");
        EXPECT_EQ(describeTree(*loaded.root), "(v=k;core:object(full-name=k;k=v;name=k;))");
    }
}

TEST(TreeLoad, MemoryAndFileGiveTheSameTree)
{
    CTestTree tree;
    const CBytes bytes = CTreeBytes::of(richTree());
    const std::string expected =
        "(a=1;core:object(full-name=x;l=;name=x;v=11;core:object(full-name=x.x;name=x;)"
        "core:object(full-name=x.x#1;name=x#1;))"
        "template(full-name=small;name=small;)template(full-name=big;name=big;)"
        "core:object(full-name=y;name=y;u=\xC3\xA9\xE2\x82\xAC;)"
        "core:shortcut(full-name=s;name=s;core:object(full-name=s.to;name=to;target=x.x#;)))";
    CLoaded direct(bytes, true);
    CLoaded* file = nullptr;
    {
        // The bytes of a file are gone once it is loaded; its templates must not need them.
        const auto copy = std::make_unique<CBytes>(bytes);
        file = new CLoaded(*copy, false);
        std::fill(copy->begin(), copy->end(), static_cast<unsigned char>(0xEE));
    }
    for (CLoaded* loaded : {&direct, file})
    {
        EXPECT_EQ(loaded->failure, "");
        EXPECT_EQ(describeTree(*loaded->root), expected);
        CObject* small = nullptr;
        CObject* big = nullptr;
        CObject* nested = nullptr;
        EXPECT_TRUE(succeeded(loaded->root->createChild(small, "small", "i", true)));
        EXPECT_TRUE(succeeded(loaded->root->createChild(big, "big", "i", true)));
        CObject::destroy(loaded->root->findObject("big"));
        EXPECT_TRUE(succeeded(big->createChild(nested, "nested", "m", true)));
        EXPECT_EQ(describeTree(*small), "small(full-name=i;name=i;t=1;)");
        EXPECT_EQ(describeTree(*nested),
                  "nested(full-name=i#1.m;n=1;name=m;core:object(full-name=i#1.m.leaf;name=leaf;))");
    }
    delete file;
}

TEST(TreeLoad, BodiesOfFilesAreCopied)
{
    const CBytes bytes(49, 7);
    EXPECT_EQ(CTemplateBody("b", bytes.data(), 49, true, nullptr).data(), bytes.data());
    for (const std::size_t size : {48u, 49u})
        EXPECT_NE(CTemplateBody("b", bytes.data(), size, false, nullptr).data(), bytes.data());
}

TEST(TreeLoad, NeutralValuesOverrideButCreateNothing)
{
    CTestTree tree;
    CTreeNode node;
    node.attrs = {{"w", "false"}, {"z", "false"}};
    CLoaded loaded(CTreeBytes::of({}), true);
    EXPECT_EQ(describeTree(*loaded.root), "()");
    EXPECT_TRUE(succeeded(loaded.root->setAttrString("w", "1", false)));
    EXPECT_EQ(load(CTreeBytes::of(node), true, loaded.root), "");
    EXPECT_EQ(describeTree(*loaded.root), "(w=false;)");
}

TEST(TreeLoad, DamagedTreesAreRefused)
{
    const CBytes good = CTreeBytes::of(richTree());
    const auto changed = [&good](std::size_t place, unsigned char value)
    {
        CBytes bytes = good;
        bytes[place] = value;
        return bytes;
    };
    const std::size_t nodes = 8 + (good[4] | good[5] << 8);
    CBytes lyingBody;
    {
        CTreeBytes writer;
        CBytes node;
        for (int i = 0; i < 2; ++i)
            writer.addIndex(node, "");
        node.insert(node.end(), {1, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF});
        lyingBody = writer.assemble(node);
    }
    struct Case
    {
        const char* what;
        CBytes bytes;
        const char* failure;
    };
    const Case cases[] = {
        {"half a head", CBytes(good.begin(), good.begin() + 6), "Premature end of memory resource while reading"},
        {"only a head", CBytes(good.begin(), good.begin() + 8), "Premature end of memory resource while skipping"},
        {"pool cut", CBytes(good.begin(), good.begin() + static_cast<long>(nodes) - 1),
         "Premature end of memory resource while skipping"},
        {"last byte cut", CBytes(good.begin(), good.end() - 1), "Premature end of memory resource while reading"},
        {"string count", changed(2, 0x10), "Object tree has"},
        {"string offset", changed(10, 0x7F), "String 0 of an object tree lies outside of its pool"},
        {"string in the offsets", changed(8, 3), "String 0 of an object tree lies outside of its pool"},
        {"string without end", changed(nodes - 1, 'x'), "lies outside of its pool"},
        {"attribute name", changed(nodes + 8, 0xFF), "Object tree refers to string"},
        {"attribute value", changed(nodes + 10, 0xFF), "Object tree refers to string"},
        {"attribute count", changed(nodes + 6, 0xFF), "Premature end of memory resource while reading"},
        {"child tag", changed(nodes + 18, 0xFF), "Object tree refers to string"},
        {"child count", changed(nodes + 16, 0xFF), "Premature end of memory resource while reading"},
        {"body size", lyingBody, "Premature end of memory resource while reading"},
        {"depth", CTreeBytes::of(nest(257)), "Object tree is nested more than 256 levels deep."},
    };
    CTestTree tree;
    for (const Case& c : cases)
        for (const bool direct : {true, false})
        {
            // In the indirect case the stream itself notices a file that is shorter than its head.
            const CLoaded loaded(c.bytes, direct);
            EXPECT_EQ(loaded.failure.find(c.failure) == std::string::npos ? loaded.failure : "", "") << c.what;
            EXPECT_NE(loaded.failure, "") << c.what;
        }
    const CLoaded deepest(CTreeBytes::of(nest(256)), true);
    EXPECT_EQ(deepest.failure, "");
}

TEST(ResourceReader, TableFirstThenAbsoluteFile)
{
    const CFreshDataFolders folders;
    const std::string path = folders.root() + "tree.bin";
    std::ofstream(path) << "from file";
    const auto contents = [](const std::string& name)
    {
        CResourceReader reader;
        if (CError failure = reader.open(CStringBuf::fromUtf8(name)))
            return failure.message();
        std::int64_t size = 0;
        EXPECT_TRUE(succeeded(reader.getSize(size)));
        std::string text(static_cast<std::size_t>(size), ' ');
        EXPECT_TRUE(succeeded(reader.read(text.data(), size)));
        return text;
    };
    EXPECT_EQ(contents(path), "from file");
    addTestResource(path, {'m', 'e', 'm'});
    EXPECT_EQ(contents(path), "mem");

    // What lies in the working directory is no resource.
    std::string working(4096, '\0');
    ASSERT_NE(getcwd(working.data(), working.size()), nullptr);
    ASSERT_EQ(chdir(folders.root().c_str()), 0);
    EXPECT_EQ(contents("tree.bin"), "Unable to open file 'tree.bin' for reading (error 2).");
    ASSERT_EQ(chdir(working.c_str()), 0);
}

}
