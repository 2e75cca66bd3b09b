// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CTestTree.h"

#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "Core/CStringTable.h"
#include "Core/CTemplateBody.h"
#include "Core/CTreeReader.h"
#include "Support/CFreshDataFolders.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <random>

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

// Every feature of the format in few bytes.
CTreeNode richTree()
{
    CTreeNode root;
    root.attrs = {{"a", "1"}, {"e", ""}};
    root.children = {
        {"core:object", "x", {{"v", "{a}{/^ a}"}, {"l", "{*y w}"}}, {{"core:object", "x"}, {"core:object", "x"}}},
        {"template", "small", {{"t", "1"}}, {}, "core:object"},
        {"template", "big", {{"t1", "1"}, {"t2", "2"}, {"t3", "3"}, {"t4", "{full-name}"}},
         {{"core:object", "kid", {{"k", "{?d}"}, {"j", "{*kid k}"}}},
          {"template", "nested", {{"n", "1"}}, {{"core:object", "leaf"}}, "core:object"}}, "core:object"},
        {"core:object", "y", {{"w", "false"}, {"u", "\xC3\xA9\xE2\x82\xAC"}}},
        {"core:shortcut", "s", {}, {{"core:object", "to", {{"target", "x.x#"}}}}},
    };
    return root;
}

/// Loads bytes into a root beside the test's own; the outcome as text, "" for success.
std::string load(const CBytes& bytes, bool direct, CObject* root)
{
    CMemoryReader memory(bytes.data(), bytes.size());
    CIndirectReader indirect(bytes.data(), bytes.size());
    CPosInputStream& stream = direct ? static_cast<CPosInputStream&>(memory) : indirect;
    return CTreeReader::load(*root, stream, true).message();
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

const CStringBuf* decodeOne(std::shared_ptr<const CStringTable>& table, const std::string& utf8)
{
    CBytes pool;
    CTreeBytes::addU32(pool, 4);
    pool.insert(pool.end(), utf8.begin(), utf8.end());
    pool.push_back(0);
    return CStringTable::decode(table, pool.data(), pool.size(), 1) ? nullptr : &table->text(0);
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
        EXPECT_EQ(loaded.root->state(), 4);
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

TEST(TreeLoad, SmallBodiesOfFilesLieInTheRecord)
{
    const CBytes bytes(49, 7);
    const CTemplateBody borrowed("b", bytes.data(), 48, true, nullptr);
    const CTemplateBody small("b", bytes.data(), 48, false, nullptr);
    const CTemplateBody large("b", bytes.data(), 49, false, nullptr);
    EXPECT_EQ(borrowed.data(), bytes.data());
    EXPECT_TRUE(small.isInline());
    EXPECT_FALSE(large.isInline());
    EXPECT_NE(large.data(), bytes.data());
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), large.data()));
}

TEST(TreeLoad, RootMayStayUnstarted)
{
    CTestTree tree;
    addTestResource("late", CTreeBytes::of(richTree()));
    CObject* root = new CObject;
    root->makeRoot(nullptr);
    EXPECT_TRUE(succeeded(root->loadTree("late", false)));
    EXPECT_EQ(root->state(), 0);
    EXPECT_EQ(root->findObject("x.x")->state(), 4);
    EXPECT_EQ(root->getAttrInt("a"), 1);
    EXPECT_FALSE(root->hasAttr("e"));
    CObject::destroy(root);

    CObject* empty = new CObject;
    empty->makeRoot(nullptr);
    EXPECT_EQ(load(CTreeBytes::of({}), true, empty), "");
    EXPECT_EQ(describeTree(*empty), "()");
    EXPECT_TRUE(succeeded(empty->setAttrString("w", "1", false)));
    CTreeNode overriding;
    overriding.attrs = {{"w", "false"}, {"z", "false"}};
    EXPECT_EQ(load(CTreeBytes::of(overriding), true, empty), "");
    EXPECT_EQ(describeTree(*empty), "(w=false;)");
    CObject::destroy(empty);
}

TEST(TreeLoad, StringsAreNarrowUntilACharacterNeedsMore)
{
    std::shared_ptr<const CStringTable> table;
    const CStringBuf* latin = decodeOne(table, "\xC3\xA9\xC3\xBF");
    ASSERT_NE(latin, nullptr);
    EXPECT_FALSE(latin->isWide());
    EXPECT_EQ(*latin, CStringBuf("\xE9\xFF"));
    const CStringBuf* wide = decodeOne(table, "a\xC4\x80z");
    ASSERT_NE(wide, nullptr);
    EXPECT_TRUE(wide->isWide());
    EXPECT_EQ(*wide, CStringBuf(std::u16string_view(u"a\u0100z")));
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
        {"empty", {}, "Premature end of memory resource while reading"},
        {"half a head", CBytes(good.begin(), good.begin() + 6), "Premature end of memory resource while reading"},
        {"only a head", CBytes(good.begin(), good.begin() + 8), "Premature end of memory resource while skipping"},
        {"pool cut", CBytes(good.begin(), good.begin() + static_cast<long>(nodes) - 1),
         "Premature end of memory resource while skipping"},
        {"no node", CBytes(good.begin(), good.begin() + static_cast<long>(nodes)),
         "Premature end of memory resource while reading"},
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

TEST(TreeLoad, BodyMustBeAPlainNode)
{
    CTreeBytes writer;
    CBytes nodes;
    for (int i = 0; i < 2; ++i)
        writer.addIndex(nodes, "");
    nodes.insert(nodes.end(), {0, 0, 0, 1, 0});
    writer.addIndex(nodes, "template");
    writer.addIndex(nodes, "t");
    nodes.push_back(1);
    writer.addIndex(nodes, "core:object");
    CTreeBytes::addU32(nodes, 5);
    nodes.insert(nodes.end(), {0, 0, 0, 0, 1});
    CTestTree tree;
    CLoaded loaded(writer.assemble(nodes), false);
    ASSERT_EQ(loaded.failure, "");
    CObject* made = nullptr;
    EXPECT_EQ(loaded.root->createChild(made, "t", "i", true).message(), "The body of a template is no plain node.");
    EXPECT_EQ(loaded.root->findObject("i"), nullptr);
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
    addTestResource("../Gfx/some.is", {'m', 'e', 'm'});
    EXPECT_EQ(contents("../Gfx/some.is"), "mem");
    EXPECT_EQ(contents(path), "from file");
    addTestResource(path, {'m', 'e', 'm'});
    EXPECT_EQ(contents(path), "mem");
    EXPECT_EQ(contents("/nonexistent/x"), "Unable to open file '/nonexistent/x' for reading (error 2).");

    // What lies in the working directory is no resource.
    std::string working(4096, '\0');
    ASSERT_NE(getcwd(working.data(), working.size()), nullptr);
    ASSERT_EQ(chdir(folders.root().c_str()), 0);
    EXPECT_EQ(contents("tree.bin"), "Unable to open file 'tree.bin' for reading (error 2).");
    ASSERT_EQ(chdir(working.c_str()), 0);
}

TEST(TreeLoad, DamagedBytesNeverCrashOrHang)
{
    using CClock = std::chrono::steady_clock;
    const bool isLong = std::getenv("MORVA_LONG") != nullptr;
    const auto end = CClock::now() + (isLong ? std::chrono::seconds(180) : std::chrono::seconds(2));
    const unsigned seed = isLong ? std::random_device{}() : 20240517;
    RecordProperty("seed", std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&random](std::size_t limit)
    {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };

    CTestTree tree;
    const CBytes good = CTreeBytes::of(richTree());
    int loads = 0;
    int successes = 0;
    while (CClock::now() < end)
    {
        CBytes bytes = good;
        if (below(10) == 0)
            for (unsigned char& byte : bytes)
                byte = static_cast<unsigned char>(random());
        const std::size_t changes = 1 + below(8);
        for (std::size_t i = 0; i < changes && !bytes.empty(); ++i)
        {
            const std::size_t place = below(bytes.size());
            switch (below(5))
            {
            case 0:
                bytes.resize(place);
                break;
            case 1:
                bytes.insert(bytes.begin() + static_cast<long>(place), static_cast<unsigned char>(random()));
                break;
            case 2:
                bytes[place] = static_cast<unsigned char>(bytes[place] + (below(2) == 0 ? 1 : -1));
                break;
            default:
                bytes[place] = static_cast<unsigned char>(below(3) == 0 ? random() : below(24));
                break;
            }
        }
        const std::unique_ptr<CBytes> exact = std::make_unique<CBytes>(bytes);
        exact->shrink_to_fit();
        const CLoaded loaded(*exact, below(2) == 0);
        ++loads;
        if (!loaded.failure.empty())
            continue;
        ++successes;
        describeTree(*loaded.root);
        for (const char* name : {"small", "big", "nested"})
        {
            CObject* made = nullptr;
            loaded.root->createChild(made, name, "i", true).ignore();
        }
    }
    // The damage must not be so coarse that nothing gets past the first checks.
    EXPECT_GT(successes, loads / 100) << loads << " loads, seed " << seed;
}

}
